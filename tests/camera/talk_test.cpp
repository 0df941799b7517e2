#include "camera/base/files.h"
#include "camera_process.h"
#include "platform/unix_socket.h"
#include "sound_files.h"
#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_dns_server.h"
#include "tests/fakes/test_camera.h"

#include <cmath>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <numbers>
#include <sys/socket.h>

/*
 * Talking through the built camera: its decoder by its own socket, then the built kelpa-talk with the web server,
 * the daemon and the decoder behind it.
 */

namespace
{

using camera::readFile;
using nlohmann::json;

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

/** Waits until a field of the talk's state has a value; returns all of them. */
json waitForTalk(const CameraProcess &camera, const char *field, const json &value)
{
    return camera.waitFor([&](const json &state) { return state["talk"][field] == value; })["talk"];
}

TEST(AudioDecoder, EveryConfigurationBeginsATalkWithItsFirstSamples)
{
    const CameraProcess camera;
    const Sender sender(camera);
    sender.send(decoderFrame("\x80\x80"));
    sender.send("rubbish");
    json talk = waitForTalk(camera, "rejected", 2);
    EXPECT_EQ(talk["talks"], 0) << "a frame before any configuration";

    sender.send(DECODER_CONFIG);
    sender.send(decoderFrame(""));
    sender.send(decoderFrame("\x80\x80"));
    sender.send(decoderFrame({"\xff\x00", 2}));
    talk = waitForTalk(camera, "frames", 3);
    EXPECT_EQ(talk["talks"], 1);
    EXPECT_EQ(talk["current"]["file"], "talk/talk-0001.wav");
    EXPECT_DOUBLE_EQ(talk["current"]["seconds"], 4 / 8000.0);
    EXPECT_NEAR(talk["current"]["level"], -0.2, 0.05) << "half of the samples at -32124";
    EXPECT_EQ(readFile(camera.root() + "/talk/talk-0001.wav"), wavBytes({32124, 32124, 0, -32124}));

    sender.send(DECODER_CONFIG);
    waitForTalk(camera, "current", nullptr);
    sender.send(decoderFrame("abc"));
    talk = waitForTalk(camera, "frames", 4);
    EXPECT_EQ(talk["current"]["file"], "talk/talk-0002.wav");
    EXPECT_EQ(talk["files"], json({"talk/talk-0001.wav", "talk/talk-0002.wav"}));
}

TEST(AudioDecoder, KeepsTheLastTwentyFilesOverARestart)
{
    CameraProcess camera;
    const auto talk = [&](int count) {
        const Sender sender(camera);
        for (int i = 1; i <= count; ++i) {
            sender.send(DECODER_CONFIG);
            sender.send(decoderFrame("x"));
            waitForTalk(camera, "frames", i);
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

struct Outcome {
    int status;
    std::string error;
};

/** Runs the built kelpa-talk to its end. */
Outcome runTalk(std::vector<std::string> arguments, const std::string &outputFile = "/dev/null")
{
    const TemporaryFolder folder;
    arguments.insert(arguments.begin(), KELPA_TALK_PROGRAM);
    ChildProcess program(arguments, {{}, outputFile, folder.path("err")});
    const int status = program.wait();
    return {status, readFile(folder.path("err"))};
}

std::string addressOf(const CameraProcess &camera)
{
    return "127.0.0.1:" + std::to_string(camera.port());
}

/** 440 Hz. */
Samples tone(size_t length)
{
    Samples samples(length);
    for (size_t i = 0; i < length; ++i)
        samples[i] =
            static_cast<std::int16_t>(16384 * std::sin(2 * std::numbers::pi * 440 * static_cast<double>(i) / 8000));
    return samples;
}

/** A WAV file in the root folder of a camera; gives its path. */
std::string toneFile(const CameraProcess &camera, size_t length)
{
    writeSound(camera.root() + "/tone.wav", tone(length));
    return camera.root() + "/tone.wav";
}

TEST(Talk, AToneComesOutOfTheDecoderWholeAndInItsTime)
{
    constexpr size_t LENGTH = 8100; // the last frame is not full
    const CameraProcess camera({"--auth", "on"});
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome = runTalk(
        {"--host", addressOf(camera), "--user", "admin:" + camera.adminPassword(), toneFile(camera, LENGTH)});
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(LENGTH / 8))
        << "no faster than it is to be heard";
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, "");
    const std::string path = camera.root() + "/talk/talk-0001.wav";
    EXPECT_TRUE(waitFor([&] { return readFile(path).size() >= 44 + 2 * LENGTH; }));
    SndfileHandle file(path);
    ASSERT_EQ(file.frames(), LENGTH);
    Samples heard(LENGTH);
    file.read(heard.data(), LENGTH);
    EXPECT_EQ(readFile(path), wavBytes(heard)) << "8000 Hz, mono";
    const Samples said = tone(LENGTH);
    for (size_t i = 0; i < LENGTH; ++i)
        ASSERT_NEAR(heard[i], said[i], 4 + std::abs(said[i]) / 32) << "half a step of mu-law, sample " << i;
}

TEST(Talk, RefusalsAreUnderstood)
{
    const CameraProcess camera;
    const std::string address = addressOf(camera), file = toneFile(camera, 80000);
    EXPECT_EQ(replyBody(camera.get("/config/speaker.cgi?enable=no")), "enable=no\r\n");
    Outcome outcome = runTalk({"--host", address, file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.error,
              "kelpa-talk: " + address + ": the camera refuses (401): its speaker is switched off\n");

    EXPECT_EQ(replyBody(camera.get("/config/speaker.cgi?enable=yes")), "enable=yes\r\n");
    EXPECT_EQ(camera.get("/dev/speaker.cgi?client=first"), "HTTP/1.1 200 OK\r\n");
    ClientSide first =
        camera.send("POST /dev/speaker.cgi?client=first HTTP/1.1\r\nContent-Length: 1000000\r\n\r\n" + RANDOM_4CC +
                    audioFrame("a"));
    waitForTalk(camera, "frames", 1);
    outcome = runTalk({"--host", address, file});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.error.starts_with("kelpa-talk: " + address + ": the camera closed the connection"))
        << outcome.error;
    EXPECT_NE(outcome.error.find("another client is talking"), std::string::npos) << outcome.error;

    const CameraProcess guarded({"--auth", "on"});
    EXPECT_EQ(runTalk({"--host", addressOf(guarded), file}).error,
              "kelpa-talk: " + addressOf(guarded) +
                  ": the camera does not accept this name and password (give them with --user)\n");
    const CameraProcess empty({"--kelpa", "/bin/false"});
    EXPECT_EQ(runTalk({"--host", addressOf(empty), file}).error,
              "kelpa-talk: " + addressOf(empty) + ": the camera refuses: HTTP/1.1 503 Service Unavailable\n");
}

TEST(Talk, WhatIsNoWebServerIsSaid)
{
    uint16_t port = 0;
    const FileDescriptor listener = bindToLoopback(SOCK_STREAM, port);
    ASSERT_EQ(listen(listener.get(), 1), 0);
    const TemporaryFolder folder;
    const std::string file = folder.path("tone.wav"), output = folder.path("output");
    std::jthread other([&] {
        const FileDescriptor client(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
        EXPECT_EQ(readFile(output), file + ": 0.1 s\n") << "what comes is said before it comes";
        send(client.get(), "SSH-2.0-something\r\n", 19, MSG_NOSIGNAL);
    });
    writeSound(file, tone(800));
    const std::string address = "127.0.0.1:" + std::to_string(port);
    const Outcome outcome = runTalk({"--host", address, file}, output);
    shutdown(listener.get(), SHUT_RDWR);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.error, "kelpa-talk: " + address + ": what answers does not speak HTTP\n");
}

TEST(Talk, MistakesAreExplained)
{
    const TemporaryFolder folder;
    const std::string stereo = folder.path("stereo.wav"), file = folder.path("tone.wav");
    writeSound(file, tone(800));
    writeSound(stereo, tone(800), SF_FORMAT_WAV | SF_FORMAT_PCM_16, 2);
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string error; ///< a part of it
    } cases[] = {
        {{stereo}, 1, "kelpa-talk: " + stereo + ": a sound of 8000 Hz, 2 channels; it has to be 8000 Hz, mono; "},
        {{"/nonexistent.wav"}, 1, "kelpa-talk: /nonexistent.wav: No such file or directory\n"},
        {{folder.path()}, 1, "kelpa-talk: " + folder.path() + ": Is a directory\n"},
        {{"--host", "127.0.0.1:0", file}, 1, "kelpa-talk: 127.0.0.1:0: Connection refused\n"},
        {{}, 2, "kelpa-talk: FILE is required; see --help\n"},
        {{"a.wav", "b.wav"}, 2, "kelpa-talk: The following argument was not expected: b.wav; see --help\n"},
        {{"--host=camera:http", "a.wav"}, 2, "kelpa-talk: --host: camera:http: not an ADDRESS:PORT; see --help\n"},
    };
    for (const auto &c : cases) {
        const Outcome outcome = runTalk(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.error;
        EXPECT_NE(outcome.error.find(c.error), std::string::npos) << outcome.error;
    }
}

} // namespace
