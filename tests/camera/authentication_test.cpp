#include "camera_process.h"

#include <gtest/gtest.h>
#include <string_view>

/*
 * Log-ins at the built virtual camera.
 */

namespace
{

std::string base64(std::string_view text)
{
    constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string encoded;
    for (size_t i = 0; i < text.size(); i += 3) {
        unsigned bits = 0;
        for (size_t j = 0; j < 3; ++j)
            bits = bits << 8 | (i + j < text.size() ? static_cast<unsigned char>(text[i + j]) : 0);
        for (size_t j = 0; j < 4; ++j)
            encoded += i + j > text.size() ? '=' : ALPHABET[bits >> (18 - 6 * j) & 63];
    }
    return encoded;
}

std::string as(const std::string &name, const std::string &password)
{
    return "Authorization: Basic " + base64(name + ":" + password) + "\r\n";
}

std::string userTarget(const std::string &name, const std::string &password, const std::string &group)
{
    return "/config/user_mod.cgi?name=" + name + "&password=" + base64(password) + "&group=" + group;
}

TEST(CameraLogin, GroupsMayDoWhatTheyMayDoOverARestart)
{
    CameraProcess camera({"--auth", "on"});
    const std::string admin = as("admin", camera.adminPassword());
    ASSERT_EQ(statusOf(camera.get(userTarget("olga", "pass-o", "operator"), admin)), 200);
    ASSERT_EQ(statusOf(camera.get(userTarget("vera", "pass-v", "view"), admin)), 200);

    const std::string nobody = camera.get("/common/info.cgi");
    EXPECT_EQ(statusOf(nobody), 401);
    EXPECT_NE(nobody.find("WWW-Authenticate: Basic realm="), std::string::npos);

    const std::string olga = as("olga", "pass-o"), vera = as("vera", "pass-v");
    const std::tuple<std::string, std::string, int> cases[] = {{vera, "/common/info.cgi", 200},
                                                               {vera, "/config/camera_info.cgi?name=Hall", 403},
                                                               {olga, "/config/camera_info.cgi?name=Hall", 200},
                                                               {olga, userTarget("mala", "pass-m", "admin"), 403},
                                                               {olga, "/camera/state", 403},
                                                               {admin, "/camera/state", 200}};
    for (const auto &[user, target, status] : cases)
        EXPECT_EQ(statusOf(camera.get(target, user)), status) << target;

    for (int user = 4; user <= 20; ++user)
        ASSERT_EQ(statusOf(camera.get(userTarget("user" + std::to_string(user), "pass", "view"), admin)), 200);
    EXPECT_EQ(statusOf(camera.get(userTarget("user21", "pass", "view"), admin)), 503) << "twenty are enough";
    EXPECT_EQ(statusOf(camera.get(userTarget("admin", "a&b=c:d", "admin"), admin)), 200);
    const std::string changed = as("admin", "a&b=c:d");
    EXPECT_EQ(statusOf(camera.get("/config/user_del.cgi?name=olga", changed)), 200);
    EXPECT_EQ(statusOf(camera.get("/config/user_del.cgi?name=admin", changed)), 400);
    EXPECT_EQ(camera.stop(SIGTERM), 0);
    camera.start();
    EXPECT_EQ(camera.output().find("password"), std::string::npos);
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi", vera)), 200);
    EXPECT_EQ(statusOf(camera.get("/camera/state", changed)), 200);
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi", olga)), 401);
}

TEST(CameraLogin, WrongPasswordCostsItsSenderTimeAndNobodyElse)
{
    using Clock = std::chrono::steady_clock;
    const CameraProcess camera({"--auth", "on"});
    const std::string admin = as("admin", camera.adminPassword());
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi", admin)), 200);

    const Clock::time_point begin = Clock::now();
    ClientSide guesser = camera.send("GET /common/info.cgi HTTP/1.1\r\n" + as("admin", "guess") + "\r\n");
    ClientSide other = camera.send("GET /common/info.cgi HTTP/1.1\r\n" + as("nobody", "guess") + "\r\n");
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi", admin)), 200);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(1));
    EXPECT_EQ(statusOf(guesser.readAll()), 401);
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(1));
    EXPECT_EQ(statusOf(other.readAll()), 401);
    EXPECT_GE(Clock::now() - begin, std::chrono::seconds(2));
}

} // namespace
