#include "daemon/families/media/audio_config.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/families/media/profile.h"
#include "daemon/request/request_text.h"

namespace
{

constexpr uint32_t GIVEN_BIT_RATE = 0x02;

using Param = AudioConfigParam;
using Result = AudioConfigResult;

constexpr CodecAlias CODEC_ALIASES[] = {{"AAC", "aac4"}, {"AMR", "gamr"}, {"MU-LAW", "g711"}, {"A-LAW", "g711"}};

constexpr uint32_t AAC_BIT_RATES[] = {16000, 32000, 48000, 64000, 96000, 128000};
constexpr uint32_t AMR_BIT_RATES[] = {4750, 5150, 5900, 6700, 7400, 7950, 10200, 12200};
constexpr uint32_t G711_BIT_RATES[] = {64000};

/** By the beginning of the codec's name. */
constexpr struct {
    std::string_view codec;
    std::span<const uint32_t> bitRates;
} BIT_RATES[] = {{"AAC", AAC_BIT_RATES},  {"aac4", AAC_BIT_RATES},    {"AMR", AMR_BIT_RATES},
                 {"gamr", AMR_BIT_RATES}, {"MU-LAW", G711_BIT_RATES}, {"A-LAW", G711_BIT_RATES},
                 {"g711", G711_BIT_RATES}};

/** What a stored codec, or the law of a G.711 one, is reported as. A sample rate of 0 follows from the bit rate. */
constexpr struct {
    std::string_view stored;
    std::string_view reported;
    int32_t iSampleRate;
    int32_t iChannels;
} REPORTED_CODECS[] = {
    {"aac4", "AAC", 0, 2}, {"gamr", "AMR", 8000, 1}, {"pcmu", "MU-LAW", 8000, 1}, {"pcma", "A-LAW", 8000, 1}};

constexpr std::string_view CODEC_KEY = "audioin_c0_s#_codectype";

/** Reads the number of audio profiles. */
int Capability_GetAudioProfiles(const char *pcCaller, int32_t &iCount)
{
    ConfigerReply<1024> reply(pcCaller);
    reply.ReadInt("capability_naudiosetting", iCount);
    return reply.Failed() ? -1 : 0;
}

/** Turns the client's codec into the store's words; true when the camera has it. */
bool Capability_CheckAudioCodec(std::span<char> codec, std::span<char> g711Mode)
{
    if (const CodecAlias *ptAlias = Codec_FindAlias(CODEC_ALIASES, codec.data()); ptAlias != nullptr) {
        if (ptAlias->store == "g711")
            Text_Copy(g711Mode, ptAlias->prefix == "MU-LAW" ? "pcmu" : "pcma");
        Text_Copy(codec, ptAlias->store);
    }
    char acAnswer[128];
    return Capability_Lists(acAnswer, "capability_audioin_codec", codec.data());
}

int TakeProfile(SessionSlot &slot, const char *pcParser, std::string_view text, Param &param)
{
    if (GetIntValueFromText(text, "profileid=", param.iProfileID) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    // KEPT: a store that does not say how many there are makes the request a bad one; for a read it is an error.
    if (Capability_GetAudioProfiles(pcParser, param.iProfileCount) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Profile_CheckRange(slot, "ptAudioConfigResult", param.iProfileID, param.iProfileCount);
}

/** Takes the codec that is given, or else the one that the stream has now. */
int TakeCodec(SessionSlot &slot, const char *pcParser, std::string_view text, Param &param)
{
    if (GetStringValueFromText(text, "codec=", param.acCodec) == 0)
        return Capability_CheckAudioCodec(param.acCodec, param.acG711Mode)
                   ? 0
                   : Session_Refuse(slot, StatusKind::BadRequest);
    return Profile_ReadCodec(slot, pcParser, CODEC_KEY, param.iProfileID - 1, param.acCodec);
}

int32_t AacSampleRate(int32_t iBitRate)
{
    switch (iBitRate) {
    case 32000:
    case 48000:
        return 16000;
    case 64000:
        return 32000;
    case 96000:
    case 128000:
        return 44100;
    default:
        return 8000;
    }
}

/** Sets what clients are told of the stored codec; one that is not known is reported as it stands. */
void DeriveReport(Result &result)
{
    for (const auto &codec : REPORTED_CODECS) {
        if (!std::string_view(result.acCodec).starts_with(codec.stored))
            continue;
        result.iSampleRate = codec.iSampleRate != 0 ? codec.iSampleRate : AacSampleRate(result.iBitRate);
        result.iChannels = codec.iChannels;
        Text_Copy(result.acCodec, codec.reported);
        return;
    }
}

int ReadProfile(const char *pcCaller, Result &result)
{
    const int32_t iStream = result.iProfileID - 1;
    ConfigerReply<1024> reply(pcCaller);
    reply.ReadText(CODEC_KEY, result.acCodec, {iStream});
    if (std::string_view(result.acCodec).starts_with("g711"))
        reply.ReadText("audioin_c0_s#_g711_mode", result.acCodec, {iStream});
    // KEPT: of a G.711 profile the rate is read under the word of its law, while a change writes it under "g711".
    reply.ReadInt("audioin_c0_s#_*_bitrate", result.iBitRate, {iStream, result.acCodec});
    return reply.Failed() ? -1 : 0;
}

} // namespace

bool AudioConfig_IsValidBitrate(uint32_t uiBitRate, std::string_view codec)
{
    for (const auto &row : BIT_RATES) {
        if (!codec.starts_with(row.codec))
            continue;
        for (const uint32_t uiAllowed : row.bitRates)
            if (uiAllowed == uiBitRate)
                return true;
        return false;
    }
    return false;
}

int Parser_AudioConfig_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::AudioConfig, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<Param>(slot);
    if (TakeProfile(slot, __func__, text, param) != 0 || TakeCodec(slot, __func__, text, param) != 0)
        return -1;
    if (GetIntValueFromText(text, "bitrate=", param.iBitRate) == 0) {
        if (!AudioConfig_IsValidBitrate(static_cast<uint32_t>(param.iBitRate), param.acCodec))
            return Session_Refuse(slot, StatusKind::BadRequest);
        param.uiSetMask |= GIVEN_BIT_RATE;
    }
    return Session_Accept(slot);
}

int MappingSetRoutine_AudioConfig(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    const int32_t iStream = param.iProfileID - 1;
    PairBuffer<1024> pairs(param.uiSetMask);
    pairs.Addf("audioin_c0_s%d_codectype=%s", iStream, param.acCodec);
    if (param.acG711Mode[0] != '\0')
        pairs.Addf("&audioin_c0_s%d_g711_mode=%s", iStream, param.acG711Mode);
    pairs.AddGiven(GIVEN_BIT_RATE, "&audioin_c0_s%d_%s_bitrate=%d", iStream, param.acCodec, param.iBitRate);
    return Session_WritePairs(slot, pairs, StatusKind::InternalError);
}

int MappingGetRoutine_AudioConfig(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    if (Capability_GetAudioProfiles(__func__, result.iProfileCount) != 0)
        return Session_Fail(slot, StatusKind::InternalError);
    if (Profile_FromQuery(slot, result.iProfileCount, result.iProfileID) != 0)
        return Session_Fail(slot, StatusKind::BadRequest);
    if (ReadProfile(__func__, result) != 0)
        return Session_Fail(slot, StatusKind::InternalError);
    DeriveReport(result);
    return Session_Succeed(slot);
}

void Compose_AudioConfig(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.Line("profileid=", result.iProfileID);
    body.Line("codec=", result.acCodec);
    body.Line("samplerate=", result.iSampleRate);
    body.Line("channel=", result.iChannels);
    body.Line("bitrate=", result.iBitRate);
}
