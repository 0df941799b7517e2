#include "audio/audio_waits.h"
#include "server/globals.h"
#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/in_process_server.h"
#include "tests/fakes/test_camera.h"

#include <charconv>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <memory>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace
{

constexpr char URL[] = "/dev/speaker.cgi";
/** Less than any wait that a stop has to end, more than a busy machine needs. */
constexpr std::chrono::seconds AT_ONCE{10};

/** A daemon whose audio thread's waits were changed before it started, and a decoder. */
class AudioThread : public testing::Test
{
  protected:
    ~AudioThread() override
    {
        m_server.reset();
        g_tAudioUpstreamWaits = m_savedWaits;
    }

    void Start(bool decoder = true)
    {
        m_server = std::make_unique<InProcessServer>(FakeStore::Settings{{"capability_naudioout", "1"}});
        m_decoder = std::make_unique<FakeDecoder>(m_server->root.Path("/var/run/aenc/s0/decodesck_0"), decoder);
    }
    /** Stops the daemon; fails the test when that takes its time. */
    void StopAtOnce()
    {
        const auto begin = std::chrono::steady_clock::now();
        m_server.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, AT_ONCE);
    }
    [[nodiscard]] ClientSide Talk() const
    {
        m_server->Exchange({.url = URL, .query = "client=hall"});
        ClientSide client =
            m_server->Open({.method = "POST", .url = URL, .query = "client=hall", .contentLength = "1000000"});
        m_server->Rounds(2);
        return client;
    }
    static bool Talking() { return g_tServerGlobals.tAudioUpstream.uiTalking == 1; }
    void SwitchSpeaker(bool on) const
    {
        const std::string query = on ? "enable=yes" : "enable=no";
        EXPECT_EQ(m_server->Exchange({.url = "/config/speaker.cgi", .query = query}), OkReply(query + "\r\n"));
    }

    std::unique_ptr<InProcessServer> m_server;
    std::unique_ptr<FakeDecoder> m_decoder;

  private:
    AudioUpstreamWaits m_savedWaits = g_tAudioUpstreamWaits;
};

/** Sends while the session lasts; false once it has ended. */
bool TrySend(const ClientSide &client, const std::string &bytes)
{
    return send(client.Fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
}

/** Waits until the other end has read everything. */
void WaitUntilTaken(const ClientSide &client)
{
    EXPECT_TRUE(WaitFor([&] {
        int waiting = 1;
        return ioctl(client.Fd(), SIOCOUTQ, &waiting) == 0 && waiting == 0;
    }));
}

/** Frames that say which they are. */
std::string NumberedPayload(int number)
{
    return std::to_string(number) + ":" + AudioPayload(160, static_cast<unsigned>(number));
}

/** The number of a frame that came to the decoder whole, -1 for a configuration message, -2 for anything else. */
int NumberOf(const std::string &message)
{
    if (message == DECODER_CONFIG)
        return -1;
    int number = -2;
    if (message.size() > 44)
        std::from_chars(message.data() + 44, message.data() + message.size(), number);
    return number >= 0 && message == DecoderFrame(NumberedPayload(number)) ? number : -2;
}

} // namespace

TEST_F(AudioThread, SurvivesSpeakerSwitchingAndDecoderRestartsInTheMiddleOfSessions)
{
    g_tAudioUpstreamWaits.pfnSleepMs = [](uint32_t) { usleep(200); };
    const size_t descriptors = CountOwnDescriptors();
    Start();
    int number = 0;
    int played = 0;
    int last = -1;
    const auto takeMessages = [&] {
        for (const std::string &message : m_decoder->Messages()) {
            const int got = NumberOf(message);
            EXPECT_GE(got, -1) << "a message that is no frame of ours";
            if (got < 0)
                continue;
            EXPECT_GT(got, last) << "frames neither repeat nor overtake each other";
            last = got;
            ++played;
        }
    };
    for (int session = 0; session < 30; ++session) {
        SwitchSpeaker(true);
        ClientSide client = Talk();
        bool open = true;
        for (int i = 0; i < 40 && open; ++i, ++number) {
            open = TrySend(client, (i == 0 ? RANDOM_4CC : "") + AudioFrame(NumberedPayload(number)));
            if (i == 10 && session % 3 == 0) {
                m_decoder->Vanish();
                m_decoder->Start();
            }
            if (i == 20 && session % 5 == 4)
                m_decoder->Vanish();
            if (i == 30 && session % 4 == 1)
                SwitchSpeaker(false);
            if (session % 5 != 4 || i < 20)
                takeMessages();
            m_server->Round();
        }
        client.Close();
        EXPECT_TRUE(WaitFor([] { return !Talking(); })) << "session " << session;
        if (session % 5 == 4)
            m_decoder->Start();
        takeMessages();
    }
    EXPECT_GT(played, 100) << "of " << number;
    StopAtOnce();
    m_decoder.reset();
    EXPECT_EQ(CountOwnDescriptors(), descriptors);
}

TEST_F(AudioThread, ASpeakerThatIsSwitchedOffEndsTheSession)
{
    Start();
    ClientSide client = Talk();
    client.Send(RANDOM_4CC + AudioFrame("audio"));
    EXPECT_EQ(m_decoder->Next(), DECODER_CONFIG);
    EXPECT_EQ(m_decoder->Next(), DecoderFrame("audio"));
    SwitchSpeaker(false);
    client.Send(AudioFrame("what wakes the thread"));
    EXPECT_EQ(client.ReadAll(), "");
}

TEST_F(AudioThread, ASilentClientIsDisconnected)
{
    EXPECT_EQ(g_tAudioUpstreamWaits.uiSilenceLimitMs, 60000U);
    g_tAudioUpstreamWaits.uiSilenceLimitMs = 50;
    Start();
    for (const std::string &sent : {std::string(), RANDOM_4CC, RANDOM_4CC + AudioFrame("audio") + "\1"}) {
        ClientSide client = Talk();
        client.Send(sent);
        EXPECT_EQ(client.ReadAll(), "");
        EXPECT_TRUE(WaitFor([] { return !Talking(); }));
    }
}

TEST_F(AudioThread, ADecoderThatCameLateIsFoundByTheNextSession)
{
    g_tAudioUpstreamWaits.pfnSleepMs = [](uint32_t) {};
    Start(false);
    EXPECT_EQ(Talk().ReadAll(), "") << "nobody to play for";
    EXPECT_TRUE(WaitFor([] { return !Talking(); }));
    m_decoder->Start();
    const ClientSide client = Talk();
    client.Send(RANDOM_4CC + AudioFrame("audio"));
    EXPECT_EQ(m_decoder->Next(), DECODER_CONFIG);
    EXPECT_EQ(m_decoder->Next(), DecoderFrame("audio"));
}

TEST_F(AudioThread, AStopEndsTheSessionOfASilentClientAtOnce)
{
    const size_t descriptors = CountOwnDescriptors();
    Start();
    ClientSide client = Talk();
    client.Send(RANDOM_4CC);
    WaitUntilTaken(client);
    StopAtOnce();
    EXPECT_EQ(client.ReadAll(), "");
    client.Close();
    m_decoder.reset();
    EXPECT_EQ(CountOwnDescriptors(), descriptors);
}

TEST_F(AudioThread, AStopDoesNotWaitForADecoderThatBlocks)
{
    Start();
    ClientSide client = Talk();
    client.Send(RANDOM_4CC + AudioFrame("audio"));
    EXPECT_EQ(m_decoder->Next(), DECODER_CONFIG);
    EXPECT_EQ(m_decoder->Next(), DecoderFrame("audio"));
    m_decoder->Block();
    std::string frames;
    for (int i = 0; i < 200; ++i)
        frames += AudioFrame("");
    client.Send(frames); // each would take its half second
    WaitUntilTaken(client);
    StopAtOnce();
    EXPECT_EQ(client.ReadAll(), "");
}

TEST_F(AudioThread, AStopClosesASocketThatTheThreadHasNotTakenYet)
{
    const size_t descriptors = CountOwnDescriptors();
    Start(false); // the thread is busy looking for the decoder
    ClientSide client = Talk();
    StopAtOnce();
    EXPECT_EQ(client.ReadAll(), "");
    client.Close();
    m_decoder.reset();
    EXPECT_EQ(CountOwnDescriptors(), descriptors);
}
