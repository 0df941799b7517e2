#include "daemon/audio/audio_thread.h"

#include "daemon/audio/audio_frames.h"
#include "daemon/audio/audio_waits.h"
#include "daemon/audio/decoder_socket.h"
#include "daemon/session/audio_upstream_context.h"
#include "platform/log.h"

#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

AudioUpstreamWaits g_tAudioUpstreamWaits = {OSThread_SleepMs, 60000};

namespace
{

/** A stream begins with four bytes of any value. */
constexpr uint32_t RANDOM_4CC_SIZE = 4;

/** Forgets the last session; the decoder stays connected from one to the next. */
void ClearState(AudioUpstreamState &state)
{
    const int32_t iDecoderSocket = state.iDecoderSocket;
    memset(&state, 0, sizeof state);
    state.iClientSocket = -1;
    state.iDecoderSocket = iDecoderSocket;
}

void StartSession(const char *pcCaller, AudioUpstreamState &state, const AudioUpstreamHandOver &message)
{
    ClearState(state);
    state.iClientSocket = message.iClientSocket;
    Trace("[%s]Start session, sckClient = %d\n", pcCaller, state.iClientSocket);
    Log_Crit("[%s]Start session\n", pcCaller);
    if (message.uiConsumed < RANDOM_4CC_SIZE) {
        state.uiSkip = RANDOM_4CC_SIZE - message.uiConsumed;
        Trace("[%s]Skip %u bytes of random 4CC\n", pcCaller, state.uiSkip);
    }
    if (state.iDecoderSocket < 0)
        state.iDecoderSocket = AudioUpstream_OpenAdecUnixSocket();
}

void AudioUpstream_StopSession(AudioUpstreamContext &context, AudioUpstreamState &state)
{
    Trace("[%s]Stop session\n", __func__);
    Log_Crit("[%s]Stop session\n", __func__);
    close(state.iClientSocket);
    state.iClientSocket = -1;
    context.uiTalking = 0;
}

/** Takes more of the stream into the buffer. Returns 0, or -1 when the stream has ended or failed. */
int AudioUpstream_Receive(AudioUpstreamState &state)
{
    if (state.uiFill == sizeof state.acBuf) {
        Trace("[%s]acBuf is full\n", __func__);
        Log_Crit("[%s]acBuf is full\n", __func__);
        return -1;
    }
    const ssize_t received =
        recv(state.iClientSocket, state.acBuf + state.uiFill, sizeof state.acBuf - state.uiFill, 0);
    if (received < 0) {
        Trace("[%s]recv failed\n", __func__);
        return -1;
    }
    if (received == 0) {
        Trace("[%s]recv FIN\n", __func__);
        return -1;
    }
    state.uiFill += static_cast<uint32_t>(received);
    return 0;
}

/** Takes what the client has sent and plays it. Returns 0 while the session goes on, -1 when it has to end. */
int Talk(const char *pcCaller, const AudioUpstreamContext &context, AudioUpstreamState &state)
{
    if (state.iDecoderSocket < 0 || context.uiSpeakerEnable == 0)
        return -1;
    const uint32_t uiLimitMs = g_tAudioUpstreamWaits.uiSilenceLimitMs;
    Trace_Flush();
    switch (OSThread_WaitReadable(state.iClientSocket, uiLimitMs)) {
    case OSWait::Readable:
        break;
    case OSWait::TimedOut:
        Trace("[%s]%u seconds timeout\n", pcCaller, uiLimitMs / 1000);
        return -1;
    case OSWait::Stopped:
        return -1;
    case OSWait::Failed:
        Trace("[%s]select error\n", pcCaller);
        return -1;
    }
    if (AudioUpstream_Receive(state) != 0)
        return -1;
    if (state.uiSkip != 0)
        AudioUpstream_SkipData(state);
    if (AudioUpstream_Play(state) != 0) {
        Trace("[%s]AudioUpstream_Play failed\n", pcCaller);
        Log_Crit("[%s]AudioUpstream_Play failed\n", pcCaller);
        return -1;
    }
    return 0;
}

} // namespace

void AudioUpstream_MainTask(void *pvContext)
{
    auto &context = *static_cast<AudioUpstreamContext *>(pvContext);
    AudioUpstreamState state = {};
    state.iClientSocket = -1;
    state.iDecoderSocket = AudioUpstream_OpenAdecUnixSocket();
    while (!OSThread_StopRequested()) {
        AudioUpstreamHandOver message;
        Trace_Flush();
        if (OSMsgQueue_Receive(&context.tQueue, &message, OS_WAIT_FOREVER) != 0)
            continue;
        StartSession(__func__, state, message);
        while (Talk(__func__, context, state) == 0)
            continue;
        AudioUpstream_StopSession(context, state);
    }
    if (state.iDecoderSocket >= 0)
        close(state.iDecoderSocket);
}
