#include "camera_process.h"

#include <gtest/gtest.h>

/*
 * The factory defaults, seen through the daemon: a key that is missing, too long or at odds with another makes a
 * reading URL fail.
 */

namespace
{

TEST(FactoryCamera, EveryCodecDriverAndProviderCanBeChosenAndReadBack)
{
    const CameraProcess camera;
    const auto choose = [&](const std::string &url, const std::string &selector, const std::string &choice) {
        const std::string query = selector.empty() ? choice : selector + "&" + choice;
        EXPECT_EQ(statusOf(camera.get(url + "?" + query)), 200) << query;
        const std::string read = camera.get(selector.empty() ? url : url + "?" + selector);
        EXPECT_NE(read.find("\r\n" + choice + "\r\n"), std::string::npos) << query << "\n" << read;
    };
    for (const std::string profile : {"profileid=1", "profileid=2", "profileid=3"})
        for (const std::string codec : {"MPEG4", "MJPEG", "H.264"})
            choose("/config/video.cgi", profile, "codec=" + codec);
    for (const std::string profile : {"profileid=1", "profileid=2"})
        for (const std::string codec : {"AAC", "AMR", "MU-LAW", "A-LAW"})
            choose("/config/audio.cgi", profile, "codec=" + codec);
    for (const std::string provider : {"dyndns", "pomroddns", "example.net"})
        choose("/config/ddns.cgi", "", "provider=" + provider);
    for (const std::string driver : {"Dyna", "Lilin", "PelcoD", "PelcoP", "custom"})
        choose("/config/rs485.cgi", "", "proto=" + driver);
}

} // namespace
