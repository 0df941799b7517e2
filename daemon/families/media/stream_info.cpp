#include "daemon/families/media/stream_info.h"

#include "daemon/configer/reply.h"
#include "daemon/netutil/text_case.h"

#include <algorithm>
#include <cstring>

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

bool Contains(const char *pcList, std::string_view word)
{
    return std::string_view(pcList).find(word) != std::string_view::npos;
}

void TakeAudioCapabilities(ConfigerReader &reply, Result &result)
{
    char acCodecs[64] = {};
    reply.Text("capability_audioin_codec=", acCodecs);
    TextBuilder codecs(result.acAudioCodecs);
    if (Contains(acCodecs, "aac4"))
        codecs.Add("AAC,"); // KEPT: the comma stays when nothing follows it
    if (Contains(acCodecs, "gamr"))
        codecs.Add("AMR");

    char acCurrent[8] = {};
    reply.Text("audioin_c0_s0_codectype=", acCurrent);
    const std::string_view current = acCurrent;
    if (current.starts_with("aac4")) {
        reply.Text("capability_audioin_aac4_bitrate=", result.acAudioBitRates);
        reply.Text("capability_audioin_aac4_samplerate=", result.acSampleRates);
    } else if (current.starts_with("gamr")) {
        reply.Text("capability_audioin_gamr_bitrate=", result.acAudioBitRates);
        reply.Text("capability_audioin_gamr_samplerate=", result.acSampleRates);
    }
}

/** Reads the first store reply; returns whether the camera has audio. */
bool ReadCapabilities(ConfigerReader &reply, Result &result)
{
    reply.Get({"capability_videoin_codec&", "capability_videoin_resolution&", "capability_nmediastream&",
               "capability_videoin_vbitrates&", "capability_videoin_framerates&", "capability_videoin_qualities&",
               "capability_audioin_codec&", "capability_naudiosetting&", "capability_audioin_aac4_bitrate&",
               "capability_audioin_aac4_samplerate&", "audioin_c0_s0_codectype&capability_audioin_gamr_bitrate&",
               "capability_audioin_gamr_samplerate&", "capability_supportaudio&"});
    reply.Text("capability_videoin_codec=", result.acVideoCodecs);
    (void)NetUtility_ToUpper(result.acVideoCodecs, static_cast<int32_t>(strlen(result.acVideoCodecs)));
    int32_t iAudio = 0;
    reply.Bool("capability_supportaudio=", iAudio);
    if (iAudio == 1) {
        g_iAudioSupported = 1;
        TakeAudioCapabilities(reply, result);
    }
    reply.Text("capability_videoin_resolution=", result.acResolutions);
    reply.Text("capability_videoin_vbitrates=", result.acVideoBitRates);
    reply.Text("capability_videoin_framerates=", result.acFrameRates);
    reply.Text("capability_videoin_qualities=", result.acQualities);
    reply.Int("capability_nmediastream=", result.iVideoProfiles);
    if (iAudio == 1)
        reply.Int("capability_naudiosetting=", result.iAudioProfiles);
    result.iVideoProfiles = std::clamp(result.iVideoProfiles, 0, MAX_LISTED_PROFILES);
    result.iAudioProfiles = std::clamp(result.iAudioProfiles, 0, MAX_LISTED_PROFILES);
    return iAudio == 1;
}

void ReadVideoProfiles(ConfigerReader &reply, Result &result)
{
    if (result.iVideoProfiles == 0)
        return;
    TextBuffer<1024> keys;
    for (int32_t i = 0; i < result.iVideoProfiles; ++i)
        keys.Addf("videoin_c0_s%d_codectype&videoin_c0_s%d_resolution&network_rtsp_s%d_accessname&", i, i, i);
    reply.Get({keys.View()});
    for (int32_t i = 0; i < result.iVideoProfiles; ++i) {
        auto &profile = result.atVideo[i];
        reply.Text(Key("videoin_c0_s%d_codectype=", i), profile.acCodec);
        reply.Text(Key("videoin_c0_s%d_resolution=", i), profile.acResolution);
        reply.Text(Key("network_rtsp_s%d_accessname=", i), profile.acAccessName);
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
        keys.Addf("audioin_c0_s%d_codectype&", i);
    reply.Get({keys.View()});
    for (int32_t i = 0; i < result.iAudioProfiles; ++i) {
        auto &profile = result.atAudio[i];
        reply.Text(Key("audioin_c0_s%d_codectype=", i), profile.acCodec);
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
    reply.Get({"capability_nmediastream&"});
    reply.Int("capability_nmediastream=", result.iStreamCount);
    if (reply.Failed())
        return Session_Fail(slot, StatusKind::InternalError);
    if (Profile_FromQuery(slot, result.iStreamCount, result.iProfileID) != 0)
        return Session_Fail(slot, StatusKind::BadRequest);
    const int32_t iStream = result.iProfileID - 1;
    reply.Get({Key("network_rtsp_s%d_accessname&", iStream)});
    reply.Text(Key("network_rtsp_s%d_accessname=", iStream), result.acAccessName);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_RtspUrl(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<RtspUrlResult>(slot);
    body.Line("profileid=", result.iProfileID);
    body.Line("urlentry=", result.acAccessName);
}
