#include "camera/files.h"
#include "camera_process.h"
#include "platform/unix_socket.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <numbers>
#include <sys/socket.h>
#include <thread>

/*
 * The audio decoder of the built camera: by its own socket, then with the client that talks and the daemon between.
 */

namespace
{

using camera::FileDescriptor;
using camera::readFile;
using nlohmann::json;

std::string littleEndian(std::uint32_t number, size_t bytes)
{
    std::string text;
    for (; bytes > 0; --bytes, number >>= 8U)
        text += static_cast<char>(number);
    return text;
}

const std::string CONFIGURATION = littleEndian(0, 4) + "CONFG711" + std::string(32, '\0') + "ULAW" +
                                  littleEndian(1, 4) + littleEndian(1, 4) + littleEndian(1, 4) + littleEndian(1, 4);

std::string frame(const std::string &samples)
{
    return littleEndian(static_cast<std::uint32_t>(samples.size()) + 44, 4) + "G711" + std::string(36, '\0') +
           samples;
}

/** A sender of datagrams to the decoder of a camera. */
class Sender
{
  public:
    explicit Sender(const CameraProcess &camera) : socket_(UnixSocket_Open(SOCK_DGRAM))
    {
        EXPECT_EQ(UnixSocket_Connect(socket_.get(), (camera.root() + "/var/run/aenc/s0/decodesck_0").c_str()), 0);
    }
    void send(const std::string &datagram) const
    {
        EXPECT_EQ(::send(socket_.get(), datagram.data(), datagram.size(), 0),
                  static_cast<ssize_t>(datagram.size()));
    }

  private:
    FileDescriptor socket_;
};

/** Asks for the state until it is as wanted; throws when it does not come to that. */
template <class Wanted>
json waitForTalk(const CameraProcess &camera, Wanted wanted)
{
    const auto limit = std::chrono::steady_clock::now() + TEST_TIME;
    for (;;) {
        json talk = camera.state()["talk"];
        if (wanted(talk))
            return talk;
        if (std::chrono::steady_clock::now() > limit)
            throw std::runtime_error("waited in vain: " + talk.dump());
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

TEST(AudioDecoder, EveryConfigurationBeginsATalkWithItsFirstSamples)
{
    const CameraProcess camera;
    const Sender sender(camera);
    sender.send(frame("\x80\x80"));
    sender.send("rubbish");
    json talk = waitForTalk(camera, [](const json &state) { return state["rejected"] == 2; });
    EXPECT_EQ(talk["talks"], 0) << "a frame before any configuration";

    sender.send(CONFIGURATION);
    sender.send(frame(""));
    sender.send(frame("\x80\x80"));
    sender.send(frame(std::string("\xff\x00", 2)));
    talk = waitForTalk(camera, [](const json &state) { return state["frames"] == 3; });
    EXPECT_EQ(talk["talks"], 1);
    EXPECT_EQ(talk["current"]["file"], "talk/talk-0001.wav");
    EXPECT_DOUBLE_EQ(talk["current"]["seconds"], 4 / 8000.0);
    EXPECT_NEAR(talk["current"]["level"], -0.2, 0.05) << "half of the samples at -32124";
    const std::string wav = readFile(camera.root() + "/talk/talk-0001.wav");
    EXPECT_EQ(wav.substr(40), littleEndian(8, 4) + std::string("\x7c\x7d\x7c\x7d\0\0\x84\x82", 8));

    sender.send(CONFIGURATION);
    talk = waitForTalk(camera, [](const json &state) { return state["current"].is_null(); });
    sender.send(frame("abc"));
    talk = waitForTalk(camera, [](const json &state) { return state["frames"] == 4; });
    EXPECT_EQ(talk["current"]["file"], "talk/talk-0002.wav");
    EXPECT_EQ(talk["files"], json({"talk/talk-0001.wav", "talk/talk-0002.wav"}));
}

TEST(AudioDecoder, KeepsTheLastTwentyFilesOverARestart)
{
    CameraProcess camera;
    const auto talk = [&](int count) {
        const Sender sender(camera);
        for (int i = 1; i <= count; ++i) {
            sender.send(CONFIGURATION);
            sender.send(frame("x"));
            waitForTalk(camera, [&](const json &state) { return state["frames"] == i; });
        }
    };
    talk(15);
    EXPECT_EQ(camera.stop(SIGTERM), 0);
    camera.start();
    talk(10);
    const json files = camera.state()["talk"]["files"];
    ASSERT_EQ(files.size(), 20U);
    EXPECT_EQ(files.front(), "talk/talk-0006.wav");
    EXPECT_EQ(files.back(), "talk/talk-0025.wav");
    const std::filesystem::directory_iterator folder(camera.root() + "/talk");
    EXPECT_EQ(std::distance(begin(folder), end(folder)), 20);
}

/** The samples of a WAV file as the decoder writes it. */
std::vector<std::int16_t> samplesOf(const std::string &wav)
{
    std::vector<std::int16_t> samples;
    for (size_t at = 44; at + 1 < wav.size(); at += 2)
        samples.push_back(static_cast<std::int16_t>(static_cast<std::uint8_t>(wav[at]) |
                                                    static_cast<std::uint8_t>(wav[at + 1]) << 8U));
    return samples;
}

/** The frequency of a tone, by its crossings of zero from below. */
double frequencyOf(const std::vector<std::int16_t> &samples)
{
    size_t first = 0;
    size_t last = 0;
    int crossings = 0;
    for (size_t i = 1; i < samples.size(); ++i)
        if (samples[i - 1] < 0 && samples[i] >= 0) {
            first = crossings == 0 ? i : first;
            last = i;
            ++crossings;
        }
    return crossings < 2 ? 0 : (crossings - 1) * 8000.0 / static_cast<double>(last - first);
}

TEST(AudioDecoder, ToneThatIsTalkedComesOut)
{
    constexpr size_t LENGTH = 8000;
    constexpr double TONE = 440;
    const CameraProcess camera;
    const std::string file = camera.root() + "/tone.wav";
    std::string wav = "RIFF" + littleEndian(36 + 2 * LENGTH, 4) + "WAVEfmt " + littleEndian(16, 4) +
                      littleEndian(1, 2) + littleEndian(1, 2) + littleEndian(8000, 4) + littleEndian(16000, 4) +
                      littleEndian(2, 2) + littleEndian(16, 2) + "data" + littleEndian(2 * LENGTH, 4);
    for (size_t i = 0; i < LENGTH; ++i) {
        const double value = 16384 * std::sin(2 * std::numbers::pi * TONE * static_cast<double>(i) / 8000);
        wav += littleEndian(static_cast<std::uint16_t>(static_cast<std::int16_t>(value)), 2);
    }
    camera::replaceFile(file, wav, 0644);

    const std::string command =
        std::string(KELPA_TALK_PROGRAM) + " --host 127.0.0.1:" + std::to_string(camera.port()) + " " + file;
    ASSERT_EQ(std::system(command.c_str()), 0);
    const json talk =
        waitForTalk(camera, [](const json &state) { return state["talks"] == 1 && state["current"].is_null(); });
    EXPECT_EQ(talk["rejected"], 0);

    const std::vector<std::int16_t> heard = samplesOf(readFile(camera.root() + "/talk/talk-0001.wav"));
    constexpr double FRAME = 320; // what the client sends at a time
    EXPECT_NEAR(static_cast<double>(heard.size()), LENGTH, FRAME);
    EXPECT_NEAR(frequencyOf(heard), TONE, 1);
    EXPECT_NEAR(*std::ranges::max_element(heard), 16384, 16384 / 16) << "as loud, within a step of the law";
}

} // namespace
