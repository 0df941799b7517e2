#include "daemon/reply/error.h"

#include "platform/log.h"

#include <algorithm>
#include <cstring>

namespace
{

struct ErrorRow {
    StatusKind reason;
    const char *pcTrace;
    std::string_view header;
    std::string_view body; ///< empty: the reply says neither body nor length
};

#define PLAIN_HEADER(status)                                                                                       \
    "HTTP/1.1 " status "\r\n"                                                                                      \
    "Content-Type: text/plain\r\nConnection: close\r\n\r\n"
#define RESULT_BODY(code) "<config><result><code>" code "</code></result></config>"

constexpr ErrorRow BAD_REQUEST = {StatusKind::BadRequest, "400 Bad Request", PLAIN_HEADER("400 Bad Request"), {}};

constexpr ErrorRow ERROR_TABLE[] = {
    {StatusKind::ServiceUnavailable, "503 Service Unavailable", PLAIN_HEADER("503 Service Unavailable"), {}},
    {StatusKind::InternalError, "500 Internal Error", PLAIN_HEADER("500 Internal Error"), {}},
    {StatusKind::Unauthorized, "401 Unauthorized", PLAIN_HEADER("401 Unauthorized"), {}},
    {StatusKind::InvalidParameter, "InvalidParameter", OK_HEADER, RESULT_BODY("invalidParameter")},
    {StatusKind::UpdateFailed, "UpdateFailed", OK_HEADER, RESULT_BODY("updateFailed")},
};

constexpr std::string_view LENGTH_FIELD = "Content-Length:";
constexpr size_t MAX_LENGTH_DIGITS = 4;

const ErrorRow &FindError(StatusKind reason)
{
    for (const ErrorRow &row : ERROR_TABLE)
        if (row.reason == reason)
            return row;
    return BAD_REQUEST;
}

} // namespace

void Reply_PatchLength(std::span<char> reply, size_t bodyLength)
{
    static_assert(OK_HEADER.find(LENGTH_FIELD) != std::string_view::npos);
    constexpr size_t FIELD_AT = OK_HEADER.find(LENGTH_FIELD) + LENGTH_FIELD.size() + 1;
    const NumberText number(static_cast<int64_t>(bodyLength));
    const std::string_view digits = number;
    memcpy(reply.data() + FIELD_AT, digits.data(), std::min(digits.size(), MAX_LENGTH_DIGITS));
}

void Compose_ErrorMessage(TextBuilder &reply, StatusKind reason)
{
    const ErrorRow &row = FindError(reason);
    Trace("[%s] %s\r\n", __func__, row.pcTrace);
    const std::span<char> start = reply.Rest();
    reply.Add(row.header);
    reply.Add(row.body);
    if (!row.body.empty())
        Reply_PatchLength(start, row.body.size());
}
