#include "daemon/families/media/stream_info.h"

#include "daemon/configer/reply.h"
#include "daemon/netutil/text_case.h"

#include <algorithm>
#include <type_traits>

namespace
{

/** KEPT: stays 1 once the camera was seen to have audio. */
int32_t g_iAudioSupported = 0;

struct AudioCodec {
    std::string_view store;
    std::string_view list;
};
constexpr AudioCodec AUDIO_CODECS[] = {{"aac4", "AAC"}, {"gamr", "AMR"}};

using Result = StreamInfoResult;
using StreamReply = ConfigerReply<1536>;

void TakeVideoCodecs(std::string_view codecs, Result &result)
{
    Text_Copy(result.acVideoCodecs, codecs);
    (void)NetUtility_ToUpper(result.acVideoCodecs, static_cast<int32_t>(codecs.size()));
}

void TakeAudioCodecs(std::string_view stored, Result &result)
{
    TextBuilder codecs(result.acAudioCodecs);
    if (stored.find("aac4") != std::string_view::npos)
        codecs.Add("AAC,"); // KEPT: the comma stays when nothing follows it
    if (stored.find("gamr") != std::string_view::npos)
        codecs.Add("AMR");
}

constexpr ReadRow<Result> VIDEO_CODECS[] = {
    ReadSpecial<TakeVideoCodecs, sizeof Result::acVideoCodecs - 1>("capability_videoin_codec"),
};
constexpr ReadRow<Result> VIDEO[] = {
    ReadText<&Result::acResolutions>("capability_videoin_resolution"),
    ReadInt<&Result::iVideoProfiles>("capability_nmediastream"),
    ReadText<&Result::acVideoBitRates>("capability_videoin_vbitrates"),
    ReadText<&Result::acFrameRates>("capability_videoin_framerates"),
    ReadText<&Result::acQualities>("capability_videoin_qualities"),
};
constexpr ReadRow<Result> AUDIO[] = {
    ReadSpecial<TakeAudioCodecs, 63>("capability_audioin_codec"),
    ReadInt<&Result::iAudioProfiles>("capability_naudiosetting"),
};
constexpr ReadRow<Result> AAC_RATES[] = {
    ReadText<&Result::acAudioBitRates>("capability_audioin_aac4_bitrate"),
    ReadText<&Result::acSampleRates>("capability_audioin_aac4_samplerate"),
};
constexpr ReadRow<Result> AMR_RATES[] = {
    ReadText<&Result::acAudioBitRates>("capability_audioin_gamr_bitrate"),
    ReadText<&Result::acSampleRates>("capability_audioin_gamr_samplerate"),
};

/** What is not reported itself. */
struct Current {
    char acAudioCodec[8];
    int32_t iAudio;
};
constexpr ReadRow<Current> AUDIO_CODEC[] = {ReadText<&Current::acAudioCodec>("audioin_c0_s0_codectype")};
constexpr ReadRow<Current> AUDIO_SUPPORT[] = {ReadBool<&Current::iAudio>("capability_supportaudio")};

using VideoProfile = std::remove_reference_t<decltype(Result::atVideo[0])>;
using AudioProfile = std::remove_reference_t<decltype(Result::atAudio[0])>;
constexpr ReadRow<VideoProfile> VIDEO_PROFILE[] = {
    ReadText<&VideoProfile::acCodec>("videoin_c0_s#_codectype"),
    ReadText<&VideoProfile::acResolution>("videoin_c0_s#_resolution"),
    ReadText<&VideoProfile::acAccessName>("network_rtsp_s#_accessname"),
};
constexpr ReadRow<AudioProfile> AUDIO_PROFILE[] = {ReadText<&AudioProfile::acCodec>("audioin_c0_s#_codectype")};

/** Reads the first store reply; returns whether the camera has audio. */
bool ReadCapabilities(ConfigerReader &reply, Result &result)
{
    Current current = {};
    reply.Ask(NO_PARTS, VIDEO_CODECS, VIDEO, AUDIO, AAC_RATES, AUDIO_CODEC, AMR_RATES, AUDIO_SUPPORT);
    reply.Take(VIDEO_CODECS, result);
    reply.Take(AUDIO_SUPPORT, current);
    if (current.iAudio == 1) {
        g_iAudioSupported = 1;
        reply.Take(AUDIO, result);
        reply.Take(AUDIO_CODEC, current);
        if (std::string_view(current.acAudioCodec).starts_with("aac4"))
            reply.Take(AAC_RATES, result);
        else if (std::string_view(current.acAudioCodec).starts_with("gamr"))
            reply.Take(AMR_RATES, result);
    }
    reply.Take(VIDEO, result);
    result.iVideoProfiles = std::clamp(result.iVideoProfiles, 0, MAX_LISTED_PROFILES);
    result.iAudioProfiles = std::clamp(result.iAudioProfiles, 0, MAX_LISTED_PROFILES);
    return current.iAudio == 1;
}

void ReadVideoProfiles(ConfigerReader &reply, Result &result)
{
    if (result.iVideoProfiles == 0)
        return;
    TextBuffer<1024> keys;
    for (int32_t i = 0; i < result.iVideoProfiles; ++i)
        Read_AddKeys(keys, VIDEO_PROFILE, {i});
    reply.AskFor(keys.View());
    for (int32_t i = 0; i < result.iVideoProfiles; ++i) {
        auto &profile = result.atVideo[i];
        reply.Take(VIDEO_PROFILE, profile, {i});
        // KEPT: "H264" here, "H.264" in a profile's own reply.
        if (const CodecWords *ptCodec = VideoCodec_Find(profile.acCodec); ptCodec != nullptr)
            Text_Copy(profile.acCodec, ptCodec->list);
    }
}

void ReadAudioProfiles(ConfigerReader &reply, Result &result)
{
    if (result.iAudioProfiles == 0)
        return;
    TextBuffer<1024> keys;
    for (int32_t i = 0; i < result.iAudioProfiles; ++i)
        Read_AddKeys(keys, AUDIO_PROFILE, {i});
    reply.AskFor(keys.View());
    for (int32_t i = 0; i < result.iAudioProfiles; ++i) {
        auto &profile = result.atAudio[i];
        reply.Take(AUDIO_PROFILE, profile, {i});
        for (const AudioCodec &codec : AUDIO_CODECS) {
            if (std::string_view(profile.acCodec).starts_with(codec.store)) {
                Text_Copy(profile.acCodec, codec.list);
                break;
            }
        }
    }
}

void ComposeVideoProfiles(TextBuilder &body, const Result &result)
{
    for (int32_t i = 0; i < result.iVideoProfiles; ++i) {
        const auto &profile = result.atVideo[i];
        const int32_t iNumber = i + 1;
        body.Addf("vprofile%d=%s\r\n", iNumber, profile.acCodec);
        body.Addf("vprofileres%d=%s\r\n", iNumber, profile.acResolution);
        if (std::string_view(profile.acCodec) == "MJPEG")
            body.Addf("vprofileurl%d=/video/mjpg.cgi?profileid=%d\r\n", iNumber, iNumber);
        else
            body.Addf("vprofileurl%d=%s\r\n", iNumber, profile.acAccessName);
    }
}

} // namespace

int MappingGetRoutine_StreamInfo(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    StreamReply reply(__func__);
    const bool audio = ReadCapabilities(reply, result);
    ReadVideoProfiles(reply, result);
    if (audio)
        ReadAudioProfiles(reply, result);
    result.iAudio = g_iAudioSupported;
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_StreamInfo(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    const bool audio = result.iAudio == 1;
    body.Line("videos=", result.acVideoCodecs);
    if (audio)
        body.Line("audios=", result.acAudioCodecs);
    body.Line("resolutions=", result.acResolutions);
    body.Line("vbitrates=", result.acVideoBitRates);
    body.Line("qualitymodes=", "CBR,Fixquality");
    if (audio) {
        body.Line("asamplerates", result.acSampleRates); // KEPT: no "=" in this line
        body.Line("abitrates=", result.acAudioBitRates);
    }
    body.Line("framerates=", result.acFrameRates);
    body.Line("qualities=", result.acQualities);
    if (audio)
        body.Line("micvol=", "9...100");
    body.Line("vprofileformat=", "0.9");
    body.Line("vprofilenum=", result.iVideoProfiles);
    ComposeVideoProfiles(body, result);
    if (!audio)
        return;
    body.Line("aprofilenum=", result.iAudioProfiles);
    for (int32_t i = 0; i < result.iAudioProfiles; ++i)
        body.Addf("aprofile%d=%s\r\n", i + 1, result.atAudio[i].acCodec);
}

int MappingGetRoutine_RtspUrl(SessionSlot &slot)
{
    auto &result = Session_Result<RtspUrlResult>(slot);
    ConfigerReply<1024> reply(__func__);
    reply.ReadInt("capability_nmediastream", result.iStreamCount);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::InternalError);
    if (Profile_FromQuery(slot, result.iStreamCount, result.iProfileID) != 0)
        return Session_Fail(slot, StatusKind::BadRequest);
    reply.ReadText("network_rtsp_s#_accessname", result.acAccessName, {result.iProfileID - 1});
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_RtspUrl(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<RtspUrlResult>(slot);
    body.Line("profileid=", result.iProfileID);
    body.Line("urlentry=", result.acAccessName);
}
