#include "reply/composer.h"
#include "reply/error.h"
#include "tests/fakes/poisoned.h"
#include "tests/fakes/replies.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace
{

/** The reply that a slot's session sends. */
std::string Compose(SessionSlot &slot)
{
    Composer_Routine_KELPAAPI(slot);
    return {slot.acBuffer, static_cast<size_t>(slot.iBufferLength)};
}

std::unique_ptr<SessionSlot> MakeSlot(StatusKind status, StatusKind result)
{
    auto slot = std::make_unique<SessionSlot>();
    slot->eStatusKind = status;
    slot->eMappingResult = result;
    return slot;
}

std::unique_ptr<SessionSlot> MakeChange(SetIndex index, const std::string &query, const std::string &body = {})
{
    auto slot = MakeSlot(StatusKind::Ok, StatusKind::Ok);
    slot->eMappingMethod = MappingMethod::Set;
    slot->iMappingIndex = static_cast<int32_t>(index);
    strcpy(slot->tRequest.acQeryString, query.c_str());
    strcpy(slot->tRequest.acPostBody, body.c_str());
    return slot;
}

} // namespace

TEST(Reply, OfEachStatusKind)
{
    const struct {
        int kind;
        const std::string &reply;
    } cases[] = {
        {0, BAD_REQUEST},       {2, SERVICE_UNAVAILABLE}, {3, INTERNAL_ERROR}, {4, BAD_REQUEST},  {5, UNAUTHORIZED},
        {6, INVALID_PARAMETER}, {7, UPDATE_FAILED},       {8, BAD_REQUEST},    {-1, BAD_REQUEST},
    };
    for (const auto &c : cases) {
        const auto kind = static_cast<StatusKind>(c.kind);
        EXPECT_EQ(Compose(*MakeSlot(kind, StatusKind::Ok)), c.reply) << c.kind;
        EXPECT_EQ(Compose(*MakeSlot(StatusKind::Ok, kind)), c.reply) << "as mapping result " << c.kind;
        EXPECT_EQ(Compose(*MakeSlot(StatusKind::InternalError, kind)), INTERNAL_ERROR) << "parsing counts first";
    }
}

TEST(Reply, OfAnErrorStaysInItsBuffer)
{
    PoisonedBuffer<128> buffer;
    TextBuilder reply(buffer.Span());
    Compose_ErrorMessage(reply, StatusKind::ServiceUnavailable);
    EXPECT_EQ(reply.View(), SERVICE_UNAVAILABLE);
    EXPECT_TRUE(buffer.Intact());
}

TEST(Reply, LengthIsPatchedOverTheBlanks)
{
    for (const size_t length : {0U, 9U, 57U, 999U, 9999U}) {
        std::string reply(OK_HEADER);
        Reply_PatchLength(reply, length);
        std::string expected = OkReply("");
        std::string digits = std::to_string(length);
        digits.resize(4, ' ');
        expected.replace(expected.find("0   "), 4, digits);
        EXPECT_EQ(reply, expected);
    }
    std::string reply(OK_HEADER);
    Reply_PatchLength(reply, 12345);
    EXPECT_EQ(reply.size(), OK_HEADER.size());
    EXPECT_NE(reply.find("Content-Length: 1234\r\n"), std::string::npos) << "four digits at most";
}

TEST(Reply, WithoutAMappingMethodIsEmpty)
{
    EXPECT_EQ(Compose(*MakeSlot(StatusKind::Ok, StatusKind::Ok)), OkReply(""));
}

TEST(Reply, OfAChangeEchoesItsPairs)
{
    const std::string longPiece(4094, 'x');
    std::string manyPairs, manyLines;
    for (int i = 0; i < 2047; ++i) {
        manyPairs += "a&";
        manyLines += "a\r\n";
    }
    const struct {
        const char *description;
        std::string query, body, expected;
    } cases[] = {
        {"one pair", "a=12345&", "", "a=12345\r\n"},
        {"several", "a=1&b=&c&", "", "a=1\r\nb=\r\nc\r\n"},
        {"the body of a request without a query string", "", "a=1&", "a=1\r\n"},
        {"the query string goes before the body", "a=1&", "b=2&", "a=1\r\n"},
        {"what stands behind the last ampersand is no pair", "a=1&b=2", "", "a=1\r\n"},
        {"nothing", "", "", ""},
        {"the longest pair", longPiece + "&", "", longPiece + "\r\n"},
        {"as many pairs as there can be", manyPairs, "", manyLines},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Compose(*MakeChange(SetIndex::NetworkConfig, c.query, c.body)), OkReply(c.expected))
            << c.description;
}

TEST(Reply, OfSomeChangesIsFixed)
{
    const struct {
        SetIndex index;
        std::string reply;
    } cases[] = {
        {SetIndex::SystemReboot, OkReply("reboot=yes\r\n")},
        {SetIndex::PTZHome, OkReply("p=0\r\nt=0\r\nz=0\r\n")},
        {SetIndex::Recorder, XML_OK},
        {SetIndex::Snapshot, XML_OK},
        {SetIndex::Alarm, XML_OK},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Compose(*MakeChange(c.index, "a=1&")), c.reply) << static_cast<int>(c.index);
}

TEST(Reply, KeptAudioUpstreamReplyIsOneLine)
{
    EXPECT_EQ(Compose(*MakeChange(SetIndex::AudioUpstream, "a=1&")), "HTTP/1.1 200 OK\r\n");
}

TEST(Reply, OfANotifyStreamHasItsHeaderOnce)
{
    const auto slot = MakeSlot(StatusKind::Ok, StatusKind::Ok);
    slot->eMappingMethod = MappingMethod::Get;
    slot->iMappingIndex = 15;
    EXPECT_EQ(Compose(*slot), NOTIFY_HEADER);
    EXPECT_EQ(slot->iKeepOpen, 1);
    EXPECT_EQ(Compose(*slot), "");
    slot->eMappingResult = StatusKind::InternalError;
    slot->iKeepOpen = 0;
    EXPECT_EQ(Compose(*slot), INTERNAL_ERROR);
    EXPECT_EQ(slot->iKeepOpen, 0) << "an error keeps nothing open";
}
