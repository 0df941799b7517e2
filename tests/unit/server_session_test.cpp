#include "daemon/netutil/network_restart.h"
#include "daemon/session/globals.h"
#include "tests/fakes/in_process_server.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{

class Session : public testing::Test
{
  protected:
    SessionState State() const { return daemon.Slot(0).eState; }
    /** Hands over a POST whose body is not there yet, and lets the daemon take it. */
    ClientSide Incomplete(const std::string &contentLength, const std::string &body = {})
    {
        ClientSide client =
            daemon.Open({.method = "POST", .url = URL, .body = body, .contentLength = contentLength});
        daemon.Step();
        return client;
    }
    static constexpr char URL[] = "/config/camera_info.cgi";

    InProcessServer daemon;
};

} // namespace

TEST_F(Session, GoesThroughItsStates)
{
    ClientSide client = daemon.Open({.url = URL});
    for (const SessionState expected : {SessionState::Mapping, SessionState::Compose, SessionState::Send}) {
        daemon.Step();
        EXPECT_EQ(State(), expected);
    }
    EXPECT_EQ(client.ReadNow(), "");
    daemon.Step();
    EXPECT_EQ(daemon.BusySlots(), 0);
    EXPECT_EQ(client.ReadAll(), OkReply("name=Entrance\r\n"));
    SessionSlot free = {};
    free.tRequest.iClientSocket = SOCKET_NONE;
    EXPECT_EQ(memcmp(static_cast<const void *>(&daemon.Slot(0)), static_cast<const void *>(&free), sizeof free), 0)
        << "the next request finds a clean slot";
}

TEST_F(Session, AReadThatIsRefusedSkipsTheMapping)
{
    ClientSide client = daemon.Open({.url = "/unknown"});
    daemon.Step();
    EXPECT_EQ(State(), SessionState::Compose);
    EXPECT_TRUE(daemon.store.Requests().empty());
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), BAD_REQUEST);
}

TEST_F(Session, IsClosedWithoutReplyAfterEightSeconds)
{
    ClientSide client = Incomplete("10");
    const uint32_t start = daemon.Slot(0).uiStartTick;
    daemon.clock.now = start + 8000;
    daemon.Round();
    EXPECT_EQ(State(), SessionState::Receive) << "exactly eight seconds are fine";
    daemon.clock.now = start + 8001;
    daemon.Round();
    EXPECT_EQ(daemon.BusySlots(), 0);
    EXPECT_EQ(client.ReadAll(), "");

    client = daemon.Open({.url = URL});
    daemon.Step();
    daemon.clock.now += 8001;
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), "") << "wherever it is";
    EXPECT_TRUE(daemon.store.Requests().empty());
}

TEST_F(Session, AWrapOfTheClockEndsIt)
{
    daemon.clock.now = 0xFFFFFFF0;
    ClientSide client = daemon.Open({.method = "POST", .url = URL, .contentLength = "10"});
    daemon.Round();
    daemon.clock.now = 0x10; // 32 ms later
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), "");
    EXPECT_EQ(daemon.Exchange({.url = URL}), OkReply("name=Entrance\r\n")) << "the next one is served";
}

TEST_F(Session, KeptBudgetOfARoundShrinksFasterThanTime)
{
    ClientSide client = Incomplete("10");
    daemon.clock.sleeps.clear();
    daemon.Round();
    // After 100, 200, 300 and 400 ms the budget is 900, 700, 400 and 0; the next 100 ms are too many.
    EXPECT_EQ(daemon.clock.sleeps, std::vector<uint32_t>(5, 100));
    EXPECT_EQ(State(), SessionState::Receive);
}

TEST_F(Session, KeptLateBodyHasToBeOneByteLongerThanAnnounced)
{
    ClientSide client = Incomplete("10", "name=");
    client.Send("Hall5"); // all ten bytes are there now
    daemon.Step();
    EXPECT_EQ(State(), SessionState::Receive);
    client.Send("x");
    daemon.Step();
    EXPECT_EQ(State(), SessionState::Parse);
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), OkReply("name=\r\n")) << "what comes late is only taken off the wire";
}

TEST_F(Session, TheLargestLateBodyStaysInItsBuffer)
{
    ClientSide client = Incomplete("10000");
    client.Send(std::string(20000, 'x'));
    daemon.Step();
    EXPECT_EQ(State(), SessionState::Receive);
    EXPECT_EQ(daemon.Slot(0).iBufferLength, 9999) << "the buffer is full, and one byte is still missing";
    daemon.Step();
    EXPECT_EQ(State(), SessionState::Parse);
    EXPECT_EQ(daemon.Slot(0).iBufferLength, 10000);
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), BAD_REQUEST);
}

TEST_F(Session, EndsWhenItsClientDoes)
{
    ClientSide client = Incomplete("10");
    ASSERT_EQ(shutdown(client.Fd(), SHUT_WR), 0);
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), "") << "no reply to half a request";

    client = daemon.Open({.url = URL});
    for (int i = 0; i < 3; ++i)
        daemon.Step();
    EXPECT_EQ(State(), SessionState::Send);
    client.Close();
    daemon.Step();
    EXPECT_EQ(daemon.BusySlots() == 0 || State() == SessionState::Finish, true);
    daemon.Round();
    EXPECT_EQ(daemon.BusySlots(), 0);
}

TEST_F(Session, WaitsForNothingThatItDoesNotNeed)
{
    const struct {
        const char *description;
        const char *method;
        const char *body;
        const char *contentLength; ///< empty: the body's
        std::string reply;
    } cases[] = {
        {"one more than the buffer", "POST", "", "10001", INTERNAL_ERROR},
        {"a length of 32 bits", "POST", "", "2147483647", INTERNAL_ERROR},
        {"a length beyond 32 bits", "POST", "", "99999999999999999999", INTERNAL_ERROR},
        {"a GET does not wait for its body", "GET", "", "100", OkReply("name=Entrance\r\n")},
        {"a whole body", "POST", "name=Hall", "", OkReply("name=Hall\r\n")},
        {"more than announced", "POST", "name=Hall", "3", OkReply("name=Hall\r\n")},
        {"its length counts before it is decoded", "POST", "name=My%20Hall", "", OkReply("name=My Hall\r\n")},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        EXPECT_EQ(
            daemon.Exchange({.method = c.method, .url = URL, .body = c.body, .contentLength = c.contentLength}),
            c.reply);
        EXPECT_TRUE(daemon.clock.sleeps.empty());
    }
}

TEST_F(Session, KeptOnlyATextWithAnEncodedBlankIsDecodedAndThenWhole)
{
    for (const bool post : {false, true}) {
        const auto change = [&](const std::string &text) {
            return post ? daemon.Exchange({.method = "POST", .url = URL, .body = text})
                        : daemon.Exchange({.url = URL, .query = text});
        };
        EXPECT_EQ(change("name=a%2Cb"), BAD_REQUEST);
        EXPECT_EQ(change("name=a%20b%2Cc"), OkReply("name=a b,c\r\n"));
        EXPECT_EQ(change("name=x&a%20b=%26c"), OkReply("name=x\r\na b=\r\nc\r\n")) << "a pair more";
    }
}

TEST_F(Session, KeptReplyThatNeedsSeveralSendsIsResumedFromTheSizeOfTheLastChunk)
{
    std::string pairs = "name=x", lines = "name=x\r\n";
    for (int i = 1000; pairs.size() < 4080; ++i) {
        pairs += "&" + std::to_string(i);
        lines += std::to_string(i) + "\r\n";
    }
    const std::string reply = OkReply(lines);
    ClientSide client = daemon.Open({.method = "POST", .url = URL, .body = pairs});
    daemon.Step();
    const int smallest = 1; // the kernel makes it its minimum, less than the reply
    const int socket = daemon.Slot(0).tRequest.iClientSocket;
    ASSERT_EQ(setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest), 0);
    daemon.Step();
    daemon.Step();
    ASSERT_EQ(State(), SessionState::Send);

    size_t at = 0;
    for (int chunk = 0; chunk < 6; ++chunk) {
        daemon.Step();
        ASSERT_EQ(State(), SessionState::Send) << "no single send takes all of it, so it never ends by itself";
        const std::string sent = client.ReadNow();
        ASSERT_GT(sent.size(), 0U);
        ASSERT_LT(sent.size(), reply.size());
        EXPECT_TRUE(sent == reply.substr(at, sent.size())) << "chunk " << chunk << " from " << at;
        at = sent.size();
    }
    daemon.clock.sleeps.clear();
    daemon.Round();
    EXPECT_EQ(daemon.clock.sleeps, std::vector<uint32_t>(5, 100)) << "a client that does not read";
    client.ReadNow();
    daemon.clock.now += 8001;
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), "") << "the time limit ends it";
}

TEST(NetworkRestart, ComesOnceTenSecondsAfterItWasLastAskedFor)
{
    InProcessServer daemon;
    NetUtility_RequestNetworkRestart();
    daemon.clock.now += 9000;
    NetUtility_RequestNetworkRestart();
    daemon.clock.now += 10000;
    daemon.Round();
    EXPECT_TRUE(daemon.store.Requests().empty());
    daemon.clock.now += 1;
    daemon.Round();
    EXPECT_EQ(daemon.store.Requests(), std::vector<std::string>{"set NameValue 99 0 0\nnetwork_restart=1"});
    daemon.clock.now += 20000;
    daemon.Rounds(3);
    EXPECT_EQ(daemon.store.Requests().size(), 1U) << "once";
}

TEST(NetworkRestart, ThatFailsIsNotRetried)
{
    InProcessServer daemon;
    NetUtility_RequestNetworkRestart();
    daemon.store.Refuse();
    daemon.clock.now += 10001;
    EXPECT_EQ(daemon.Round(), 0);
    daemon.store.Listen();
    daemon.clock.now += 20000;
    daemon.Round();
    EXPECT_TRUE(daemon.store.Requests().empty());
}

TEST(NetworkRestart, IsMarkedByWhatNeedsItAndByNothingElse)
{
    InProcessServer daemon;
    const auto marked = [&](const std::string &query) {
        g_tServerGlobals.iNetworkRestart = 0;
        EXPECT_NE(daemon.Exchange({.url = "/config/network.cgi", .query = query}), BAD_REQUEST) << query;
        return std::exchange(g_tServerGlobals.iNetworkRestart, 0) != 0;
    };
    for (const char *query : {"dhcp=on", "ip=1.2.3.4", "netmask=1.2.3.4", "gateway=1.2.3.4", "dns1=1.2.3.4",
                              "dns2=1.2.3.4", "upnp=on", "httpport=81", "rtspport=81", "httpexternalport=81"})
        EXPECT_TRUE(marked(query)) << query;
    for (const char *query : {"pppoe=on", "pppoeuser=u", "pppoepass=p", "ddns=on", "ddnsprovider=dyndns"})
        EXPECT_FALSE(marked(query)) << query;
}
