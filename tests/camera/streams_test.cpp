#include "camera/base/files.h"
#include "camera/neighbours/streams/stream_client.h"
#include "camera/neighbours/streams/stream_profile.h"
#include "platform/unix_socket.h"
#include "stream_reader.h"
#include "temporary_folder.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <set>
#include <sys/socket.h>
#include <thread>

/*
 * The server push and the single pictures: the rules by themselves, then the built camera with the daemon inside.
 */

namespace
{

using camera::Colour;
using camera::Image;
using camera::Resolution;

TEST(StreamProfile, ReadsSizes)
{
    for (const auto &[text, resolution] : {std::pair<const char *, Resolution>{"QCIF", {176, 144}},
                                           {"4CIF", {704, 576}},
                                           {"16x16", {16, 16}},
                                           {"1920x1200", {1920, 1200}}})
        EXPECT_EQ(camera::parseResolution(text), resolution) << text;
    for (const char *bad :
         {"", "640x", "640x480x2", "-640x480", "15x480", "1921x480", "640x1201", "99999999999x480"})
        EXPECT_FALSE(camera::parseResolution(bad)) << bad;
}

TEST(StreamProfile, WhateverTheStoreHoldsCanBeDrawn)
{
    const TemporaryFolder folder;
    camera::Store store(folder.path("store"));
    const auto expect = [&](int framesPerSecond, int quality) {
        const auto profile = camera::readProfile(store, 2);
        EXPECT_EQ(profile->resolution, (Resolution{640, 480}));
        EXPECT_EQ(profile->framesPerSecond, framesPerSecond);
        EXPECT_EQ(profile->jpegQuality, quality);
    };
    EXPECT_EQ(camera::countProfiles(store), 0);
    EXPECT_EQ(camera::firstMotionJpegProfile(store), 0);
    store.set("capability_nmediastream", "2");
    EXPECT_FALSE(camera::readProfile(store, 0));
    EXPECT_FALSE(camera::readProfile(store, 3));
    expect(15, camera::readProfile(store, 2)->jpegQuality);
    store.set("videoin_c0_s1_codectype", "mjpeg");
    store.set("videoin_c0_s1_resolution", "2000000000x2000000000");
    store.set("videoin_c0_s1_mjpeg_maxframe", "-3");
    store.set("videoin_c0_s1_mjpeg_quant", "77");
    EXPECT_EQ(camera::firstMotionJpegProfile(store), 2);
    expect(1, 92);
    store.set("videoin_c0_s1_mjpeg_maxframe", "999999");
    expect(100, 92);
    store.set("capability_nmediastream", "999999999");
    EXPECT_LE(camera::countProfiles(store), 32);
}

/** One client of a stream, both ends of it. */
class StreamClientTest : public testing::Test
{
  protected:
    StreamClientTest()
    {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0)
            throw std::runtime_error("socketpair");
        peer = ClientSide(FileDescriptor(ends[1]));
        client = camera::StreamClient::start(io, FileDescriptor(ends[0]));
    }

    boost::asio::io_context io;
    ClientSide peer;
    std::shared_ptr<camera::StreamClient> client;
};

TEST_F(StreamClientTest, SlowOneGetsWholePartsAndTheNewestAfterAGap)
{
    const auto part = [](char letter) { return std::make_shared<const std::string>(3'000'000, letter); };
    for (const char letter : {'a', 'b', 'c', 'd'})
        client->offer(part(letter));
    EXPECT_EQ(client->dropped(), 2U);

    std::string text;
    for (; client->sent() < 2; io.poll())
        text += peer.readNow();
    text += peer.readNow();
    text.erase(0, text.find("\r\n\r\n") + 4);
    EXPECT_EQ(text, *part('a') + *part('d'));
}

TEST_F(StreamClientTest, OneThatTakesNothingIsLeft)
{
    using Client = camera::StreamClient;
    const auto before = Client::Clock::now();
    EXPECT_FALSE(client->ended(before + 2 * Client::PATIENCE)) << "it has all that there is";
    client->offer(std::make_shared<const std::string>(3'000'000, 'x'));
    const auto after = Client::Clock::now();
    EXPECT_FALSE(client->ended(before + Client::PATIENCE));
    EXPECT_TRUE(client->ended(after + Client::PATIENCE + std::chrono::milliseconds(1)));
    (void)peer.readAll(); // closed
}

TEST_F(StreamClientTest, OneThatOnlyStopsSendingGetsPictures)
{
    ASSERT_EQ(shutdown(peer.fd(), SHUT_WR), 0);
    io.poll();
    client->offer(std::make_shared<const std::string>("picture"));
    EXPECT_TRUE(peer.readNow().ends_with("picture"));
    peer.close();
    client->offer(std::make_shared<const std::string>("picture"));
    EXPECT_TRUE(client->ended());
}

/** Whether the wall of the tower, before which nothing passes, has this colour; it is there in the widest view. */
bool showsWall(const Image &image, Colour colour, bool mirrored = false)
{
    constexpr int TOLERANCE = 24;
    const Colour wall = image.colour(mirrored ? 639 - 548 : 548, 320);
    return std::abs(wall.red - colour.red) < TOLERANCE && std::abs(wall.green - colour.green) < TOLERANCE &&
           std::abs(wall.blue - colour.blue) < TOLERANCE;
}
constexpr Colour BRICK = {188, 96, 72};

TEST(Streams, SettingsShowWithinASecond)
{
    const CameraProcess camera;
    // At the slowest rate, so that it is not just the next frame that shows them.
    EXPECT_EQ(statusOf(camera.get("/config/video.cgi?profileid=2&framerate=1")), 200);
    StreamReader stream(camera, "profileid=2");
    EXPECT_NE(stream.head().find("Content-Type: multipart/x-mixed-replace; boundary=myboundary\r\n"),
              std::string::npos);
    const Image plain = stream.readFrame();
    EXPECT_TRUE(showsWall(plain, BRICK));
    EXPECT_FALSE(showsWall(plain, BRICK, true));

    const std::pair<const char *, bool (*)(const Image &)> cases[] = {
        {"sensor.cgi?mirror=on", [](const Image &image) { return showsWall(image, BRICK, true); }},
        {"sensor.cgi?color=no",
         [](const Image &image) {
             const std::uint8_t grey = image.colour(639 - 548, 320).red;
             return showsWall(image, {grey, grey, grey}, true);
         }},
        {"sensor.cgi?mirror=off&color=yes&brightness=5",
         [](const Image &image) {
             return showsWall(image, {255, BRICK.green + 90, BRICK.blue + 90});
         }},
        {"video.cgi?profileid=2&resolution=352x288",
         [](const Image &image) { return image.width == 352 && image.height == 288; }}};
    for (const auto &[target, shows] : cases) {
        EXPECT_EQ(statusOf(camera.get(std::string("/config/") + target)), 200) << target;
        const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        bool shown = false;
        while (!shown && std::chrono::steady_clock::now() < limit)
            shown = shows(stream.readFrame());
        EXPECT_TRUE(shown) << target;
    }
}

TEST(Streams, OneClientThatReadsNothingHoldsNobodyUp)
{
    const CameraProcess camera;
    camera.setInStore("videoin_c0_s1_mjpeg_maxframe=50&");
    ClientSide stuck = camera.send("GET /video/mjpg.cgi HTTP/1.1\r\n\r\n");
    std::vector<std::jthread> threads;
    std::atomic<int> whole = 0;
    for (int i = 0; i < 19; ++i)
        threads.emplace_back([&] {
            StreamReader stream(camera);
            std::set<std::string> different;
            for (int frame = 0; frame < 60; ++frame)
                different.insert(stream.readPart());
            whole += different.size() > 50 && stream.readFrame().height == 480; // the picture moves
        });
    threads.clear();
    EXPECT_EQ(whole, 19);
    // Enough for the sockets' buffers of the stuck client to be full, and to see that it is the only one left out.
    StreamReader stream(camera);
    const auto now = camera.waitFor([&](const nlohmann::json &state) {
        (void)stream.readPart();
        return state["streams"]["profiles"][1]["frames_dropped"] > 30;
    });
    EXPECT_GE(now["streams"]["clients"], 2);
}

TEST(Streams, ProfilesStreamSideBySideUntilTheyAreNoLongerMotionJpeg)
{
    const CameraProcess camera;
    EXPECT_EQ(statusOf(camera.get("/config/video.cgi?profileid=3&codec=MJPEG&framerate=30")), 200);
    StreamReader third(camera, "profileid=3");
    StreamReader second(camera, "profileid=2");
    EXPECT_EQ(third.readFrame().width, 320);
    EXPECT_EQ(second.readFrame().width, 640);
    EXPECT_EQ(third.readFrame().width, 320);
    EXPECT_EQ(statusOf(camera.get("/config/video.cgi?profileid=2&codec=H.264")), 200);
    second.readToTheEnd();
    EXPECT_EQ(statusOf(camera.get("/video/mjpg.cgi?profileid=2")), 400);
    EXPECT_EQ(readJpeg(replyBody(camera.get("/camera/snapshot?profile=1"))).width, 1280);
    for (const std::string asked : {"0", "4", "-1", "2x", "99999999999"})
        EXPECT_EQ(statusOf(camera.get("/camera/snapshot?profile=" + asked)), 404) << asked;
    EXPECT_EQ(third.readFrame().width, 320);
}

TEST(Streams, NothingIsDrawnWhileNobodyWatches)
{
    const CameraProcess camera;
    camera.setInStore("videoin_c0_s1_mjpeg_maxframe=100&");
    const auto drawn = [&] { return camera.state()["streams"]["profiles"][1]["frames_drawn"]; };
    EXPECT_EQ(drawn(), 0);
    (void)StreamReader(camera).readFrame();
    (void)camera.waitFor([](const nlohmann::json &state) { return state["streams"]["clients"] == 0; });
    const std::string other = "/camera/snapshot?profile=1";
    (void)camera.get(other); // a picture that was begun is done before this one
    const nlohmann::json before = drawn();
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(statusOf(camera.get(other)), 200);
    EXPECT_EQ(drawn(), before);
    (void)StreamReader(camera).readFrame();
}

TEST(Streams, HandBackThatCannotBeServedIsClosed)
{
    const CameraProcess camera;
    const auto handBack = [&](std::string_view text) {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        const FileDescriptor passed(ends[1]);
        const FileDescriptor socket(UnixSocket_Open(SOCK_DGRAM));
        EXPECT_EQ(UnixSocket_Connect(socket.get(), (camera.root() + "/var/run/http/fdipc1").c_str()), 0);
        EXPECT_GT(UnixSocket_SendPieces(socket.get(), {&text, 1}, passed.get(), 0), 0);
        return ClientSide(FileDescriptor(ends[0]));
    };
    for (const std::string &text : {std::string("garbage"), std::string("stream9\r\n--myboundary\r\n"),
                                    std::string("stream-1\r\n--myboundary\r\n"), std::string(3000, '-')})
        EXPECT_EQ(handBack(text).readAll(), "") << text.substr(0, 20);

    StreamReader withoutProfile(handBack("--myboundary\r\nkelpa\r\nkelpa\r\n"));
    EXPECT_EQ(withoutProfile.readFrame().width, 640);
}

} // namespace
