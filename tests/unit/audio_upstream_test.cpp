#include "daemon/audio/audio_upstream.h"
#include "daemon/audio/audio_waits.h"
#include "daemon/session/globals.h"
#include "platform/log.h"
#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/in_process_server.h"

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
        server_.reset();
        g_tAudioUpstreamWaits = savedWaits_;
    }

    void start(bool decoder = true)
    {
        server_ = std::make_unique<InProcessServer>(FakeStore::Settings{{"capability_naudioout", "1"}});
        decoder_ = std::make_unique<FakeDecoder>(server_->root.path("/var/run/aenc/s0/decodesck_0"), decoder);
    }
    /** Stops the daemon; fails the test when that takes its time. */
    void stopAtOnce()
    {
        const auto begin = std::chrono::steady_clock::now();
        server_.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, AT_ONCE);
    }
    std::string registerClient(const std::string &name) const
    {
        return server_->exchange({.url = URL, .query = "client=" + name});
    }
    /** A stream's request, with the first bytes of the stream that come with it. */
    ClientSide openStream(const std::string &name, const std::string &consumed = {}) const
    {
        ClientSide client = server_->open({.method = "POST",
                                           .url = URL,
                                           .query = "client=" + name,
                                           .body = consumed,
                                           .contentLength = "1000000"});
        server_->rounds(2);
        EXPECT_EQ(server_->busySlots(), 0) << "the request ends at once, handed over or not";
        return client;
    }
    [[nodiscard]] ClientSide talk() const
    {
        EXPECT_EQ(registerClient("hall"), REGISTERED);
        return openStream("hall");
    }
    /** Sends one frame and waits until it is played, as the first of its session. */
    void expectTalks(const ClientSide &client, const std::string &before = RANDOM_4CC) const
    {
        client.send(before + audioFrame("audio"));
        EXPECT_EQ(decoder_->next(), DECODER_CONFIG);
        EXPECT_EQ(decoder_->next(), decoderFrame("audio"));
    }
    static void waitUntilNobodyTalks()
    {
        EXPECT_TRUE(waitFor([] { return g_tServerGlobals.tAudioUpstream.uiTalking == 0; }));
    }
    void switchSpeaker(bool on) const
    {
        const std::string query = on ? "enable=yes" : "enable=no";
        EXPECT_EQ(server_->exchange({.url = "/config/speaker.cgi", .query = query}), okReply(query + "\r\n"));
    }

    std::unique_ptr<InProcessServer> server_;
    std::unique_ptr<FakeDecoder> decoder_;

  private:
    AudioUpstreamWaits savedWaits_ = g_tAudioUpstreamWaits;
};

/** Waits until the other end has read everything. */
void waitUntilTaken(const ClientSide &client)
{
    EXPECT_TRUE(waitFor([&] {
        int waiting = 1;
        return ioctl(client.fd(), SIOCOUTQ, &waiting) == 0 && waiting == 0;
    }));
}

} // namespace

TEST_F(AudioUpstream, TheNameRegisteredLastTalksAndIsNotAnswered)
{
    start();
    EXPECT_EQ(server_->exchange({.method = "POST", .url = URL, .query = "client=a-longer-name"}), REGISTERED);
    EXPECT_EQ(registerClient("hall"), REGISTERED);
    for (const char *name : {"a-longer-name", "hal", "halls", "Hall", ""})
        EXPECT_EQ(openStream(name).readAll(), "") << name;
    // Bytes that came with the request count as the stream's first.
    for (size_t taken = 0; taken <= RANDOM_4CC.size(); ++taken) {
        SCOPED_TRACE(taken);
        ClientSide client = openStream("hall", RANDOM_4CC.substr(0, taken));
        expectTalks(client, RANDOM_4CC.substr(taken));
        EXPECT_EQ(client.readNow(), "") << "a stream gets no reply";
        client.close();
        waitUntilNobodyTalks();
    }
}

TEST_F(AudioUpstream, OneClientTalksAtATimeUntilAWrongHeader)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Debug_Init(2); // the log goes to standard error too
    start();
    ClientSide talker = talk();
    expectTalks(talker);
    EXPECT_EQ(openStream("hall").readAll(), "");
    EXPECT_EQ(registerClient("yard"), REGISTERED);
    EXPECT_EQ(openStream("yard").readAll(), "") << "registering does not end the talker's session";
    talker.send(audioHeaderBytes({.dataLength = 10000}) + audioPayload(10000) + audioFrame("still there"));
    EXPECT_EQ(decoder_->next(), decoderFrame("still there"));
    talker.send(audioHeaderBytes({.channels = 2}));
    EXPECT_EQ(talker.readAll(), "");
    waitUntilNobodyTalks();
    expectTalks(openStream("yard")); // announces the format again
    waitUntilNobodyTalks();
    stopAtOnce();
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
    start();
    for (const char *query : {"", "clien=hall", "0&client=hall", "client=<hall", "client=1234567890123456"})
        EXPECT_EQ(server_->exchange({.url = URL, .query = query}), BAD_REQUEST) << query;
    EXPECT_EQ(server_->exchange({.method = "POST", .url = URL}), BAD_REQUEST) << "no name at all";
    EXPECT_EQ(registerClient("123456789012345"), REGISTERED) << "fifteen characters";
}

TEST_F(AudioUpstream, ASpeakerThatIsSwitchedOffEndsTheSessionAndAllowsNothing)
{
    start();
    ClientSide client = talk();
    expectTalks(client);
    switchSpeaker(false);
    client.send(audioFrame("what wakes the thread"));
    EXPECT_EQ(client.readAll(), "");
    EXPECT_EQ(registerClient("hall"), UNAUTHORIZED);
    EXPECT_EQ(openStream("hall").readNow(), UNAUTHORIZED);
}

TEST_F(AudioUpstream, SurvivesSpeakerSwitchingAndDecoderRestartsInTheMiddleOfSessions)
{
    g_tAudioUpstreamWaits.pfnSleepMs = [](uint32_t) { usleep(200); };
    const size_t descriptors = countDescriptors();
    start();
    const std::string payload = audioPayload(160);
    int sent = 0;
    size_t played = 0;
    const auto takeMessages = [&] {
        for (const std::string &message : decoder_->messages()) {
            EXPECT_TRUE(message == DECODER_CONFIG || message == decoderFrame(payload));
            played += message == DECODER_CONFIG ? 0 : 1;
        }
    };
    for (int session = 0; session < 30; ++session) {
        const bool lost = session % 5 == 4; // the decoder, for the rest of the session
        switchSpeaker(true);
        ClientSide client = talk();
        bool open = true;
        for (int i = 0; i < 40 && open; ++i, ++sent) {
            const std::string bytes = (i == 0 ? RANDOM_4CC : "") + audioFrame(payload);
            open = send(client.fd(), bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0;
            if ((i == 10 && session % 3 == 0) || (i == 20 && lost))
                decoder_->vanish();
            if (i == 10 && session % 3 == 0)
                decoder_->start();
            if (i == 30 && session % 4 == 1)
                switchSpeaker(false);
            if (!lost || i < 20)
                takeMessages();
            server_->round();
        }
        client.close();
        waitUntilNobodyTalks();
        if (lost)
            decoder_->start();
        takeMessages();
    }
    EXPECT_GT(played, 100U) << "of " << sent;
    stopAtOnce();
    decoder_.reset();
    EXPECT_EQ(countDescriptors(), descriptors);
}

TEST_F(AudioUpstream, ASilentClientIsDisconnected)
{
    EXPECT_EQ(g_tAudioUpstreamWaits.uiSilenceLimitMs, 60000U);
    g_tAudioUpstreamWaits.uiSilenceLimitMs = 50;
    start();
    for (const std::string &sent : {std::string(), RANDOM_4CC, RANDOM_4CC + audioFrame("audio") + "\1"}) {
        ClientSide client = talk();
        client.send(sent);
        EXPECT_EQ(client.readAll(), "");
        waitUntilNobodyTalks();
    }
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
        const size_t descriptors = countDescriptors();
        start(c.decoder);
        ClientSide client = talk();
        if (c.decoder) {
            expectTalks(client);
            std::string frames = audioHeaderBytes({.dataLength = 1});
            if (c.blocks)
                decoder_->block();
            for (int i = 0; c.blocks && i < 200; ++i)
                frames.insert(0, audioFrame("")); // each would take its half second
            client.send(frames);
            waitUntilTaken(client);
        }
        stopAtOnce();
        EXPECT_EQ(client.readAll(), "");
        client.close();
        decoder_.reset();
        EXPECT_EQ(countDescriptors(), descriptors);
    }
}

TEST(AudioUpstreamStart, WithoutExactlyOneOutputThereIsNoThreadAndAStreamIsClosed)
{
    InProcessServer server(FakeStore::Settings{{"capability_naudioout", "2"}});
    const AudioUpstreamContext &context = g_tServerGlobals.tAudioUpstream;
    EXPECT_FALSE(context.tThread.started || context.tQueue.created);
    EXPECT_EQ(server.exchange({.url = URL, .query = "client=hall"}), UNAUTHORIZED);
    EXPECT_EQ(server.exchange({.url = "/config/speaker.cgi", .query = "enable=yes"}), okReply("enable=yes\r\n"));
    EXPECT_EQ(server.exchange({.url = URL, .query = "client=hall"}), REGISTERED);
    EXPECT_EQ(server.exchange({.method = "POST", .url = URL, .query = "client=hall", .contentLength = "9"}), "");
}
