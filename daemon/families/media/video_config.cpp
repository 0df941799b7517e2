#include "daemon/families/media/video_config.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/families/media/profile.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

enum Given : uint32_t {
    GIVEN_RESOLUTION = 0x01,
    GIVEN_BIT_RATE = 0x04,
    GIVEN_INTRA_PERIOD = 0x08, // no key of a request carries it
    GIVEN_FRAME_RATE = 0x10,
    GIVEN_QUALITY = 0x20,
    GIVEN_RATE_CONTROL = 0x40,
};

using Param = VideoConfigParam;
using Result = VideoConfigResult;

constexpr std::string_view CODEC_KEY = "videoin_c0_s#_codectype";

constexpr CodecAlias CODEC_ALIASES[] = {
    {"MPEG4", "mpeg4"}, {"MJPEG", "mjpeg"}, {"H264", "h264"}, {"H.264", "h264"}};

/** Resolutions that the store names, by prefix. */
constexpr struct {
    std::string_view name;
    std::string_view size;
} RESOLUTIONS[] = {{"QCIF", "176x144"}, {"CIF", "352x288"}, {"4CIF", "704x576"}};

constexpr KeyRow<Param> RATE_KEYS[] = {
    KeyInt<&Param::iBitRate>("bitrate=", GIVEN_BIT_RATE, 1, 8000),
    KeyInt<&Param::iFrameRate>("framerate=", GIVEN_FRAME_RATE, 1, 30),
    KeyInt<&Param::iQuality>("quality=", GIVEN_QUALITY, 1, 5),
};
static_assert(KeyBitsAreDistinct(RATE_KEYS));

bool IsMjpeg(const VideoConfigRecord &record)
{
    return std::string_view(record.acCodec).starts_with("mjpeg");
}

/** Turns the client's codec into the store's word; true when the camera has it. */
bool Capability_CheckVideoCodec(std::span<char> codec)
{
    if (const CodecAlias *ptAlias = Codec_FindAlias(CODEC_ALIASES, codec.data()); ptAlias != nullptr)
        Text_Copy(codec, ptAlias->store);
    char acAnswer[128];
    return Capability_Lists(acAnswer, "capability_videoin_codec", codec.data());
}

int TakeProfile(SessionSlot &slot, std::string_view text, Param &param)
{
    if (GetIntValueFromText(text, "profileid=", param.iProfileID) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    // KEPT: a store that does not say how many there are makes the request a bad one; for a read it is an error.
    if (Capability_GetVideoStreams(param.iStreamCount, param.iH264) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Profile_CheckRange(slot, "ptVideoConfigResult", param.iProfileID, param.iStreamCount);
}

bool TakeResolution(std::string_view text, Param &param)
{
    if (GetStringValueFromText(text, "resolution=", param.acResolution) != 0)
        return true;
    param.uiSetMask |= GIVEN_RESOLUTION;
    char acAnswer[256];
    return Capability_Lists(acAnswer, "capability_videoin_resolution", param.acResolution);
}

/** Takes the codec that is given, or else the one that the stream has now. */
int TakeCodec(SessionSlot &slot, const char *pcParser, std::string_view text, Param &param)
{
    if (GetStringValueFromText(text, "codec=", param.acCodec) == 0)
        return Capability_CheckVideoCodec(param.acCodec) ? 0 : Session_Refuse(slot, StatusKind::BadRequest);
    return Profile_ReadCodec(slot, pcParser, CODEC_KEY, param.iProfileID - 1, param.acCodec);
}

bool TakeQualityMode(std::string_view text, Param &param)
{
    char acMode[12];
    if (GetStringValueFromText(text, "qualitymode=", acMode) != 0)
        return true;
    const std::string_view mode = acMode;
    const bool cbr = mode.starts_with("CBR");
    if ((cbr && IsMjpeg(param)) || (!cbr && !mode.starts_with("Fixquality")))
        return false;
    Text_Copy(param.acRateControl, cbr ? "cbr" : "vbr");
    param.uiSetMask |= GIVEN_RATE_CONTROL;
    return true;
}

constexpr ReadRow<Result> PROFILE[] = {
    ReadText<&Result::acCodec>(CODEC_KEY),
    ReadText<&Result::acResolution>("videoin_c0_s#_resolution"),
};
/** Of a codec that compresses over time. */
constexpr ReadRow<Result> RATES[] = {
    ReadInt<&Result::iIntraPeriod>("videoin_c0_s#_*_intraperiod"),
    ReadText<&Result::acRateControl>("videoin_c0_s#_*_ratecontrolmode"),
    ReadInt<&Result::iQuality>("videoin_c0_s#_*_quant"),
    ReadInt<&Result::iBitRate>("videoin_c0_s#_*_bitrate"),
    ReadInt<&Result::iFrameRate>("videoin_c0_s#_*_maxframe"),
};
constexpr ReadRow<Result> MJPEG_RATES[] = {
    ReadInt<&Result::iQuality>("videoin_c0_s#_mjpeg_quant"),
    ReadInt<&Result::iFrameRate>("videoin_c0_s#_mjpeg_maxframe"),
};

int ReadProfile(const char *pcCaller, Result &result)
{
    const int32_t iStream = result.iProfileID - 1;
    TextBuffer<1024> keys;
    Read_AddKeys(keys, PROFILE, {iStream});
    Read_AddKeys(keys, RATES, {iStream, "mpeg4"});
    Read_AddKeys(keys, MJPEG_RATES, {iStream});
    if (result.iH264 == 1)
        Read_AddKeys(keys, RATES, {iStream, "h264"});
    ConfigerReply<1024> reply(pcCaller);
    reply.AskFor(keys.View());
    reply.Take(PROFILE, result, {iStream});
    const CodecWords *ptCodec = VideoCodec_Find(result.acCodec);
    if (reply.Failed() || ptCodec == nullptr)
        return -1;
    if (IsMjpeg(result)) {
        Text_Copy(result.acRateControl, "Fixquality");
        reply.Take(MJPEG_RATES, result, {iStream});
    } else {
        reply.Take(RATES, result, {iStream, ptCodec->store});
    }
    Text_Copy(result.acCodec, ptCodec->profile);
    return reply.Failed() ? -1 : 0;
}

/** The resolution as clients know it. */
std::string_view ReplyResolution(std::string_view stored)
{
    for (const auto &resolution : RESOLUTIONS)
        if (stored.starts_with(resolution.name))
            return resolution.size;
    return stored;
}

std::string_view ReplyQualityMode(std::string_view stored)
{
    if (stored.starts_with("cbr"))
        return "CBR";
    return stored.starts_with("vbr") ? "Fixquality" : stored;
}

} // namespace

int Parser_VideoConfig_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::VideoConfig, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<Param>(slot);
    if (TakeProfile(slot, text, param) != 0)
        return -1;
    if (!TakeResolution(text, param))
        return Session_Refuse(slot, StatusKind::BadRequest);
    if (TakeCodec(slot, __func__, text, param) != 0)
        return -1;
    if (Request_TakeKeys(text, RATE_KEYS, param) != 0 || !TakeQualityMode(text, param))
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_VideoConfig(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    const int32_t iStream = param.iProfileID - 1;
    const char *pcCodec = param.acCodec;
    const bool mjpeg = IsMjpeg(param); // has no rate to control; what is given for it is dropped
    PairBuffer<1024> pairs(param.uiSetMask);
    pairs.Addf("videoin_c0_s%d_codectype=%s", iStream, pcCodec);
    pairs.AddGiven(GIVEN_RESOLUTION, "&videoin_c0_s%d_resolution=%s", iStream, param.acResolution);
    pairs.AddGiven(GIVEN_FRAME_RATE, "&videoin_c0_s%d_%s_maxframe=%d", iStream, pcCodec, param.iFrameRate);
    if (!mjpeg)
        pairs.AddGiven(GIVEN_BIT_RATE, "&videoin_c0_s%d_%s_bitrate=%d", iStream, pcCodec, param.iBitRate * 1000);
    if (!mjpeg)
        pairs.AddGiven(GIVEN_INTRA_PERIOD, "&videoin_c0_s%d_%s_intraperiod=%d", iStream, pcCodec,
                       param.iIntraPeriod);
    pairs.AddGiven(GIVEN_QUALITY, "&videoin_c0_s%d_%s_quant=%d", iStream, pcCodec, param.iQuality);
    if (!mjpeg)
        pairs.AddGiven(GIVEN_RATE_CONTROL, "&videoin_c0_s%d_%s_ratecontrolmode=%s", iStream, pcCodec,
                       param.acRateControl);
    return Session_WritePairs(slot, pairs, StatusKind::InternalError);
}

int MappingGetRoutine_VideoConfig(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    if (Capability_GetVideoStreams(result.iStreamCount, result.iH264) != 0)
        return Session_Fail(slot, StatusKind::InternalError);
    if (Profile_FromQuery(slot, result.iStreamCount, result.iProfileID) != 0)
        return Session_Fail(slot, StatusKind::BadRequest);
    return ReadProfile(__func__, result) == 0 ? Session_Succeed(slot)
                                              : Session_Fail(slot, StatusKind::InternalError);
}

void Compose_VideoConfig(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.Line("vprofileformat=", "0.9");
    body.Line("profileid=", result.iProfileID);
    body.Line("resolution=", ReplyResolution(result.acResolution));
    body.Line("codec=", result.acCodec);
    body.Line("framerate=", result.iFrameRate);
    body.Line("quality=", result.iQuality);
    body.Line("qualitymode=", ReplyQualityMode(result.acRateControl));
    if (!std::string_view(result.acCodec).starts_with("MJPEG"))
        body.Line("bitrate=", result.iBitRate / 1000);
}
