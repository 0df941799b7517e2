#include "netutil/network_restart.h"
#include "server/globals.h"
#include "tests/fakes/in_process_server.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <vector>

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
    /** A request whose reply is larger than what its connection takes at a time; gives that reply. */
    ClientSide OpenWithNarrowSocket(std::string &reply)
    {
        std::string pairs = "name=x", lines = "name=x\r\n";
        for (int i = 1000; pairs.size() < 4080; ++i) {
            pairs += "&" + std::to_string(i);
            lines += std::to_string(i) + "\r\n";
        }
        reply = OkReply(lines);
        ClientSide client = daemon.Open({.method = "POST", .url = URL, .body = pairs});
        daemon.Step();
        const int smallest = 1; // the kernel makes it its minimum
        EXPECT_EQ(
            setsockopt(daemon.Slot(0).tRequest.iClientSocket, SOL_SOCKET, SO_SNDBUF, &smallest, sizeof smallest),
            0);
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
    const SessionSlot free = {{SOCKET_NONE, {}, {}, {}, {}, {}}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}, {}};
    EXPECT_EQ(memcmp(static_cast<const void *>(&daemon.Slot(0)), static_cast<const void *>(&free), sizeof free), 0)
        << "the next request finds a clean slot";
}

TEST_F(Session, IsServedWithinOneRound)
{
    ClientSide client = daemon.Open({.url = URL});
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), OkReply("name=Entrance\r\n"));
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
}

TEST_F(Session, ALimitPassedBetweenTwoStepsEndsItWhereverItIs)
{
    ClientSide client = daemon.Open({.url = URL});
    daemon.Step();
    daemon.clock.now += 8001;
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), "");
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

TEST_F(Session, ALateBodyMayComeInPieces)
{
    ClientSide client = Incomplete("9000");
    for (int i = 0; i < 9; ++i) {
        client.Send(std::string(1000, 'x'));
        daemon.Step();
        EXPECT_EQ(State(), SessionState::Receive);
    }
    client.Send("x");
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), BAD_REQUEST) << "no text was handed over";
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

TEST_F(Session, AnOddContentLengthIsNoHarm)
{
    const struct {
        const char *description;
        const char *method;
        const char *contentLength;
        std::string reply;
    } cases[] = {
        {"more than the buffer", "POST", "10001", INTERNAL_ERROR},
        {"far more", "POST", "2147483647", INTERNAL_ERROR},
        {"beyond 32 bits", "POST", "99999999999999999999", INTERNAL_ERROR},
        {"a GET does not wait for its body", "GET", "100", OkReply("name=Entrance\r\n")},
        {"a method that is none", "PUT", "0", INTERNAL_ERROR},
        {"no method", "", "0", INTERNAL_ERROR},
        {"methods are case-sensitive", "get", "0", INTERNAL_ERROR},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(daemon.Exchange({.method = c.method, .url = URL, .contentLength = c.contentLength}), c.reply)
            << c.description;
        EXPECT_TRUE(daemon.clock.sleeps.empty()) << c.description;
    }
}

TEST_F(Session, ABodyHandedOverWholeNeedsNothingMore)
{
    EXPECT_EQ(daemon.Exchange({.method = "POST", .url = URL, .body = "name=Hall"}), OkReply("name=Hall\r\n"));
    EXPECT_EQ(daemon.Exchange({.method = "POST", .url = URL, .body = "name=Hall", .contentLength = "3"}),
              OkReply("name=Hall\r\n"));
    EXPECT_EQ(daemon.Exchange({.method = "POST", .url = URL, .body = "name=My%20Hall"}),
              OkReply("name=My Hall\r\n"))
        << "its length counts before it is decoded";
    EXPECT_TRUE(daemon.clock.sleeps.empty());
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
    std::string reply;
    ClientSide client = OpenWithNarrowSocket(reply);
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
    daemon.clock.now += 8001;
    daemon.Round();
    EXPECT_EQ(client.ReadAll(), "") << "the time limit ends it";
}

TEST_F(Session, AClientThatDoesNotReadCostsSleeps)
{
    std::string reply;
    ClientSide client = OpenWithNarrowSocket(reply);
    daemon.Round();
    EXPECT_EQ(State(), SessionState::Send);
    EXPECT_EQ(daemon.clock.sleeps, std::vector<uint32_t>(5, 100));
}

TEST_F(Session, ThirtyAreServedAtATimeAndTheNextIsRefused)
{
    std::vector<ClientSide> clients;
    for (int i = 0; i < MAX_SESSIONS; ++i) {
        clients.push_back(daemon.Open({.url = "/config/notify_stream.cgi"}));
        daemon.Round();
    }
    EXPECT_EQ(daemon.BusySlots(), 30);
    ClientSide refused = daemon.Open({.url = URL});
    EXPECT_EQ(daemon.Round(), 0);
    EXPECT_EQ(refused.ReadAll(), SERVICE_UNAVAILABLE);
    EXPECT_EQ(daemon.BusySlots(), 30);
    clients[17].ReadNow();
    clients[17].Close();
    daemon.Round();
    EXPECT_EQ(daemon.BusySlots(), 29);
    refused = daemon.Open({.url = URL});
    daemon.Round();
    EXPECT_EQ(refused.ReadAll(), OkReply("name=Entrance\r\n"));
}

TEST_F(Session, AMalformedHandOverEndsTheRound)
{
    const size_t before = CountDescriptors();
    ClientSide broken = HandOverRaw(daemon.SocketPath(), "rubbish");
    EXPECT_EQ(daemon.Round(), -1);
    EXPECT_EQ(broken.ReadAll(), "");
    broken.Close();
    EXPECT_EQ(daemon.BusySlots(), 0);
    EXPECT_EQ(CountDescriptors(), before);
}

TEST(NetworkRestart, ComesTenSecondsAfterItWasAskedFor)
{
    InProcessServer daemon;
    NetUtility_RequestNetworkRestart();
    daemon.Round();
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

TEST(NetworkRestart, CountsFromTheLastRequestAndIsNotRetried)
{
    InProcessServer daemon;
    NetUtility_RequestNetworkRestart();
    daemon.clock.now += 9000;
    NetUtility_RequestNetworkRestart();
    daemon.clock.now += 9000;
    daemon.Round();
    EXPECT_TRUE(daemon.store.Requests().empty());
    daemon.store.Refuse();
    daemon.clock.now += 1001;
    EXPECT_EQ(daemon.Round(), 0);
    daemon.store.Listen();
    daemon.clock.now += 20000;
    daemon.Round();
    EXPECT_TRUE(daemon.store.Requests().empty());
}
