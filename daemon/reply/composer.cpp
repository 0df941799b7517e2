#include "daemon/reply/composer.h"

#include "daemon/dispatch/dispatch.h"
#include "daemon/reply/error.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

namespace
{

constexpr std::string_view STREAM_HEADER =
    "HTTP/1.1 200 OK\r\nCache-Control: no-cache, no-store, must-revalidate\r\n"
    "Pragma: no-cache\r\nContent-Type: text/plain\r\n\r\n";
/** KEPT: no further headers and no blank line; clients of the audio upstream read just this line. */
constexpr std::string_view STATUS_LINE = "HTTP/1.1 200 OK\r\n";

/** Echoes the request's own pairs, a line each; a text behind the last "&" is not a pair. */
void EchoPairs(TextBuilder &body, FDIPCInfo &request)
{
    std::string_view rest = Request_SourceText(request).data();
    for (size_t end = rest.find('&'); end != std::string_view::npos; end = rest.find('&')) {
        const std::string_view piece(rest.data(), end);
        Trace_Text({piece, "\r\n"});
        body.Add(piece);
        body.Add("\r\n");
        rest.remove_prefix(end + 1);
    }
}

/** Writes the body of a successful change. */
void Compose_SetEcho(TextBuilder &body, SessionSlot &slot)
{
    const FixedBody *ptFixed = Dispatch_SetRow(slot).ptBody;
    if (ptFixed == nullptr) {
        EchoPairs(body, slot.tRequest);
        return;
    }
    if (ptFixed->pcTrace != nullptr)
        Trace("%s", ptFixed->pcTrace);
    body.Add(ptFixed->text);
}

/** The headers go out once, later bodies follow on the open connection. */
void ComposeOpenStream(TextBuilder &reply, SessionSlot &slot)
{
    if (slot.iKeepOpen == 0) {
        reply.Add(STREAM_HEADER);
        slot.iKeepOpen = 1;
    }
    TextBuilder body(reply.Rest());
    Dispatch_GetRow(slot).pfnCompose(body, slot);
    reply.Extend(body);
}

void ComposeWithLength(const char *pcCaller, TextBuilder &reply, SessionSlot &slot)
{
    reply.Add(OK_HEADER);
    TextBuilder body(reply.Rest());
    if (slot.eMappingMethod == MappingMethod::Get)
        Dispatch_GetRow(slot).pfnCompose(body, slot);
    else if (slot.eMappingMethod == MappingMethod::Set)
        Compose_SetEcho(body, slot);
    else
        Trace("[%s]The mapping method is incorrect\n", pcCaller);
    reply.Extend(body);
    Reply_PatchLength(slot.acBuffer, body.Length());
}

} // namespace

void Composer_Routine_KELPAAPI(SessionSlot &slot)
{
    TextBuilder reply(slot.acBuffer);
    if (slot.eStatusKind != StatusKind::Ok)
        Compose_ErrorMessage(reply, slot.eStatusKind);
    else if (slot.eMappingResult != StatusKind::Ok)
        Compose_ErrorMessage(reply, slot.eMappingResult);
    else if (Dispatch_OpenStream(slot) != nullptr)
        ComposeOpenStream(reply, slot);
    else if (Dispatch_ReplyKind(slot) == ReplyKind::StatusLine)
        reply.Add(STATUS_LINE);
    else
        ComposeWithLength(__func__, reply, slot);
    slot.iBufferLength = static_cast<int32_t>(reply.Length());
    Session_UseBuffer(slot, reply.Length());
}
