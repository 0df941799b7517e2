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

std::string compose(StatusKind status, StatusKind result)
{
    auto slot = std::make_unique<SessionSlot>();
    slot->eStatusKind = status;
    slot->eMappingResult = result;
    return compose(*slot);
}

/** The reply's body for a change with these pairs. */
std::string echo(const std::string &query, const std::string &body = {})
{
    auto slot = std::make_unique<SessionSlot>();
    slot->eStatusKind = slot->eMappingResult = StatusKind::Ok;
    slot->eMappingMethod = MappingMethod::Set;
    slot->iMappingIndex = static_cast<int32_t>(SetIndex::NetworkConfig);
    strcpy(slot->tRequest.acQeryString, query.c_str());
    strcpy(slot->tRequest.acPostBody, body.c_str());
    return replyBody(compose(*slot));
}

} // namespace

TEST(Reply, OfEachStatusKind)
{
    const std::pair<int, const std::string &> cases[] = {
        {0, BAD_REQUEST},  {2, SERVICE_UNAVAILABLE}, {3, INTERNAL_ERROR}, {4, BAD_REQUEST},
        {5, UNAUTHORIZED}, {6, INVALID_PARAMETER},   {7, UPDATE_FAILED},  {8, BAD_REQUEST}};
    for (const auto &[number, reply] : cases) {
        const auto kind = static_cast<StatusKind>(number);
        EXPECT_EQ(compose(kind, StatusKind::Ok), reply) << number;
        EXPECT_EQ(compose(StatusKind::Ok, kind), reply) << "as mapping result " << number;
        EXPECT_EQ(compose(StatusKind::InternalError, kind), INTERNAL_ERROR) << "parsing counts first";
    }
    EXPECT_EQ(compose(StatusKind::Ok, StatusKind::Ok), okReply("")) << "without a mapping method";
}

TEST(Reply, LengthIsPatchedOverTheBlanks)
{
    for (const auto &[length, digits] : {std::pair(0, "0   "), {9999, "9999"}, {12345, "1234"}}) {
        std::string reply(OK_HEADER);
        Reply_PatchLength(reply, static_cast<size_t>(length));
        EXPECT_EQ(reply, std::string("HTTP/1.1 200 OK\r\nContent-Length: ") + digits +
                             "\r\nContent-Type: text/plain\r\nConnection: close\r\n\r\n");
    }
}

TEST(Reply, OfAChangeEchoesItsPairs)
{
    const std::string longPiece(4094, 'x');
    std::string manyPairs, manyLines;
    for (int i = 0; i < 2047; ++i) {
        manyPairs += "a&";
        manyLines += "a\r\n";
    }
    EXPECT_EQ(echo("a=1&b=&c&"), "a=1\r\nb=\r\nc\r\n");
    EXPECT_EQ(echo("a=1&", "b=2&"), "a=1\r\n") << "the query string goes before the body";
    EXPECT_EQ(echo("", "a=1&b=2"), "a=1\r\n") << "the body; what stands behind the last ampersand is no pair";
    EXPECT_EQ(echo(longPiece + "&"), longPiece + "\r\n") << "the longest pair";
    EXPECT_EQ(echo(manyPairs), manyLines) << "as many pairs as there can be";
}
