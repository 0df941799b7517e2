#include "daemon/families/events/recorder_share.h"

#include "daemon/base/clock.h"
#include "daemon/base/text_builder.h"
#include "daemon/base/wait.h"
#include "daemon/configer/reply.h"

namespace
{

constexpr uint32_t STOP_RECORDING_MS = 3000;

/** Cuts everything up to and including the two backslashes off; false when there are none. */
bool DropBackslashes(std::string_view &unc)
{
    const size_t at = unc.find("\\\\");
    if (at == std::string_view::npos)
        return false;
    unc.remove_prefix(at + 2);
    return true;
}

struct RecordingState {
    int32_t iEvent;
    int32_t iRecording;
};

constexpr ReadRow<RecordingState> RECORDING[] = {
    AskOnly("event_i0_enable"), // looked up by its place
    ReadBool<&RecordingState::iRecording>("recording_i0_enable"),
};

int ReadRecordingState(const char *pcCaller, RecordingState &state)
{
    constexpr std::string_view EVENT_KEY = "event_i0_enable=";
    // KEPT: looks four characters behind the value; in the store's usual order that is never "1".
    constexpr size_t EVENT_OFFSET = 20;
    ConfigerReply<1024> reply(pcCaller);
    reply.Read(RECORDING, state);
    const std::string_view text = reply.View();
    const size_t at = text.find(EVENT_KEY);
    if (reply.Failed() || at == std::string_view::npos)
        return -1;
    state.iEvent = at + EVENT_OFFSET < text.size() && text[at + EVENT_OFFSET] == '1' ? 1 : 0;
    return 0;
}

int WriteRecordingState(RecordingState state)
{
    TextBuffer<128> pairs;
    pairs.Addf("event_i0_enable=%d&recording_i0_enable=%d&", state.iEvent, state.iRecording);
    char acReply[1024];
    return Set_Configer_Parameter(acReply, pairs.View());
}

int WriteLocation(const char *pcServer, const char *pcFolder)
{
    TextBuffer<256> pairs;
    pairs.Addf("server_i0_ns_location=\\\\%s\\%s&", pcServer, pcFolder);
    char acReply[1024];
    return Set_Configer_Parameter(acReply, pairs.View());
}

/** Writes the new share; what is not given of it is kept from the stored one. Returns 0 or -1. */
int ChangeLocation(const char *pcCaller, const char *pcServer, const char *pcFolder)
{
    char acKept[32] = {};
    if (pcServer == nullptr || pcFolder == nullptr) {
        char acLocation[64] = {};
        ConfigerReply<1024> reply(pcCaller);
        reply.ReadText("server_i0_ns_location", acLocation);
        if (reply.Failed())
            return -1;
        if (pcServer != nullptr)
            GetShareFromUNC(acLocation, acKept);
        else
            GetServerFromUNC(acLocation, acKept);
    }
    return WriteLocation(pcServer != nullptr ? pcServer : acKept, pcFolder != nullptr ? pcFolder : acKept);
}

} // namespace

void GetServerFromUNC(std::string_view unc, std::span<char> out)
{
    out[0] = '\0';
    if (!DropBackslashes(unc))
        return;
    Text_Copy(out, unc);
    const std::string_view copied = out.data();
    if (const size_t end = copied.find('\\'); end != std::string_view::npos)
        out[end] = '\0';
}

void GetShareFromUNC(std::string_view unc, std::span<char> out)
{
    out[0] = '\0';
    if (!DropBackslashes(unc))
        return;
    const size_t at = unc.find('\\');
    if (at == std::string_view::npos)
        return;
    unc.remove_prefix(at + 1);
    Text_Copy(out, unc);
}

int Recorder_SetShareLocation(const char *pcServer, const char *pcFolder)
{
    RecordingState state = {};
    if (ReadRecordingState(__func__, state) != 0)
        return -1;
    if (state.iEvent == 0 && state.iRecording == 0)
        return ChangeLocation(__func__, pcServer, pcFolder);
    int iResult = WriteRecordingState({0, 0});
    if (iResult == 0) {
        NetUtility_SleepMs(STOP_RECORDING_MS);
        iResult = ChangeLocation(__func__, pcServer, pcFolder);
    }
    // KEPT: after a failure recording stays off. But the daemon's own end leaves no setting half changed.
    if (iResult != 0 && !Wait_StopRequested())
        return -1;
    return WriteRecordingState(state) == 0 ? iResult : -1;
}
