#include "daemon/families/media/speaker.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"
#include "daemon/session/globals.h"

namespace
{
constexpr uint32_t GIVEN_ENABLE = 0x01;
}

int Parser_Speaker_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::Speaker, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<SpeakerParam>(slot);
    const KeyOutcome outcome = Request_TakeWord(text, "enable=", "yes", "no", param.iEnable);
    if (outcome == KeyOutcome::Bad)
        return Session_Refuse(slot, StatusKind::BadRequest);
    if (outcome == KeyOutcome::Taken)
        param.uiSetMask |= GIVEN_ENABLE;
    return Session_Accept(slot);
}

int MappingSetRoutine_Speaker(SessionSlot &slot)
{
    const auto &param = Session_Param<SpeakerParam>(slot);
    PairBuffer<64> pairs(param.uiSetMask);
    pairs.AddGiven(GIVEN_ENABLE, "audioout_c0_speaker_enable=%d", param.iEnable);
    if (Session_WritePairs(slot, pairs, StatusKind::InternalError) != 0)
        return -1;
    g_tServerGlobals.tAudioUpstream.uiSpeakerEnable = static_cast<uint32_t>(param.iEnable);
    return 0;
}

int MappingGetRoutine_Speaker(SessionSlot &slot)
{
    ConfigerReply<1024> reply(__func__);
    reply.ReadBool("audioout_c0_speaker_enable", Session_Result<SpeakerResult>(slot).iEnable);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_Speaker(TextBuilder &body, SessionSlot &slot)
{
    body.LineYesNo("enable=", Session_Result<SpeakerResult>(slot).iEnable == 1);
}
