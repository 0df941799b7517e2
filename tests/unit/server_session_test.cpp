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
    SessionState state() const { return daemon.slot(0).eState; }
    /** Hands over a POST whose body is not there yet, and lets the daemon take it. */
    ClientSide incomplete(const std::string &contentLength, const std::string &body = {})
    {
        ClientSide client =
            daemon.open({.method = "POST", .url = URL, .body = body, .contentLength = contentLength});
        daemon.step();
        return client;
    }
    static constexpr char URL[] = "/config/camera_info.cgi";

    InProcessServer daemon;
};

} // namespace

TEST_F(Session, GoesThroughItsStates)
{
    using enum SessionState;
    const struct {
        std::string url;
        std::vector<SessionState> states;
        std::string reply;
    } cases[] = {
        {URL, {Mapping, Compose, Send}, okReply("name=Entrance\r\n")},
        {"/unknown", {Compose, Send}, BAD_REQUEST}, // there is nothing to map
    };
    for (const auto &c : cases) {
        ClientSide client = daemon.open({.url = c.url});
        for (const SessionState expected : c.states) {
            daemon.step();
            EXPECT_EQ(state(), expected);
        }
        EXPECT_EQ(client.readNow(), "");
        daemon.step();
        EXPECT_EQ(client.readAll(), c.reply);
        SessionSlot free = {};
        free.tRequest.iClientSocket = SOCKET_NONE;
        const void *slot = &daemon.slot(0), *clean = &free;
        EXPECT_EQ(memcmp(slot, clean, sizeof free), 0) << "the next request finds a clean slot";
    }
}

TEST_F(Session, IsClosedWithoutReplyAfterEightSeconds)
{
    ClientSide client = incomplete("10");
    const uint32_t start = daemon.slot(0).uiStartTick;
    daemon.clock.now = start + 8000;
    daemon.round();
    EXPECT_EQ(state(), SessionState::Receive) << "exactly eight seconds are fine";
    daemon.clock.now = start + 8001;
    daemon.round();
    EXPECT_EQ(daemon.busySlots(), 0);
    EXPECT_EQ(client.readAll(), "");

    EXPECT_TRUE(daemon.store.requests().empty());
}

TEST_F(Session, AWrapOfTheClockEndsIt)
{
    daemon.clock.now = 0xFFFFFFF0;
    ClientSide client = daemon.open({.method = "POST", .url = URL, .contentLength = "10"});
    daemon.round();
    daemon.clock.now = 0x10; // 32 ms later
    daemon.round();
    EXPECT_EQ(client.readAll(), "");
}

TEST_F(Session, KeptBudgetOfARoundShrinksFasterThanTime)
{
    ClientSide client = incomplete("10");
    daemon.clock.sleeps.clear();
    daemon.round();
    // After 100, 200, 300 and 400 ms the budget is 900, 700, 400 and 0; the next 100 ms are too many.
    EXPECT_EQ(daemon.clock.sleeps, std::vector<uint32_t>(5, 100));
    EXPECT_EQ(state(), SessionState::Receive);
}

TEST_F(Session, KeptLateBodyHasToBeOneByteLongerThanAnnounced)
{
    ClientSide client = incomplete("10", "name=");
    client.send("Hall5"); // all ten bytes are there now
    daemon.step();
    EXPECT_EQ(state(), SessionState::Receive);
    client.send("x");
    daemon.step();
    EXPECT_EQ(state(), SessionState::Parse);
    daemon.round();
    EXPECT_EQ(client.readAll(), okReply("name=\r\n")) << "what comes late is only taken off the wire";
}

TEST_F(Session, TheLargestLateBodyStaysInItsBuffer)
{
    ClientSide client = incomplete("10000");
    client.send(std::string(20000, 'x'));
    daemon.step();
    EXPECT_EQ(state(), SessionState::Receive);
    EXPECT_EQ(daemon.slot(0).iBufferLength, 9999) << "the buffer is full, and one byte is still missing";
    daemon.step();
    EXPECT_EQ(state(), SessionState::Parse);
    EXPECT_EQ(daemon.slot(0).iBufferLength, 10000);
    daemon.round();
    EXPECT_EQ(client.readAll(), BAD_REQUEST);
}

TEST_F(Session, EndsWhenItsClientDoes)
{
    ClientSide client = incomplete("10");
    ASSERT_EQ(shutdown(client.fd(), SHUT_WR), 0);
    daemon.round();
    EXPECT_EQ(client.readAll(), "") << "no reply to half a request";

    client = daemon.open({.url = URL});
    for (int i = 0; i < 3; ++i)
        daemon.step();
    EXPECT_EQ(state(), SessionState::Send);
    client.close();
    daemon.step();
    EXPECT_EQ(daemon.busySlots() == 0 || state() == SessionState::Finish, true);
    daemon.round();
    EXPECT_EQ(daemon.busySlots(), 0);
}

TEST_F(Session, WaitsForNothingThatItDoesNotNeed)
{
    const struct {
        const char *method, *body, *contentLength; ///< empty: the body's
        std::string reply;
    } cases[] = {
        {"POST", "", "10001", INTERNAL_ERROR}, // one more than the buffer
        {"POST", "", "2147483647", INTERNAL_ERROR},
        {"POST", "", "99999999999999999999", INTERNAL_ERROR},
        {"GET", "", "100", okReply("name=Entrance\r\n")},
        {"POST", "name=Hall", "3", okReply("name=Hall\r\n")},
        {"POST", "name=My%20Hall", "", okReply("name=My Hall\r\n")}, // its length counts before it is decoded
    };
    for (const auto &c : cases) {
        EXPECT_EQ(
            daemon.exchange({.method = c.method, .url = URL, .body = c.body, .contentLength = c.contentLength}),
            c.reply)
            << c.contentLength;
        EXPECT_TRUE(daemon.clock.sleeps.empty());
    }
}

TEST_F(Session, KeptOnlyATextWithAnEncodedBlankIsDecodedAndThenWhole)
{
    const std::pair<const char *, std::string> cases[] = {
        {"name=a%2Cb", BAD_REQUEST},
        {"name=a%20b%2Cc", okReply("name=a b,c\r\n")},
        {"name=x&a%20b=%26c", okReply("name=x\r\na b=\r\nc\r\n")}};
    for (const auto &[text, reply] : cases) {
        EXPECT_EQ(daemon.exchange({.url = URL, .query = text}), reply);
        EXPECT_EQ(daemon.exchange({.method = "POST", .url = URL, .body = text}), reply);
    }
}

TEST_F(Session, KeptReplyThatNeedsSeveralSendsIsResumedFromTheSizeOfTheLastChunk)
{
    std::string pairs = "name=x", lines = "name=x\r\n";
    for (int i = 1000; pairs.size() < 4080; ++i) {
        pairs += "&" + std::to_string(i);
        lines += std::to_string(i) + "\r\n";
    }
    const std::string reply = okReply(lines);
    ClientSide client = daemon.open({.method = "POST", .url = URL, .body = pairs});
    daemon.step();
    const int smallest = 1; // the kernel makes it its minimum, less than the reply
    const int socket = daemon.slot(0).tRequest.iClientSocket;
    ASSERT_EQ(setsockopt(socket, SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest), 0);
    daemon.step();
    daemon.step();
    ASSERT_EQ(state(), SessionState::Send);

    size_t at = 0;
    for (int chunk = 0; chunk < 6; ++chunk) {
        daemon.step();
        ASSERT_EQ(state(), SessionState::Send) << "no single send takes all of it, so it never ends by itself";
        const std::string sent = client.readNow();
        ASSERT_GT(sent.size(), 0U);
        ASSERT_LT(sent.size(), reply.size());
        EXPECT_TRUE(sent == reply.substr(at, sent.size())) << "chunk " << chunk << " from " << at;
        at = sent.size();
    }
    daemon.clock.now += 8001;
    daemon.round();
    EXPECT_EQ(client.readAll(), "") << "the time limit ends it";
}

TEST(NetworkRestart, ComesOnceTenSecondsAfterItWasLastAskedFor)
{
    InProcessServer daemon;
    for (const bool fails : {false, true}) {
        daemon.store.clearRequests();
        NetUtility_RequestNetworkRestart();
        daemon.clock.now += 9000;
        NetUtility_RequestNetworkRestart();
        daemon.clock.now += 10000;
        daemon.round();
        EXPECT_TRUE(daemon.store.requests().empty());
        if (fails)
            daemon.store.answerNothing(1);
        daemon.clock.now += 1;
        EXPECT_EQ(daemon.round(), 0);
        EXPECT_EQ(daemon.store.requests(), std::vector<std::string>{"set NameValue 99 0 0\nnetwork_restart=1"});
        daemon.clock.now += 20000;
        daemon.rounds(3);
        EXPECT_EQ(daemon.store.requests().size(), 1U) << "once, also when it fails";
    }
}

TEST(NetworkRestart, IsMarkedByWhatNeedsItAndByNothingElse)
{
    InProcessServer daemon;
    const auto marked = [&](const std::string &query) {
        g_tServerGlobals.iNetworkRestart = 0;
        EXPECT_NE(daemon.exchange({.url = "/config/network.cgi", .query = query}), BAD_REQUEST) << query;
        return std::exchange(g_tServerGlobals.iNetworkRestart, 0) != 0;
    };
    for (const char *query : {"dhcp=on", "ip=1.2.3.4", "netmask=1.2.3.4", "gateway=1.2.3.4", "dns1=1.2.3.4",
                              "dns2=1.2.3.4", "upnp=on", "httpport=81", "rtspport=81", "httpexternalport=81"})
        EXPECT_TRUE(marked(query)) << query;
    for (const char *query : {"pppoe=on", "pppoeuser=u", "pppoepass=p", "ddns=on", "ddnsprovider=dyndns"})
        EXPECT_FALSE(marked(query)) << query;
}
