#include "camera/talk/mulaw.h"
#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/test_camera.h"
#include "tests/talk/small_web_server.h"
#include "tests/talk/wav_bytes.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace
{

/** The built kelpa-talk, the built daemon and a decoder. */
class Talk : public testing::Test
{
  protected:
    struct Outcome {
        int status;
        std::string output;
        std::string error;
    };
    Outcome Run(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), KELPA_TALK_BINARY);
        ChildProcess program(arguments, {{}, m_camera.root.Path("/talk.out"), m_camera.root.Path("/talk.err")});
        const int status = program.Wait();
        return {status, ReadWholeFile(m_camera.root.Path("/talk.out")),
                ReadWholeFile(m_camera.root.Path("/talk.err"))};
    }
    /** A file with these bytes; gives its path. */
    std::string File(const std::string &name, const std::string &bytes)
    {
        m_camera.root.Write("/" + name, bytes);
        return m_camera.root.Path("/" + name);
    }

    TestCamera m_camera;
    FakeDecoder m_decoder{m_camera.root.Path("/var/run/aenc/s0/decodesck_0")};
    SmallWebServer m_web{m_camera.SocketPath()};
};

/** 440 Hz. */
std::vector<int16_t> Tone(size_t samples)
{
    std::vector<int16_t> tone(samples);
    for (size_t i = 0; i < samples; ++i)
        tone[i] =
            static_cast<int16_t>(12000 * std::sin(2 * std::numbers::pi * 440 * static_cast<double>(i) / 8000));
    return tone;
}

} // namespace

TEST_F(Talk, ASoundComesToTheDecoderWholeAndInItsTime)
{
    const std::vector<int16_t> tone = Tone(4100); // the last frame is not full
    std::string heard;
    std::thread listener([&] {
        EXPECT_EQ(m_decoder.Next(), DECODER_CONFIG);
        for (std::string message; heard.size() < tone.size() && message.size() != 44;) {
            message = m_decoder.Next();
            const std::string audio = message.size() > 44 ? message.substr(44) : "";
            EXPECT_EQ(message, DecoderFrame(audio));
            heard += audio;
        }
    });
    const auto begin = std::chrono::steady_clock::now();
    const Outcome outcome =
        Run({"--host", m_web.Address(), "--user", "admin:pass", File("tone.wav", WavFile(tone))});
    const auto taken = std::chrono::steady_clock::now() - begin;
    listener.join();
    EXPECT_EQ(outcome.status, 0) << outcome.error;
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(heard, talk::MuLawEncode(tone));
    EXPECT_GE(taken, std::chrono::milliseconds(4100 / 8)) << "no faster than it is to be heard";
    for (const std::string &head : m_web.Heads())
        EXPECT_NE(head.find("\r\nAuthorization: Basic YWRtaW46cGFzcw==\r\n"), std::string::npos) << head;
}

TEST_F(Talk, ASpeakerThatIsSwitchedOffIsSaid)
{
    EXPECT_EQ(m_camera.Get("/config/speaker.cgi", "enable=no"), OkReply("enable=no\r\n"));
    const Outcome outcome = Run({"--host", m_web.Address(), File("tone.wav", WavFile(Tone(800)))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.error,
              "kelpa-talk: " + m_web.Address() + ": the camera refuses (401): its speaker is switched off\n");
}

TEST_F(Talk, AnotherClientThatTalksIsSaid)
{
    EXPECT_EQ(m_camera.Get("/dev/speaker.cgi", "client=first"), "HTTP/1.1 200 OK\r\n");
    const ClientSide first = m_camera.Open(
        {.method = "POST", .url = "/dev/speaker.cgi", .query = "client=first", .contentLength = "1000000"});
    first.Send(RANDOM_4CC + AudioFrame("audio"));
    EXPECT_EQ(m_decoder.Next(), DECODER_CONFIG);
    const Outcome outcome = Run({"--host", m_web.Address(), File("tone.wav", WavFile(Tone(80000)))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(outcome.error.starts_with("kelpa-talk: " + m_web.Address() + ": the camera closed the connection"))
        << outcome.error;
    EXPECT_NE(outcome.error.find("another client is talking"), std::string::npos) << outcome.error;
}

TEST_F(Talk, RepliesOfTheWebServerAreUnderstood)
{
    const std::string file = File("tone.wav", WavFile(Tone(800)));
    const struct {
        const char *reply;
        const char *error;
    } cases[] = {
        {"HTTP/1.1 401 Unauthorized\r\nwww-authenticate: Basic realm=\"camera\"\r\n\r\n",
         "the camera does not accept this name and password (give them with --user)"},
        {"HTTP/1.1 503 Service Unavailable\r\n\r\n", "the camera refuses: HTTP/1.1 503 Service Unavailable"},
        {"SSH-2.0-something\r\n", "what answers does not speak HTTP"},
    };
    for (const auto &c : cases) {
        SmallWebServer web("", c.reply);
        const Outcome outcome = Run({"--host", web.Address(), file});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.error, "kelpa-talk: " + web.Address() + ": " + c.error + "\n");
    }
}

TEST_F(Talk, WhatCannotBeSaidIsNotBegun)
{
    const std::string stereo =
        File("stereo.wav", WavFile(WavFormatChunk({.channels = 2}) + WavChunk("data", "abcd")));
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string error; ///< a part of it
    } cases[] = {
        {{stereo}, 1, "kelpa-talk: " + stereo + ": a WAV file with 2 channels; it has to be mono\n"},
        {{"/nonexistent.wav"}, 1, "kelpa-talk: /nonexistent.wav: No such file or directory\n"},
        {{}, 2, "Usage: kelpa-talk "},
        {{"a.wav", "b.wav"}, 2, "Usage: kelpa-talk "},
        {{"--loud", "a.wav"}, 2, "Usage: kelpa-talk "},
        {{"--host", "camera:http", "a.wav"}, 2, "kelpa-talk: --host camera:http: not an ADDRESS:PORT\n"},
    };
    for (auto c : cases) {
        c.arguments.insert(c.arguments.begin(), {"--host", m_web.Address()});
        const Outcome outcome = Run(c.arguments);
        EXPECT_EQ(outcome.status, c.status) << outcome.error;
        EXPECT_NE(outcome.error.find(c.error), std::string::npos) << outcome.error;
    }
    EXPECT_TRUE(m_web.Heads().empty());
}
