#include "camera_process.h"

#include <gtest/gtest.h>

/*
 * The factory defaults, seen through the daemon: a key that is missing, too long or at odds with another makes a
 * reading URL fail.
 */

namespace
{

TEST(FactoryCamera, EveryReadableUrlAnswers)
{
    const CameraProcess camera;
    const char *targets[] = {
        "/config/network.cgi",
        "/config/datetime.cgi",
        "/config/video.cgi?profileid=1",
        "/config/video.cgi?profileid=2",
        "/config/video.cgi?profileid=3",
        "/config/stream_info.cgi",
        "/config/sensor.cgi",
        "/common/info.cgi",
        "/config/rtspurl.cgi?profileid=3",
        "/config/sensor_info.cgi",
        "/config/mic.cgi",
        "/config/io.cgi",
        "/config/rs485.cgi",
        "/config/ptz_preset_list.cgi",
        "/config/audio.cgi?profileid=1",
        "/config/audio.cgi?profileid=2",
        "/config/speaker.cgi",
        "/config/motion.cgi",
        "/cgi/admin/recorder.cgi",
        "/cgi/admin/adv_snapshot_cont.cgi",
        "/cgi/admin/adv_do.cgi",
        "/config/camera_info.cgi",
        "/config/timestamp.cgi",
        "/config/ddns.cgi",
    };
    for (const char *target : targets)
        EXPECT_EQ(statusOf(camera.get(target)), 200) << target;
}

TEST(FactoryCamera, EveryCodecDriverAndProviderCanBeChosenAndReadBack)
{
    const CameraProcess camera;
    struct Case {
        std::string url;
        std::string choice;
        std::string selector;
        std::string line;
    };
    std::vector<Case> cases;
    for (const std::string profile : {"profileid=1", "profileid=2", "profileid=3"})
        for (const std::string codec : {"MPEG4", "MJPEG", "H.264"})
            cases.push_back({"/config/video.cgi", profile + "&codec=" + codec, profile, "codec=" + codec});
    for (const std::string profile : {"profileid=1", "profileid=2"})
        for (const std::string codec : {"AAC", "AMR", "MU-LAW", "A-LAW"})
            cases.push_back({"/config/audio.cgi", profile + "&codec=" + codec, profile, "codec=" + codec});
    for (const std::string provider : {"dyndns", "pomroddns", "example.net"})
        cases.push_back({"/config/ddns.cgi", "provider=" + provider, "", "provider=" + provider});
    for (const std::string driver : {"Dyna", "Lilin", "PelcoD", "PelcoP", "custom"})
        cases.push_back({"/config/rs485.cgi", "proto=" + driver, "", "proto=" + driver});
    for (const Case &test : cases) {
        EXPECT_EQ(statusOf(camera.get(test.url + "?" + test.choice)), 200) << test.choice;
        const std::string read = camera.get(test.url + (test.selector.empty() ? "" : "?" + test.selector));
        EXPECT_NE(read.find("\r\n" + test.line + "\r\n"), std::string::npos) << test.choice << "\n" << read;
    }
}

} // namespace
