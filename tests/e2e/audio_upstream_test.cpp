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
        camera_.start();
        camera_.waitForTrace("[AudioUpstream_OpenAdecUnixSocket]sckAdec = ");
    }
    [[nodiscard]] ClientSide talk() const
    {
        EXPECT_EQ(camera_.get(URL, "client=hall"), "HTTP/1.1 200 OK\r\n");
        return camera_.open({.method = "POST", .url = URL, .query = "client=hall", .contentLength = "1000000"});
    }

    TestCamera camera_{TestCamera::Options{.start = false}};
    FakeDecoder decoder_{camera_.root.path("/var/run/aenc/s0/decodesck_0")};
};

} // namespace

TEST_F(SpeakerStream, IsPlayedAndSaysWhatItDoes)
{
    ClientSide client = talk();
    client.send(RANDOM_4CC + audioFrame("one") + audioHeaderBytes({.dataLength = 10000}) + audioPayload(10000) +
                audioFrame("two", 2));
    for (const std::string &message : {DECODER_CONFIG, decoderFrame("one"), DECODER_CONFIG, decoderFrame("two")})
        EXPECT_EQ(decoder_.next(), message);
    client.send(audioHeaderBytes({.channels = 2}));
    EXPECT_EQ(client.readAll(), "");
    camera_.waitForLog("[AudioUpstream_MainTask]Start session\n");
    camera_.waitForLog("[AudioUpstream_Play]usChannels 0x0002 is not supported\n"
                       "[AudioUpstream_MainTask]AudioUpstream_Play failed\n"
                       "[AudioUpstream_StopSession]Stop session\n");
    camera_.waitForTrace("[AudioUpstream_MainTask]Start session, sckClient = ");
    camera_.waitForTrace("[AudioUpstream_MainTask]Skip 4 bytes of random 4CC\n");
    camera_.waitForTrace("\n[AudioUpstream_SkipData]Skip data done\n");
    camera_.waitForTrace("\n[AudioUpstream_Play]Channel number 0x0002 is not supported\n"
                         "[AudioUpstream_MainTask]AudioUpstream_Play failed\n"
                         "[AudioUpstream_StopSession]Stop session\n");
    talk().close();
    camera_.waitForTrace("[AudioUpstream_Receive]recv FIN\n");
}

TEST_F(SpeakerStream, LeavesNoDescriptorHoweverItEnds)
{
    const size_t before = camera_.openDescriptors();
    for (int session = 0; session < 40; ++session) {
        ClientSide client = talk();
        // The session before may not have ended yet, and this one not have been handed over.
        const std::string stream = RANDOM_4CC + (session % 2 == 0 ? audioFrame("audio") : std::string(99, 'x'));
        (void)send(client.fd(), stream.data(), stream.size(), MSG_NOSIGNAL);
        if (session % 8 == 0) {
            decoder_.vanish();
            decoder_.start();
        }
        client.close();
        decoder_.messages();
    }
    EXPECT_TRUE(waitFor([&] { return camera_.openDescriptors() == before; })) << camera_.openDescriptors();
}

TEST_F(SpeakerStream, IsClosedWhenItIsNotHandedOver)
{
    const ClientSide talker = talk();
    talker.send(RANDOM_4CC + audioFrame("audio"));
    EXPECT_EQ(decoder_.next(), DECODER_CONFIG);
    const size_t before = camera_.openDescriptors();
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(talk().readAll(), "");
    EXPECT_EQ(camera_.openDescriptors(), before);
}

TEST_F(SpeakerStream, DoesNotHoldUpTheEndOfTheDaemon)
{
    ClientSide client = talk();
    client.send(RANDOM_4CC + audioFrame("audio"));
    EXPECT_EQ(decoder_.next(), DECODER_CONFIG);
    const auto begin = std::chrono::steady_clock::now();
    camera_.stop(); // in the middle of a wait of 60 s
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
    EXPECT_EQ(client.readAll(), "");
    EXPECT_NE(camera_.log().find("[AudioUpstream_StopSession]Stop session\n"), std::string::npos);
}
