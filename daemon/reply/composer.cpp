#include "daemon/reply/composer.h"

#include "daemon/dispatch/dispatch.h"
#include "daemon/reply/error.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

namespace
{

constexpr std::string_view NOTIFY_HEADER =
    "HTTP/1.1 200 OK\r\nCache-Control: no-cache, no-store, must-revalidate\r\n"
    "Pragma: no-cache\r\nContent-Type: text/plain\r\n\r\n";
/** KEPT: no further headers and no blank line; clients of the audio upstream read just this line. */
constexpr std::string_view AUDIO_HEADER = "HTTP/1.1 200 OK\r\n";
constexpr std::string_view OK_RESULT = "<config><result><code>ok</code></result></config>";

/** The bodies of changes that do not echo their request. */
constexpr struct {
    SetIndex index;
    std::string_view body;
} FIXED_BODIES[] = {
    {SetIndex::SystemReboot, "reboot=yes\r\n"},
    {SetIndex::PTZHome, "p=0\r\nt=0\r\nz=0\r\n"},
    {SetIndex::Recorder, OK_RESULT},
    {SetIndex::Snapshot, OK_RESULT},
    {SetIndex::Alarm, OK_RESULT},
};

/** Echoes the request's own pairs, a line each; a text behind the last "&" is not a pair. */
void EchoPairs(TextBuilder &body, FDIPCInfo &request)
{
    std::string_view rest = Request_SourceText(request).data();
    for (size_t end = rest.find('&'); end != std::string_view::npos; end = rest.find('&')) {
        const std::string_view piece(rest.data(), end);
        Trace("%.*s\r\n", static_cast<int>(piece.size()), piece.data());
        body.Add(piece);
        body.Add("\r\n");
        rest.remove_prefix(end + 1);
    }
}

/** Writes the body of a successful change. */
void Compose_SetEcho(TextBuilder &body, SessionSlot &slot)
{
    for (const auto &row : FIXED_BODIES) {
        if (!Session_Is(slot, row.index))
            continue;
        if (row.index == SetIndex::SystemReboot)
            Trace("reboot=yes\r");
        body.Add(row.body);
        return;
    }
    EchoPairs(body, slot.tRequest);
}

/** The notify stream's part of an open reply: the header goes out once, later bodies follow on the connection. */
void ComposeNotifyStream(TextBuilder &reply, SessionSlot &slot)
{
    if (slot.iKeepOpen == 0) {
        reply.Add(NOTIFY_HEADER);
        slot.iKeepOpen = 1;
    }
    TextBuilder body(reply.Rest());
    Dispatch_Compose(body, slot);
    reply.Extend(body);
}

void ComposeWithLength(TextBuilder &reply, SessionSlot &slot)
{
    reply.Add(OK_HEADER);
    TextBuilder body(reply.Rest());
    if (slot.eMappingMethod == MappingMethod::Get)
        Dispatch_Compose(body, slot);
    else if (slot.eMappingMethod == MappingMethod::Set)
        Compose_SetEcho(body, slot);
    else
        Trace("[%s]The mapping method is incorrect\n", "Composer_Routine_KELPAAPI");
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
    else if (Session_Is(slot, GetIndex::NotifyStream))
        ComposeNotifyStream(reply, slot);
    else if (Session_Is(slot, SetIndex::AudioUpstream))
        reply.Add(AUDIO_HEADER);
    else
        ComposeWithLength(reply, slot);
    slot.iBufferLength = static_cast<int32_t>(reply.Length());
}
