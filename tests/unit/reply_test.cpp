#include "daemon/reply/composer.h"
#include "daemon/reply/error.h"
#include "tests/fakes/replies.h"

#include <cstring>
#include <gtest/gtest.h>

namespace
{

/** The reply that a slot's session sends. */
std::string compose(SessionSlot &slot)
{
    Composer_Routine_KELPAAPI(slot);
    return {slot.acBuffer, static_cast<size_t>(slot.iBufferLength)};
}

std::unique_ptr<SessionSlot> makeSlot(StatusKind status, StatusKind result)
{
    auto slot = std::make_unique<SessionSlot>();
    slot->eStatusKind = status;
    slot->eMappingResult = result;
    return slot;
}

std::unique_ptr<SessionSlot> makeChange(SetIndex index, const std::string &query, const std::string &body = {})
{
    auto slot = makeSlot(StatusKind::Ok, StatusKind::Ok);
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
        {0, BAD_REQUEST},  {2, SERVICE_UNAVAILABLE}, {3, INTERNAL_ERROR}, {4, BAD_REQUEST},
        {5, UNAUTHORIZED}, {6, INVALID_PARAMETER},   {7, UPDATE_FAILED},  {8, BAD_REQUEST},
    };
    for (const auto &c : cases) {
        const auto kind = static_cast<StatusKind>(c.kind);
        EXPECT_EQ(compose(*makeSlot(kind, StatusKind::Ok)), c.reply) << c.kind;
        EXPECT_EQ(compose(*makeSlot(StatusKind::Ok, kind)), c.reply) << "as mapping result " << c.kind;
        EXPECT_EQ(compose(*makeSlot(StatusKind::InternalError, kind)), INTERNAL_ERROR) << "parsing counts first";
    }
    EXPECT_EQ(compose(*makeSlot(StatusKind::Ok, StatusKind::Ok)), okReply("")) << "without a mapping method";
}

TEST(Reply, LengthIsPatchedOverTheBlanks)
{
    const auto patched = [](size_t length) {
        std::string reply(OK_HEADER);
        Reply_PatchLength(reply, length);
        return reply;
    };
    const std::string before = "HTTP/1.1 200 OK\r\nContent-Length: ";
    const std::string behind = "\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n";
    EXPECT_EQ(patched(0), before + "0   " + behind);
    EXPECT_EQ(patched(9999), before + "9999" + behind);
    EXPECT_EQ(patched(12345), before + "1234" + behind) << "four digits at most";
}

TEST(Reply, OfAChangeEchoesItsPairs)
{
    const std::string longPiece(4094, 'x');
    std::string manyPairs, manyLines;
    for (int i = 0; i < 2047; ++i) {
        manyPairs += "a&";
        manyLines += "a\r\n";
    }
    const auto echo = [](const std::string &query, const std::string &body = {}) {
        return replyBody(compose(*makeChange(SetIndex::NetworkConfig, query, body)));
    };
    EXPECT_EQ(echo("a=1&b=&c&"), "a=1\r\nb=\r\nc\r\n");
    EXPECT_EQ(echo("", "a=1&"), "a=1\r\n") << "the body of a request without a query string";
    EXPECT_EQ(echo("a=1&", "b=2&"), "a=1\r\n") << "the query string goes before the body";
    EXPECT_EQ(echo("a=1&b=2"), "a=1\r\n") << "what stands behind the last ampersand is no pair";
    EXPECT_EQ(echo(""), "");
    EXPECT_EQ(echo(longPiece + "&"), longPiece + "\r\n") << "the longest pair";
    EXPECT_EQ(echo(manyPairs), manyLines) << "as many pairs as there can be";
}

TEST(Reply, OfANotifyStreamHasItsHeaderOnce)
{
    const auto slot = makeSlot(StatusKind::Ok, StatusKind::Ok);
    slot->eMappingMethod = MappingMethod::Get;
    slot->iMappingIndex = 15;
    EXPECT_EQ(compose(*slot), NOTIFY_HEADER);
    EXPECT_EQ(slot->iKeepOpen, 1);
    EXPECT_EQ(compose(*slot), "");
    slot->eMappingResult = StatusKind::InternalError;
    slot->iKeepOpen = 0;
    EXPECT_EQ(compose(*slot), INTERNAL_ERROR);
    EXPECT_EQ(slot->iKeepOpen, 0) << "an error keeps nothing open";
}
