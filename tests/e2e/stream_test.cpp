#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/fake_hand_back.h"
#include "tests/fakes/media_settings.h"
#include "tests/fakes/read_table.h"

#include <gtest/gtest.h>

namespace
{

const std::string INFO = "/config/stream_info.cgi";
const std::string RTSP = "/config/rtspurl.cgi";
const std::string MJPEG = "/video/mjpg.cgi";
const std::string HAND_BACK_REST = "--myboundary\r\nkelpa\r\nkelpa\r\n";

} // namespace

TEST(StreamInfo, ListsWhatTheCameraCan)
{
    TestCamera camera({.settings = storedFor(INFO)});
    camera.store.set("capability_supportaudio", "0");
    EXPECT_EQ(camera.get(INFO),
              okReply("videos=MJPEG\r\nresolutions=800x600,640x480\r\nvbitrates=64,512\r\nqualitymodes=CBR,"
                      "Fixquality\r\nframerates=1,15,30\r\nqualities=1,2,3,4,5\r\nvprofileformat=0.9\r\n"
                      "vprofilenum=1\r\nvprofile1=theora\r\nvprofileres1=1024x768\r\nvprofileurl1=live.sdp\r\n"));
    camera.store.set("capability_supportaudio", "1");
    const std::string rest = "\r\nvprofileres1=1024x768\r\nvprofileurl1=";
    expectReads(camera, INFO,
                {{"videoin_c0_s0_codectype=h264", "vprofile1=theora", "vprofile1=H264"},
                 {"videoin_c0_s0_codectype=mjpeg", "theora" + rest + "live.sdp",
                  "MJPEG" + rest + "/video/mjpg.cgi?profileid=1"},
                 {/* KEPT: with its comma */ "capability_audioin_codec=aac4", "AAC,AMR", "AAC,"},
                 {"capability_audioin_codec=gamr", "AAC,AMR", "AMR"}});
    camera.store.set(pairs("capability_audioin_gamr_bitrate=4750,12200&audioin_c0_s0_codectype=gamr"));
    EXPECT_NE(camera.get(INFO).find("asampleratesx\r\nabitrates=4750,12200\r\n"), std::string::npos);
    camera.store.set("audioin_c0_s0_codectype", "g711");
    EXPECT_NE(camera.get(INFO).find("asamplerates\r\nabitrates=\r\n"), std::string::npos);
    camera.store.set("capability_supportaudio", "0");
    const std::string reply = camera.get(INFO);
    EXPECT_NE(reply.find("audios=\r\n"), std::string::npos) << "audio that was seen once stays";
    EXPECT_TRUE(reply.ends_with("aprofilenum=0\r\n")) << reply;
}

TEST(StreamInfo, AtMostEightProfilesAreListed)
{
    auto settings = mediaSettings();
    settings.insert_or_assign("capability_nmediastream", "9999999");
    settings.insert_or_assign("capability_naudiosetting", "12");
    for (const std::string number : {"3", "4", "5", "6", "7", "8", "9", "10", "11"})
        settings.merge(pairs("videoin_c0_s" + number + "_codectype=x&videoin_c0_s" + number +
                             "_resolution=1x1&network_rtsp_s" + number + "_accessname=" + std::string(63, 'a') +
                             "&audioin_c0_s" + number + "_codectype=y"));
    settings.merge(pairs("audioin_c0_s2_codectype=y"));
    TestCamera camera({.settings = settings});
    const std::string reply = camera.get(INFO);
    EXPECT_NE(reply.find("vprofilenum=8\r\n"), std::string::npos);
    EXPECT_NE(reply.find("vprofile8=x\r\n"), std::string::npos);
    EXPECT_EQ(reply.find("vprofile9="), std::string::npos);
    EXPECT_NE(reply.find("aprofilenum=8\r\n"), std::string::npos);
    EXPECT_TRUE(reply.ends_with("aprofile8=y\r\n"));
    EXPECT_EQ(camera.get(INFO, "x=1"), BAD_REQUEST);
}

TEST(MjpgStream, WithoutAnyStreamThereIsNothingToAskTheStoreFor)
{
    FakeStore::Settings settings = mediaSettings();
    settings["capability_nmediastream"] = "0";
    TestCamera camera({.settings = settings});
    camera.store.clearRequests();
    EXPECT_EQ(camera.get(MJPEG), BAD_REQUEST);
    EXPECT_EQ(camera.get(MJPEG, "profileid=1"), INTERNAL_ERROR);
    EXPECT_EQ(camera.store.requests().size(), 2U);
}

TEST(RtspUrl, TellsOneStreamsName)
{
    TestCamera camera({.settings = mediaSettings()});
    EXPECT_EQ(camera.get(RTSP, "profileid=1"), okReply("profileid=1\r\nurlentry=live0.sdp\r\n"));
    expectRefused(camera, RTSP, "profileid=0 profileid=4 profileid=10");
    EXPECT_EQ(camera.get(RTSP), BAD_REQUEST);
    EXPECT_EQ(camera.post(RTSP, "profileid=1"), BAD_REQUEST);
}

TEST(MjpgStream, HandsTheClientToTheWebServer)
{
    FakeStore::Settings settings = NO_AUDIO_OUTPUT;
    settings.merge(mediaSettings());
    TestCamera camera({.settings = settings});
    EXPECT_EQ(camera.get(MJPEG), INTERNAL_ERROR) << "no web server";
    FakeHandBack webServer(camera.root.path("/var/run/http/fdipc1"));
    const size_t descriptors = [&] {
        ClientSide client = camera.open({.url = MJPEG});
        EXPECT_EQ(webServer.take("pictures"), "stream2\r\n" + HAND_BACK_REST);
        EXPECT_EQ(client.readAll(), "pictures") << "the connection is the web server's, the daemon says nothing";
        return camera.openDescriptors();
    }();
    for (int i = 0; i < 3; ++i) {
        ClientSide client = camera.open({.url = MJPEG, .query = "profileid=2"});
        EXPECT_EQ(webServer.take("more"), "stream2\r\n" + HAND_BACK_REST);
        EXPECT_EQ(client.readAll(), "more");
    }
    webServer.bindAnew();
    ClientSide client = camera.open({.url = MJPEG, .query = "profileid=2"});
    EXPECT_EQ(webServer.take("again"), "stream2\r\n" + HAND_BACK_REST) << "a web server that was restarted";
    EXPECT_EQ(client.readAll(), "again");
    EXPECT_EQ(camera.openDescriptors(), descriptors);
}

TEST(MjpgStream, FailuresAreAnsweredOnTheClientsSocket)
{
    TestCamera camera({.settings = mediaSettings()});
    FakeHandBack webServer(camera.root.path("/var/run/http/fdipc1"));
    expectRefused(camera, MJPEG, "profileid=1 profileid=10");
    // KEPT: a profile that does not exist is not found.
    expectRefused(camera, MJPEG, "profileid=9 profileid=0", INTERNAL_ERROR);
    camera.store.set("videoin_c0_s1_codectype", "mjpeg2");
    EXPECT_EQ(camera.get(MJPEG), BAD_REQUEST) << "no MJPEG stream at all";
    camera.store.remove("videoin_c0_s0_codectype");
    EXPECT_EQ(camera.get(MJPEG), INTERNAL_ERROR);
}
