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
    const std::tuple<std::string, std::string, std::vector<std::string>> cases[] = {
        {"video.cgi?profileid=1&", "codec=", {"MPEG4", "MJPEG", "H.264"}},
        {"video.cgi?profileid=3&", "codec=", {"MPEG4", "MJPEG", "H.264"}},
        {"audio.cgi?profileid=2&", "codec=", {"AAC", "AMR", "MU-LAW", "A-LAW"}},
        {"ddns.cgi?", "provider=", {"dyndns", "pomroddns", "example.net"}},
        {"rs485.cgi?", "proto=", {"Dyna", "Lilin", "PelcoD", "PelcoP", "custom"}}};
    for (const auto &[url, key, choices] : cases)
        for (const std::string &choice : choices) {
            EXPECT_EQ(statusOf(camera.get("/config/" + url + key + choice)), 200) << choice;
            const std::string read = camera.get("/config/" + url.substr(0, url.size() - 1));
            EXPECT_NE(read.find("\r\n" + key + choice + "\r\n"), std::string::npos) << choice << "\n" << read;
        }
}

} // namespace
