#include "daemon/audio/audio_upstream.h"
#include "daemon/audio/audio_waits.h"
#include "daemon/session/globals.h"
#include "platform/log.h"
#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/in_process_server.h"

#include <charconv>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace
{

constexpr char URL[] = "/dev/speaker.cgi";
const std::string REGISTERED = "HTTP/1.1 200 OK\r\n";
/** Less than any wait that a stop has to end, more than a busy machine needs. */
constexpr std::chrono::seconds AT_ONCE{10};

/** The daemon with its audio thread, whose waits can be changed before it starts, and a decoder. */
class AudioUpstream : public testing::Test
{
  protected:
    ~AudioUpstream() override
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
    std::string Register(const std::string &name) const
    {
        return m_server->Exchange({.url = URL, .query = "client=" + name});
    }
    /** A stream's request, with the first bytes of the stream that come with it. */
    ClientSide OpenStream(const std::string &name, const std::string &consumed = {}) const
    {
        ClientSide client = m_server->Open({.method = "POST",
                                            .url = URL,
                                            .query = "client=" + name,
                                            .body = consumed,
                                            .contentLength = "1000000"});
        m_server->Rounds(2);
        EXPECT_EQ(m_server->BusySlots(), 0) << "the request ends at once, handed over or not";
        return client;
    }
    [[nodiscard]] ClientSide Talk() const
    {
        EXPECT_EQ(Register("hall"), REGISTERED);
        return OpenStream("hall");
    }
    /** Sends one frame and waits until it is played, as the first of its session. */
    void ExpectTalks(const ClientSide &client, const std::string &before = RANDOM_4CC) const
    {
        client.Send(before + AudioFrame("audio"));
        EXPECT_EQ(m_decoder->Next(), DECODER_CONFIG);
        EXPECT_EQ(m_decoder->Next(), DecoderFrame("audio"));
    }
    static void WaitUntilNobodyTalks()
    {
        EXPECT_TRUE(WaitFor([] { return g_tServerGlobals.tAudioUpstream.uiTalking == 0; }));
    }
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

TEST_F(AudioUpstream, TheNameRegisteredLastTalksAndIsNotAnswered)
{
    Start();
    EXPECT_EQ(m_server->Exchange({.method = "POST", .url = URL, .query = "client=a-longer-name"}), REGISTERED);
    EXPECT_EQ(Register("hall"), REGISTERED);
    for (const char *name : {"a-longer-name", "hal", "halls", "Hall", ""})
        EXPECT_EQ(OpenStream(name).ReadAll(), "") << name;
    // Bytes that came with the request count as the stream's first.
    for (size_t taken = 0; taken <= RANDOM_4CC.size(); ++taken) {
        SCOPED_TRACE(taken);
        ClientSide client = OpenStream("hall", RANDOM_4CC.substr(0, taken));
        ExpectTalks(client, RANDOM_4CC.substr(taken));
        EXPECT_EQ(client.ReadNow(), "") << "a stream gets no reply";
        client.Close();
        WaitUntilNobodyTalks();
    }
}

TEST_F(AudioUpstream, OneClientTalksAtATimeUntilAWrongHeader)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Debug_Init(2); // the log goes to standard error too
    Start();
    ClientSide talker = Talk();
    ExpectTalks(talker);
    EXPECT_EQ(OpenStream("hall").ReadAll(), "");
    EXPECT_EQ(Register("yard"), REGISTERED);
    EXPECT_EQ(OpenStream("yard").ReadAll(), "") << "registering does not end the talker's session";
    talker.Send(AudioHeaderBytes({.dataLength = 10000}) + AudioPayload(10000) + AudioFrame("still there"));
    EXPECT_EQ(m_decoder->Next(), DecoderFrame("still there"));
    talker.Send(AudioHeaderBytes({.channels = 2}));
    EXPECT_EQ(talker.ReadAll(), "");
    WaitUntilNobodyTalks();
    ExpectTalks(OpenStream("yard")); // announces the format again
    WaitUntilNobodyTalks();
    StopAtOnce();
    Debug_Init(0);
    const std::string task = "[AudioUpstream_MainTask]", stop = "[AudioUpstream_StopSession]Stop session\n";
    EXPECT_NE(testing::internal::GetCapturedStderr().find(
                  task +
                  "Start session\n[AudioUpstream_Play]ulDataLength 0x00002710 is too large\n"
                  "[AudioUpstream_Play]usChannels 0x0002 is not supported\n" +
                  task + "AudioUpstream_Play failed\n" + stop + task + "Start session\n" + stop),
              std::string::npos);
    const std::string trace = testing::internal::GetCapturedStdout();
    for (const std::string &text :
         {task + "Start session, sckClient = ", task + "Skip 4 bytes of random 4CC\n",
          task + "AudioUpstream_Play failed\n" + stop, "[AudioUpstream_Receive]recv FIN\n" + stop})
        EXPECT_NE(trace.find(text), std::string::npos) << text << "\nnot in:\n" << trace;
}

TEST_F(AudioUpstream, RefusesRequestsWithoutAUsableName)
{
    Start();
    for (const char *query : {"", "clien=hall", "name=hall", "0&client=hall", "client=<hall", "client=a&&b=c",
                              "client=1234567890123456"})
        EXPECT_EQ(m_server->Exchange({.url = URL, .query = query}), BAD_REQUEST) << query;
    EXPECT_EQ(m_server->Exchange({.method = "POST", .url = URL}), BAD_REQUEST) << "no name at all";
    EXPECT_EQ(Register(std::string(4088, 'x')), BAD_REQUEST) << "a query string of 4095 characters";
    EXPECT_EQ(Register("123456789012345"), REGISTERED) << "fifteen characters";
    ExpectTalks(OpenStream("123456789012345"));
}

TEST_F(AudioUpstream, ASpeakerThatIsSwitchedOffEndsTheSessionAndAllowsNothing)
{
    Start();
    ClientSide client = Talk();
    ExpectTalks(client);
    SwitchSpeaker(false);
    client.Send(AudioFrame("what wakes the thread"));
    EXPECT_EQ(client.ReadAll(), "");
    EXPECT_EQ(Register("hall"), UNAUTHORIZED);
    EXPECT_EQ(OpenStream("hall").ReadNow(), UNAUTHORIZED);
}

TEST_F(AudioUpstream, SurvivesSpeakerSwitchingAndDecoderRestartsInTheMiddleOfSessions)
{
    g_tAudioUpstreamWaits.pfnSleepMs = [](uint32_t) { usleep(200); };
    const size_t descriptors = CountDescriptors();
    Start();
    int number = 0, played = 0, last = -1;
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
            const std::string bytes = (i == 0 ? RANDOM_4CC : "") + AudioFrame(NumberedPayload(number));
            open = send(client.Fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0;
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
        WaitUntilNobodyTalks();
        if (session % 5 == 4)
            m_decoder->Start();
        takeMessages();
    }
    EXPECT_GT(played, 100) << "of " << number;
    StopAtOnce();
    m_decoder.reset();
    EXPECT_EQ(CountDescriptors(), descriptors);
}

TEST_F(AudioUpstream, ASilentClientIsDisconnected)
{
    EXPECT_EQ(g_tAudioUpstreamWaits.uiSilenceLimitMs, 60000U);
    g_tAudioUpstreamWaits.uiSilenceLimitMs = 50;
    Start();
    for (const std::string &sent : {std::string(), RANDOM_4CC, RANDOM_4CC + AudioFrame("audio") + "\1"}) {
        ClientSide client = Talk();
        client.Send(sent);
        EXPECT_EQ(client.ReadAll(), "");
        WaitUntilNobodyTalks();
    }
}

TEST_F(AudioUpstream, ADecoderThatCameLateIsFoundByTheNextSession)
{
    g_tAudioUpstreamWaits.pfnSleepMs = [](uint32_t) {};
    Start(false);
    EXPECT_EQ(Talk().ReadAll(), "") << "nobody to play for";
    WaitUntilNobodyTalks();
    m_decoder->Start();
    ExpectTalks(Talk());
}

TEST_F(AudioUpstream, AStopEndsASessionAtOnceWhateverTheThreadWaitsFor)
{
    const struct {
        const char *description;
        bool decoder; ///< false: the thread is busy looking for it, and has not taken the socket yet
        bool blocks;
    } cases[] = {{"a silent client", true, false},
                 {"a decoder that blocks", true, true},
                 {"a decoder that is not there", false, false}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const size_t descriptors = CountDescriptors();
        Start(c.decoder);
        ClientSide client = Talk();
        if (c.decoder) {
            ExpectTalks(client);
            std::string frames = AudioHeaderBytes({.dataLength = 1});
            if (c.blocks)
                m_decoder->Block();
            for (int i = 0; c.blocks && i < 200; ++i)
                frames.insert(0, AudioFrame("")); // each would take its half second
            client.Send(frames);
            WaitUntilTaken(client);
        }
        StopAtOnce();
        EXPECT_EQ(client.ReadAll(), "");
        client.Close();
        m_decoder.reset();
        EXPECT_EQ(CountDescriptors(), descriptors);
    }
}

TEST(AudioUpstreamStart, WithoutExactlyOneOutputThereIsNoThreadAndAStreamIsClosed)
{
    InProcessServer server(FakeStore::Settings{{"capability_naudioout", "2"}});
    const AudioUpstreamContext &context = g_tServerGlobals.tAudioUpstream;
    EXPECT_FALSE(context.tThread.started || context.tQueue.created);
    EXPECT_EQ(server.Exchange({.url = URL, .query = "client=hall"}), UNAUTHORIZED);
    EXPECT_EQ(server.Exchange({.url = "/config/speaker.cgi", .query = "enable=yes"}), OkReply("enable=yes\r\n"));
    EXPECT_EQ(server.Exchange({.url = URL, .query = "client=hall"}), REGISTERED);
    EXPECT_EQ(server.Exchange({.method = "POST", .url = URL, .query = "client=hall", .contentLength = "9"}), "");
}
