#include "daemon/base/wait.h"
#include "daemon/netutil/network_restart.h"
#include "daemon/session/globals.h"
#include "tests/fakes/in_process_server.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>

namespace
{

constexpr char URL[] = "/config/camera_info.cgi";
constexpr char STREAM[] = "/config/notify_stream.cgi";
constexpr EventRecord MOTION_ON = {0, 0, 3, 2, 0};
constexpr EventRecord MOTION_OFF = {0, 0, 3, 1, 0};

class Rest : public testing::Test
{
  protected:
    /** A stream that has said what it has to say. */
    ClientSide openStream()
    {
        ClientSide client = daemon.open({.url = STREAM});
        daemon.rounds(3);
        EXPECT_EQ(client.readNow(), NOTIFY_HEADER);
        return client;
    }
    /** How long the loop would rest now, in milliseconds; -1 without limit. The rounds before write the traces. */
    int duration()
    {
        daemon.rounds(3);
        return daemon.clock.rests.back();
    }

    InProcessServer daemon;
};

struct FairMode : Rest {
    FairMode() { Wait_SetFair(true); }
};

/** A store that says nothing to a request, the nth from now or every one, until it is released. */
class HeldStore
{
  public:
    explicit HeldStore(
        FakeStore &store, int nth = 0, std::function<void()> first = [] {})
        : store_(store)
    {
        store.before(
            [this, first] {
                first();
                released_.wait(false);
            },
            nth);
    }
    void release()
    {
        released_ = true;
        released_.notify_all();
        store_.waitUntilIdle();
        store_.heal();
    }

  private:
    FakeStore &store_;
    std::atomic<bool> released_ = false;
};

} // namespace

TEST_F(Rest, LastsUntilTheEarliestDeadline)
{
    EXPECT_EQ(duration(), -1) << "nobody is there";
    NetUtility_RequestNetworkRestart();
    EXPECT_EQ(duration(), 10010) << "the tick is 10 ms long";
    daemon.clock.now += 9990;
    EXPECT_EQ(duration(), 20);
    daemon.clock.now += 20;
    daemon.round();
    EXPECT_EQ(daemon.store.lastSet(), "network_restart=1");

    ClientSide stream = openStream();
    EXPECT_EQ(duration(), 25010) << "keep-alive";
    daemon.sendEvents(std::span(&MOTION_ON, 1));
    EXPECT_EQ(duration(), 25010) << "an active window asks for nothing";
    daemon.sendEvents(std::span(&MOTION_OFF, 1));
    EXPECT_EQ(duration(), 1510) << "end of the motion";
    daemon.clock.now = UINT32_MAX - 99;
    daemon.rounds(1);
    EXPECT_EQ(duration(), 109) << "until the tick wraps around";
}

TEST_F(Rest, KeepsTheTimeOfAMotionThatNobodyLookedAt)
{
    ClientSide stream = openStream();
    daemon.sendEvents(std::span(&MOTION_ON, 1));
    daemon.round();
    EXPECT_EQ(stream.readNow(), "md1=on\r\n");
    daemon.clock.now += 20000; // no round in all this time
    daemon.sendEvents(std::span(&MOTION_OFF, 1));
    daemon.round();
    daemon.clock.now += 1500;
    daemon.round();
    EXPECT_EQ(stream.readNow(), "") << "active until the event said otherwise";
    daemon.clock.now += 1;
    daemon.round();
    EXPECT_EQ(stream.readNow(), "md1=off\r\n");
}

TEST_F(Rest, AStopRestoresARecordingThatWasSwitchedOffForAChange)
{
    daemon.store.set({{"event_i0_enable", "0"}, {"recording_i0_enable", "1"}});
    daemon.clock.patienceMs = 20;
    HeldStore held(daemon.store, 5, [] { Wait_RequestStop(); }); // the write of the share, recording is off by then
    (void)daemon.open({.url = "/cgi/admin/recorder.cgi",
                       .query = "byMotion=0&byIn1=0&byIn2=0&toUSB=0&toSamba=1&schedule=0&continuous=1&server=nas&"
                                "shareFolder=clips"});
    daemon.round();
    held.release();
    EXPECT_EQ(daemon.store.sets().at(2), "server_i0_ns_location=\\\\nas\\clips&");
    EXPECT_EQ(daemon.store.lastSet(), "event_i0_enable=0&recording_i0_enable=1&");
}

TEST_F(FairMode, AnUnfinishedBodyHoldsNobodyUp)
{
    ClientSide slow = daemon.open({.method = "POST", .url = URL, .body = "name=", .contentLength = "8"});
    EXPECT_EQ(duration(), 8010) << "until its limit";
    slow.send("a");
    daemon.round();
    EXPECT_EQ(daemon.exchange({.url = URL}).substr(0, 15), "HTTP/1.1 200 OK");
    EXPECT_TRUE(daemon.clock.sleeps.empty());
    slow.send("bcd");
    daemon.rounds(2);
    EXPECT_EQ(slow.readAll(), okReply("name=\r\n"));

    ClientSide silent = daemon.open({.method = "POST", .url = URL, .contentLength = "8"});
    daemon.round();
    daemon.clock.now += 8001;
    daemon.round();
    EXPECT_EQ(silent.readAll(), "");
}

TEST_F(FairMode, AClientThatDoesNotReadHoldsNobodyUp)
{
    ClientSide stuck = openStream();
    ClientSide other = openStream();
    for (int i = 0; i < 2000; ++i) {
        const EventRecord event = {0, 0, 1, i % 2 == 0 ? 2 : 1, 0};
        daemon.sendEvents(std::span(&event, 1));
        daemon.round();
        ASSERT_EQ(other.readNow(), i % 2 == 0 ? "input1=on\r\ninput2=off\r\n" : "input1=off\r\ninput2=off\r\n")
            << i;
    }
    EXPECT_TRUE(daemon.clock.sleeps.empty());
    EXPECT_EQ(daemon.busySlots(), 2);
    EXPECT_FALSE(stuck.readNow().empty());
}

TEST_F(FairMode, AStoreThatSaysNothingIsGivenUp)
{
    HeldStore held(daemon.store);
    daemon.clock.patienceMs = 20;
    const uint32_t begin = daemon.clock.now;
    ClientSide client = daemon.open({.url = URL});
    daemon.rounds(2);
    EXPECT_GT(daemon.clock.now - begin, 8000U);
    EXPECT_EQ(client.readAll(), "") << "too late for any reply";
    held.release();
    EXPECT_EQ(daemon.exchange({.url = URL}), okReply("name=Entrance\r\n"));
}
