#include "tests/fakes/media_settings.h"

#include "tests/fakes/exchange_cases.h"

FakeStore::Settings mediaSettings()
{
    FakeStore::Settings settings = pairs(
        "capability_nmediastream=3&capability_videoin_codec=h264,mjpeg,mpeg4&capability_videoin_resolution=176x144,"
        "320x240,640x480&capability_videoin_vbitrates=64,512,2000&capability_videoin_framerates=1,15,30&"
        "capability_videoin_qualities=1,2,3,4,5&capability_supportaudio=1&capability_audioin_codec=aac4,gamr,g711&"
        "capability_naudiosetting=2&capability_audioin_aac4_bitrate=16000,32000&capability_audioin_aac4_samplerate="
        "8000,16000&capability_audioin_gamr_bitrate=4750,12200&capability_audioin_gamr_samplerate=8000&"
        "audioin_c0_s0_codectype=aac4&audioin_c0_s0_aac4_bitrate=128000&audioin_c0_s1_codectype=g711&"
        "audioin_c0_s1_g711_mode=pcmu&audioin_c0_s1_pcmu_bitrate=64000&audioin_c0_mute=0&audioin_c0_gain=50&"
        "audioout_c0_speaker_enable=1&videoin_c0_s0_codectype=h264&videoin_c0_s0_resolution=CIF&"
        "videoin_c0_s1_codectype=mjpeg&videoin_c0_s1_resolution=640x480&videoin_c0_s2_codectype=mpeg4&"
        "videoin_c0_s2_resolution=QCIF&");
    for (const std::string stream : {"0", "1", "2"}) {
        const std::string prefix = "videoin_c0_s" + stream + "_";
        settings["network_rtsp_s" + stream + "_accessname"] = "live" + stream + ".sdp";
        settings.merge(pairs(prefix + "mjpeg_quant=4&" + prefix + "mjpeg_maxframe=15"));
        for (const std::string &codec : {prefix + "h264_", prefix + "mpeg4_"})
            settings.merge(pairs(codec + "intraperiod=1000&" + codec + "quant=3&" + codec + "bitrate=2000000&" +
                                 codec + "maxframe=25&" + codec +
                                 (codec.ends_with("h264_") ? "ratecontrolmode=cbr" : "ratecontrolmode=vbr")));
    }
    return settings;
}
