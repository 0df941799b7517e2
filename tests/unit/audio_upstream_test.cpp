#include "audio/audio_upstream.h"
#include "platform/log.h"
#include "server/globals.h"
#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/in_process_server.h"
#include "tests/fakes/root_environment.h"
#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>

namespace
{

constexpr char URL[] = "/dev/speaker.cgi";
const std::string REGISTERED = "HTTP/1.1 200 OK\r\n";

/** The daemon with its audio thread, and a decoder. */
class AudioUpstream : public testing::Test
{
  protected:
    std::string Register(const std::string &name)
    {
        return m_server.Exchange({.url = URL, .query = "client=" + name});
    }
    /** A stream's request, with the first bytes of the stream that come with it. */
    ClientSide OpenStream(const std::string &name, const std::string &consumed = {})
    {
        ClientSide client = m_server.Open({.method = "POST",
                                           .url = URL,
                                           .query = "client=" + name,
                                           .body = consumed,
                                           .contentLength = "1000000"});
        m_server.Rounds(2);
        EXPECT_EQ(m_server.BusySlots(), 0) << "the request ends at once, handed over or not";
        return client;
    }
    /** Sends one frame and waits until it is played, as the first of its session. */
    void ExpectTalks(ClientSide &client, const std::string &before = RANDOM_4CC)
    {
        client.Send(before + AudioFrame("audio"));
        EXPECT_EQ(m_decoder.Next(), DECODER_CONFIG);
        EXPECT_EQ(m_decoder.Next(), DecoderFrame("audio"));
        EXPECT_EQ(client.ReadNow(), "") << "a stream gets no reply";
    }
    static void WaitUntilNobodyTalks()
    {
        EXPECT_TRUE(WaitFor([] { return g_tServerGlobals.tAudioUpstream.uiTalking == 0; }));
    }

    InProcessServer m_server{FakeStore::Settings{{"capability_naudioout", "1"}}};
    FakeDecoder m_decoder{m_server.root.Path("/var/run/aenc/s0/decodesck_0")};
};

} // namespace

TEST_F(AudioUpstream, ARegisteredClientTalksAndIsNotAnswered)
{
    EXPECT_EQ(Register("hall"), REGISTERED);
    ClientSide client = OpenStream("hall");
    ExpectTalks(client);
    client.Send(AudioFrame("more"));
    EXPECT_EQ(m_decoder.Next(), DecoderFrame("more"));
    client.Close();
    WaitUntilNobodyTalks();
    ClientSide again = OpenStream("hall");
    ExpectTalks(again); // announces the format anew
}

TEST_F(AudioUpstream, RegistrationMayAlsoComeInABodylessPostAndReplacesTheLastOne)
{
    EXPECT_EQ(m_server.Exchange({.method = "POST", .url = URL, .query = "client=a-longer-name"}), REGISTERED);
    EXPECT_EQ(Register("short"), REGISTERED);
    EXPECT_EQ(OpenStream("a-longer-name").ReadAll(), "");
    ClientSide client = OpenStream("short");
    ExpectTalks(client);
}

TEST_F(AudioUpstream, BytesThatCameWithTheRequestCountAsTheStreamsFirst)
{
    EXPECT_EQ(Register("hall"), REGISTERED);
    for (size_t taken = 0; taken <= RANDOM_4CC.size(); ++taken) {
        SCOPED_TRACE(taken);
        ClientSide client = OpenStream("hall", RANDOM_4CC.substr(0, taken));
        ExpectTalks(client, RANDOM_4CC.substr(taken));
        client.Close();
        WaitUntilNobodyTalks();
    }
}

TEST_F(AudioUpstream, AStreamThatIsNotHandedOverIsClosedWithoutReply)
{
    EXPECT_EQ(Register("hall"), REGISTERED);
    for (const char *name : {"yard", "hal", "halls", "Hall", ""})
        EXPECT_EQ(OpenStream(name).ReadAll(), "") << name;
    ClientSide talker = OpenStream("hall");
    ExpectTalks(talker);
    EXPECT_EQ(OpenStream("hall").ReadAll(), "") << "one client at a time";
    EXPECT_EQ(Register("yard"), REGISTERED);
    EXPECT_EQ(OpenStream("yard").ReadAll(), "") << "registering does not end the talker's session";
    talker.Send(AudioFrame("still there"));
    EXPECT_EQ(m_decoder.Next(), DecoderFrame("still there"));
}

TEST_F(AudioUpstream, NamesHaveAtMostFifteenCharacters)
{
    EXPECT_EQ(Register("123456789012345"), REGISTERED);
    ClientSide client = OpenStream("123456789012345");
    ExpectTalks(client);
    EXPECT_EQ(Register("1234567890123456"), BAD_REQUEST);
}

TEST_F(AudioUpstream, RefusesRequestsWithoutAUsableName)
{
    for (const char *query : {"", "clien=hall", "name=hall", "0&client=hall", "client=<hall", "client=a&&b=c"})
        EXPECT_EQ(m_server.Exchange({.url = URL, .query = query}), BAD_REQUEST) << query;
    EXPECT_EQ(m_server.Exchange({.method = "POST", .url = URL}), BAD_REQUEST) << "no name at all";
    EXPECT_EQ(m_server.Exchange({.url = URL, .query = "client=" + std::string(4088, 'x')}), BAD_REQUEST)
        << "a query string of 4095 characters";
}

TEST_F(AudioUpstream, WithTheSpeakerSwitchedOffNothingIsAllowed)
{
    EXPECT_EQ(Register("hall"), REGISTERED);
    EXPECT_EQ(m_server.Exchange({.url = "/config/speaker.cgi", .query = "enable=no"}), OkReply("enable=no\r\n"));
    EXPECT_EQ(Register("hall"), UNAUTHORIZED);
    EXPECT_EQ(OpenStream("hall").ReadNow(), UNAUTHORIZED);
}

TEST_F(AudioUpstream, AWrongHeaderEndsTheSessionAndTheNextClientMayTalk)
{
    EXPECT_EQ(Register("hall"), REGISTERED);
    ClientSide client = OpenStream("hall");
    client.Send(RANDOM_4CC + AudioHeaderBytes({.id = 0x0000F601}));
    EXPECT_EQ(client.ReadAll(), "");
    WaitUntilNobodyTalks();
    ClientSide next = OpenStream("hall");
    ExpectTalks(next);
}

TEST(AudioUpstreamStart, ReadsTheSwitchesOfTheStore)
{
    const struct {
        const char *description;
        const char *audioOut; ///< the store's first answer
        const char *enable;   ///< the store's second answer
        int result;
        bool thread;
        uint32_t speakerEnable;
        const char *trace; ///< a part of it
    } cases[] = {
        {"speaker on", "capability_naudioout=1\n", "audioout_c0_speaker_enable=1\n", 0, true, 1, ""},
        {"speaker off", "capability_naudioout=1\n", "audioout_c0_speaker_enable=0\n", 0, true, 0, ""},
        {"no audio output", "capability_naudioout=0\n", nullptr, 0, false, 0, ""},
        {"only the digit 1 counts", "capability_naudioout=2\n", nullptr, 0, false, 0, ""},
        {"no answer", "", nullptr, -1, false, 0, "[AudioUpstream_Initial]Get_Configer_Parameter failed\n"},
        {"an answer to something else", "capability_ndi=1\n", nullptr, -1, false, 0, ""},
        {"no second answer", "capability_naudioout=1\n", "", -1, false, 0,
         "[AudioUpstream_Initial]Get_Configer_Parameter failed\n"},
        {"a second answer to something else", "capability_naudioout=1\n", "capability_ndi=1\n", -1, false, 0,
         "[AudioUpstream_Initial]Get_Configer_BOOL_Value failed\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        RootEnvironment root;
        FakeDecoder decoder(root.Path("/var/run/aenc/s0/decodesck_0"));
        FakeStore store(root.Path("/tmp/configer"), {});
        store.Expect("get NameValue 99 0\ncapability_naudioout&", c.audioOut);
        if (c.enable != nullptr)
            store.Expect("get NameValue 99 0\naudioout_c0_speaker_enable&", c.enable);
        ASSERT_EQ(OSThread_KeyCreate(), 0);
        AudioUpstreamContext context = {};
        const size_t descriptors = CountOwnDescriptors();
        testing::internal::CaptureStdout();
        EXPECT_EQ(AudioUpstream_Initial(context), c.result);
        EXPECT_EQ(context.tThread.started, c.thread);
        EXPECT_EQ(context.tQueue.created, c.thread);
        EXPECT_EQ(context.uiSpeakerEnable, c.speakerEnable);
        AudioUpstream_Release(context);
        const std::string trace = testing::internal::GetCapturedStdout();
        EXPECT_NE(trace.find(c.trace), std::string::npos) << trace;
        // The store closes its last connection in its own time.
        EXPECT_TRUE(WaitFor([&] { return CountOwnDescriptors() == descriptors; }));
        OSThread_KeyDestroy();
    }
}

TEST(AudioUpstreamStart, WithoutAThreadAStreamIsClosed)
{
    InProcessServer server;
    EXPECT_EQ(server.Exchange({.url = URL, .query = "client=hall"}), UNAUTHORIZED);
    EXPECT_EQ(server.Exchange({.url = "/config/speaker.cgi", .query = "enable=yes"}), OkReply("enable=yes\r\n"));
    EXPECT_EQ(server.Exchange({.url = URL, .query = "client=hall"}), REGISTERED);
    EXPECT_EQ(server.Exchange({.method = "POST", .url = URL, .query = "client=hall", .contentLength = "9"}), "");
}
