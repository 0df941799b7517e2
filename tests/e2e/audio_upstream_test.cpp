#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{

constexpr char URL[] = "/dev/speaker.cgi";

/** The built daemon with a decoder that was there before it. */
class SpeakerStream : public testing::Test
{
  protected:
    SpeakerStream()
    {
        m_camera.Start();
        m_camera.WaitForTrace("[AudioUpstream_OpenAdecUnixSocket]sckAdec = ");
    }
    [[nodiscard]] ClientSide Talk() const
    {
        EXPECT_EQ(m_camera.Get(URL, "client=hall"), "HTTP/1.1 200 OK\r\n");
        return m_camera.Open({.method = "POST", .url = URL, .query = "client=hall", .contentLength = "1000000"});
    }

    TestCamera m_camera{TestCamera::Options{.start = false}};
    FakeDecoder m_decoder{m_camera.root.Path("/var/run/aenc/s0/decodesck_0")};
};

} // namespace

TEST_F(SpeakerStream, IsPlayedAndSaysWhatItDoes)
{
    ClientSide client = Talk();
    client.Send(RANDOM_4CC + AudioFrame("one") + AudioHeaderBytes({.dataLength = 10000}) + AudioPayload(10000) +
                AudioFrame("two", 2));
    for (const std::string &message : {DECODER_CONFIG, DecoderFrame("one"), DECODER_CONFIG, DecoderFrame("two")})
        EXPECT_EQ(m_decoder.Next(), message);
    client.Send(AudioHeaderBytes({.channels = 2}));
    EXPECT_EQ(client.ReadAll(), "");
    m_camera.WaitForLog("[AudioUpstream_MainTask]Start session\n");
    m_camera.WaitForLog("[AudioUpstream_Play]usChannels 0x0002 is not supported\n"
                        "[AudioUpstream_MainTask]AudioUpstream_Play failed\n"
                        "[AudioUpstream_StopSession]Stop session\n");
    m_camera.WaitForTrace("[AudioUpstream_MainTask]Start session, sckClient = ");
    m_camera.WaitForTrace("[AudioUpstream_MainTask]Skip 4 bytes of random 4CC\n");
    m_camera.WaitForTrace("\n[AudioUpstream_SkipData]Skip data done\n");
    m_camera.WaitForTrace("\n[AudioUpstream_Play]Channel number 0x0002 is not supported\n"
                          "[AudioUpstream_MainTask]AudioUpstream_Play failed\n"
                          "[AudioUpstream_StopSession]Stop session\n");
    Talk().Close();
    m_camera.WaitForTrace("[AudioUpstream_Receive]recv FIN\n");
}

TEST_F(SpeakerStream, LeavesNoDescriptorHoweverItEnds)
{
    const size_t before = m_camera.OpenDescriptors();
    for (int session = 0; session < 40; ++session) {
        ClientSide client = Talk();
        // The session before may not have ended yet, and this one not have been handed over.
        const std::string stream = RANDOM_4CC + (session % 2 == 0 ? AudioFrame("audio") : std::string(99, 'x'));
        (void)send(client.Fd(), stream.data(), stream.size(), MSG_NOSIGNAL);
        if (session % 8 == 0) {
            m_decoder.Vanish();
            m_decoder.Start();
        }
        client.Close();
        m_decoder.Messages();
    }
    EXPECT_TRUE(WaitFor([&] { return m_camera.OpenDescriptors() == before; })) << m_camera.OpenDescriptors();
}

TEST_F(SpeakerStream, IsClosedWhenItIsNotHandedOver)
{
    const ClientSide talker = Talk();
    talker.Send(RANDOM_4CC + AudioFrame("audio"));
    EXPECT_EQ(m_decoder.Next(), DECODER_CONFIG);
    const size_t before = m_camera.OpenDescriptors();
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(Talk().ReadAll(), "");
    EXPECT_EQ(m_camera.OpenDescriptors(), before);
}

TEST_F(SpeakerStream, DoesNotHoldUpTheEndOfTheDaemon)
{
    ClientSide client = Talk();
    client.Send(RANDOM_4CC + AudioFrame("audio"));
    EXPECT_EQ(m_decoder.Next(), DECODER_CONFIG);
    const auto begin = std::chrono::steady_clock::now();
    m_camera.Stop(); // in the middle of a wait of 60 s
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_EQ(client.ReadAll(), "");
    EXPECT_NE(m_camera.Log().find("[AudioUpstream_StopSession]Stop session\n"), std::string::npos);
}
