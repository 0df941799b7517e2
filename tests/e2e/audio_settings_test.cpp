#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/media_settings.h"

#include <gtest/gtest.h>

namespace
{

const std::string AUDIO = "/config/audio.cgi";
const std::string MIC = "/config/mic.cgi";
const std::string SPEAKER = "/config/speaker.cgi";

} // namespace

TEST(Audio, SampleRateAndChannelsFollowFromTheStoredCodec)
{
    TestCamera camera({.settings = mediaSettings()});
    const std::string first = "samplerate=44100\r\nchannel=2\r\nbitrate=128000";
    for (const auto &[bitRate, sampleRate] : {std::pair{"16000", "8000"},
                                              {"48000", "16000"},
                                              {"64000", "32000"},
                                              {"64001", "8000"},
                                              {"96000", "44100"}})
        expectReads(camera, AUDIO + "?profileid=1",
                    {{std::string("audioin_c0_s0_aac4_bitrate=") + bitRate, first,
                      std::string("samplerate=") + sampleRate + "\r\nchannel=2\r\nbitrate=" + bitRate}});
    const std::string second = "MU-LAW\r\nsamplerate=8000\r\nchannel=1\r\nbitrate=64000";
    expectReads(camera, AUDIO + "?profileid=2",
                {{"audioin_c0_s1_g711_mode=pcma&audioin_c0_s1_pcma_bitrate=64000", "MU-LAW", "A-LAW"},
                 {"audioin_c0_s1_codectype=gamr&audioin_c0_s1_gamr_bitrate=12200", second,
                  "AMR\r\nsamplerate=8000\r\nchannel=1\r\nbitrate=12200"},
                 {"audioin_c0_s1_codectype=opus&audioin_c0_s1_opus_bitrate=9", second,
                  "opus\r\nsamplerate=0\r\nchannel=0\r\nbitrate=9"}});
    EXPECT_EQ(camera.get(AUDIO, "profileid=3"), BAD_REQUEST);
}

TEST(Audio, KeptARateIsWrittenUnderG711AndReadUnderItsLaw)
{
    TestCamera camera({.settings = mediaSettings()});
    expectChanges(camera, AUDIO,
                  {{"profileid=1&codec=MU-LAW&bitrate=64000",
                    "audioin_c0_s0_codectype=g711&audioin_c0_s0_g711_mode=pcmu&audioin_c0_s0_g711_bitrate=64000"}});
    EXPECT_EQ(camera.get(AUDIO, "profileid=1"), INTERNAL_ERROR) << "the store has no rate for pcmu yet";
    EXPECT_EQ(camera.store.requests().back(), "get NameValue 99 0\naudioin_c0_s0_pcmu_bitrate&");
}

TEST(Audio, ChangesAreCheckedAgainstTheCodec)
{
    TestCamera camera({.settings = mediaSettings()});
    expectChanges(
        camera, AUDIO,
        {{"profileid=1&codec=AAC", "audioin_c0_s0_codectype=aac4"},
         {"profileid=2&codec=A-LAW", "audioin_c0_s1_codectype=g711&audioin_c0_s1_g711_mode=pcma"},
         {"profileid=2&bitrate=64000", "audioin_c0_s1_codectype=g711&audioin_c0_s1_g711_bitrate=64000"},
         {"profileid=2&codec=AMR&bitrate=4750", "audioin_c0_s1_codectype=gamr&audioin_c0_s1_gamr_bitrate=4750"},
         {"profileid=1&codec=12345678", "audioin_c0_s0_codectype=aac4"}});
    expectRefused(camera, AUDIO,
                  "profileid=1&codec=MU-LAW&bitrate=32000 profileid=2&bitrate=32000 profileid=2&bitrate=-1 "
                  "profileid=1&codec=OPUS profileid=0&codec=AAC codec=AAC");
    camera.waitForTrace("esrInvalidOperation, ptAudioConfigResult->iProfileID=0\n");
    // The number of profiles, the current codec, the write.
    int failing = 0;
    for (const std::string &reply : {BAD_REQUEST, INTERNAL_ERROR, INTERNAL_ERROR}) {
        camera.store.answerNothing(++failing);
        EXPECT_EQ(camera.get(AUDIO, "profileid=1&bitrate=16000"), reply) << failing;
    }
}

TEST(Microphone, IsReadAndChanged)
{
    TestCamera camera({.settings = mediaSettings()});
    expectChanges(camera, MIC,
                  {{"enable=yes&volume=50", "audioin_c0_mute=0&audioin_c0_gain=50"},
                   {"enable=no", "audioin_c0_mute=1"},
                   {"volume=1", "&audioin_c0_gain=1"}});
    expectRanges(camera, MIC, "volume=1..100");
    expectRefused(camera, MIC, "enable=on x=1");
    EXPECT_EQ(camera.get(MIC), okReply("enable=no\r\nvolume=100\r\n"));
    camera.store.set("capability_supportaudio", "0");
    camera.store.remove("audioin_c0_mute");
    EXPECT_EQ(camera.get(MIC), BAD_REQUEST) << "no audio on this camera";
}

TEST(Speaker, IsReadAndChanged)
{
    TestCamera camera({.settings = mediaSettings()});
    expectChanges(camera, SPEAKER, {{"enable=no", "audioout_c0_speaker_enable=0"}});
    EXPECT_EQ(camera.get(SPEAKER), okReply("enable=no\r\n"));
    expectRefused(camera, SPEAKER, "enable=Yes x=1");
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(SPEAKER, "enable=yes"), INTERNAL_ERROR);
}
