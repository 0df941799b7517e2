#include "daemon/families/media/microphone.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

enum Given : uint32_t { GIVEN_MUTE = 0x01, GIVEN_VOLUME = 0x02 };

using Param = MicroPhoneConfigParam;
using Result = MicroPhoneConfigResult;

constexpr KeyRow<Param> KEYS[] = {
    KeyWord<&Param::iMute>("enable=", GIVEN_MUTE, "no", "yes"), // a microphone that is not enabled is muted
    KeyInt<&Param::iVolume>("volume=", GIVEN_VOLUME, 1, 100),
};
static_assert(KeyBitsAreDistinct(KEYS));

constexpr ReadRow<Result> VOLUME[] = {
    ReadBool<&Result::iMute>("audioin_c0_mute"),
    ReadInt<&Result::iVolume>("audioin_c0_gain"),
};

struct Capability {
    int32_t iAudio;
};
constexpr ReadRow<Capability> CAPABILITY[] = {ReadBool<&Capability::iAudio>("capability_supportaudio")};

} // namespace

int Parser_MicroPhoneConfig_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::MicroPhoneConfig, __func__, text) != 0)
        return -1;
    if (Request_TakeKeys(text, KEYS, Session_Param<Param>(slot)) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_MicroPhoneConfig(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    PairBuffer<128> pairs(param.uiSetMask);
    pairs.AddGiven(GIVEN_MUTE, "audioin_c0_mute=%d", param.iMute);
    // KEPT: a volume alone begins with "&"; the store takes an empty pair for none.
    pairs.AddGiven(GIVEN_VOLUME, "&audioin_c0_gain=%d", param.iVolume);
    return Session_WritePairs(slot, pairs, StatusKind::InternalError);
}

int MappingGetRoutine_MicroPhoneConfig(SessionSlot &slot)
{
    Capability capability = {};
    ConfigerReply<1024> reply(__func__);
    reply.Ask(NO_PARTS, VOLUME, CAPABILITY);
    reply.Take(CAPABILITY, capability);
    if (!reply.Failed() && capability.iAudio == 0)
        return Session_Fail(slot, StatusKind::BadRequest);
    reply.Take(VOLUME, Session_Result<Result>(slot));
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_MicroPhoneConfig(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.LineYesNo("enable=", result.iMute != 1);
    body.Line("volume=", result.iVolume);
}
