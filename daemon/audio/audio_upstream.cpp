#include "daemon/audio/audio_upstream.h"

#include "daemon/audio/audio_thread.h"
#include "daemon/base/start_fail.h"
#include "daemon/base/text_builder.h"
#include "daemon/configer/configer.h"
#include "daemon/configer/read_rows.h"
#include "daemon/request/request_text.h"
#include "daemon/session/globals.h"
#include "platform/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace
{

void Clear(AudioUpstreamContext &context)
{
    context.tThread = {};
    context.uiTalking = 0;
    context.uiSpeakerEnable = 0;
    context.tQueue = {};
    context.acClientName[0] = '\0';
}

/** Reads a switch from the store; one that is missing is traced as a failure of `pcMissing`, unless that is null.
 *  Returns 0 or -1 (Start_Fail). */
int ReadSwitch(const char *pcCaller, std::string_view key, const char *pcMissing, int32_t &iValue)
{
    char acReply[1024];
    if (Get_Configer_Parameter(acReply, {key, "&"}) != 0) {
        Configer_StartFail(key, errno);
        Trace("[%s]Get_Configer_Parameter failed\n", pcCaller);
        return -1;
    }
    if (Get_Configer_BOOL_Value(acReply, StoreKey(key).View(), iValue) == 0)
        return 0;
    Configer_StartFail(key, 0);
    if (pcMissing != nullptr)
        Trace("[%s]%s failed\n", pcCaller, pcMissing);
    return -1;
}

int StartThread(const char *pcCaller, AudioUpstreamContext &context)
{
    const OSThreadAttributes tAttributes = {AudioUpstream_MainTask, &context};
    if (OSThread_Initial(&context.tThread, &tAttributes) != 0) {
        Start_Fail("audio thread", nullptr, errno);
        Trace("[%s]OSThread_Initial failed\n", pcCaller);
        return -1;
    }
    if (OSThread_Start(&context.tThread) != 0) {
        Start_Fail("audio thread", nullptr, errno);
        Trace("[%s]OSThread_Start failed\n", pcCaller);
        OSThread_Release(&context.tThread);
        return -1;
    }
    return 0;
}

/** Gives the slot's socket to the audio thread. */
void HandOver(AudioUpstreamContext &context, SessionSlot &slot)
{
    // What of the body came with the request is off the connection; intake has counted it.
    const AudioUpstreamHandOver message = {slot.tRequest.iClientSocket,
                                           static_cast<uint32_t>(std::max(slot.iBufferLength, 0))};
    context.uiTalking = 1;
    if (OSMsgQueue_Send(&context.tQueue, &message) == 0)
        slot.eSocketOwner = SocketOwner::Other;
    else
        context.uiTalking = 0;
}

} // namespace

int AudioUpstream_Initial(AudioUpstreamContext &context)
{
    Clear(context);
    int32_t iAudioOut = 0;
    if (ReadSwitch(__func__, "capability_naudioout", nullptr, iAudioOut) != 0)
        return -1;
    if (iAudioOut == 0)
        return 0;
    int32_t iEnable = 0;
    if (ReadSwitch(__func__, "audioout_c0_speaker_enable", "Get_Configer_BOOL_Value", iEnable) != 0)
        return -1;
    context.uiSpeakerEnable = static_cast<uint32_t>(iEnable);

    if (OSMsgQueue_Initial(&context.tQueue, 1) != 0) {
        Start_Fail("audio queue", nullptr, errno);
        Trace("[%s]OSMsgQueue_Initial failed\n", __func__);
        return -1;
    }
    if (StartThread(__func__, context) != 0) {
        OSMsgQueue_Release(&context.tQueue);
        return -1;
    }
    return 0;
}

void AudioUpstream_Release(AudioUpstreamContext &context)
{
    OSThread_Release(&context.tThread);
    // A socket that was handed over and not taken has no owner but this message.
    AudioUpstreamHandOver message;
    while (OSMsgQueue_Receive(&context.tQueue, &message, 0) == 0)
        close(message.iClientSocket);
    OSMsgQueue_Release(&context.tQueue);
    Clear(context);
}

int Parser_AudioUpstream_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::AudioUpstream, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<AudioUpstreamParam>(slot);
    if (GetStringValueFromText(text, "client=", param.acClientName) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_AudioUpstream(SessionSlot &slot)
{
    AudioUpstreamContext &context = g_tServerGlobals.tAudioUpstream;
    const auto &param = Session_Param<AudioUpstreamParam>(slot);
    if (context.uiSpeakerEnable == 0)
        return Session_Fail(slot, StatusKind::Unauthorized);
    if (slot.tRequest.iContentLength == 0)
        Text_Copy(context.acClientName, param.acClientName);
    else if (context.uiTalking == 0 && strcmp(param.acClientName, context.acClientName) == 0)
        HandOver(context, slot);
    return Session_Succeed(slot);
}
