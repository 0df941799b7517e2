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
    ClientSide OpenStream()
    {
        ClientSide client = daemon.Open({.url = STREAM});
        daemon.Rounds(3);
        EXPECT_EQ(client.ReadNow(), NOTIFY_HEADER);
        return client;
    }
    /** How long the loop would rest now, in milliseconds; -1 without limit. The rounds before write the traces. */
    int Duration()
    {
        daemon.Rounds(3);
        return daemon.clock.rests.back();
    }

    InProcessServer daemon;
};

class FairMode : public Rest
{
  protected:
    FairMode() { Wait_SetFair(true); }
};

/** A store that says nothing to a request, the nth from now or every one, until it is released. */
class HeldStore
{
  public:
    explicit HeldStore(
        FakeStore &store, int nth = 0, std::function<void()> first = [] {})
        : m_store(store)
    {
        store.Before(
            [this, first] {
                first();
                m_released.wait(false);
            },
            nth);
    }
    void Release()
    {
        m_released = true;
        m_released.notify_all();
        m_store.WaitUntilIdle();
        m_store.Heal();
    }

  private:
    FakeStore &m_store;
    std::atomic<bool> m_released = false;
};

} // namespace

TEST_F(Rest, LastsUntilTheEarliestDeadline)
{
    EXPECT_EQ(Duration(), -1) << "nobody is there";
    NetUtility_RequestNetworkRestart();
    EXPECT_EQ(Duration(), 10010) << "the tick is 10 ms long";
    daemon.clock.now += 9990;
    EXPECT_EQ(Duration(), 20);
    daemon.clock.now += 20;
    daemon.Round();
    EXPECT_EQ(daemon.store.LastSet(), "network_restart=1");

    ClientSide stream = OpenStream();
    EXPECT_EQ(Duration(), 25010) << "keep-alive";
    daemon.SendEvents(std::span(&MOTION_ON, 1));
    EXPECT_EQ(Duration(), 25010) << "an active window asks for nothing";
    daemon.SendEvents(std::span(&MOTION_OFF, 1));
    EXPECT_EQ(Duration(), 1510) << "end of the motion";
    daemon.clock.now = UINT32_MAX - 99;
    daemon.Rounds(1);
    EXPECT_EQ(Duration(), 109) << "until the tick wraps around";
}

TEST_F(Rest, IsNoneWhileASessionHasToBeDrivenOn)
{
    const ClientSide client = daemon.Open({.method = "POST", .url = URL, .body = "name=", .contentLength = "20"});
    EXPECT_EQ(Duration(), 1);
    EXPECT_EQ(daemon.clock.sleeps.back(), 100U) << "an unfinished body stalls the loop";
}

TEST_F(Rest, KeepsTheTimeOfAMotionThatNobodyLookedAt)
{
    ClientSide stream = OpenStream();
    daemon.SendEvents(std::span(&MOTION_ON, 1));
    daemon.Round();
    EXPECT_EQ(stream.ReadNow(), "md1=on\r\n");
    daemon.clock.now += 20000; // no round in all this time
    daemon.SendEvents(std::span(&MOTION_OFF, 1));
    daemon.Round();
    daemon.clock.now += 1500;
    daemon.Round();
    EXPECT_EQ(stream.ReadNow(), "") << "active until the event said otherwise";
    daemon.clock.now += 1;
    daemon.Round();
    EXPECT_EQ(stream.ReadNow(), "md1=off\r\n");
}

TEST_F(Rest, AStopRestoresARecordingThatWasSwitchedOffForAChange)
{
    daemon.store.Set({{"event_i0_enable", "0"}, {"recording_i0_enable", "1"}});
    daemon.clock.patienceMs = 20;
    HeldStore held(daemon.store, 5, [] { Wait_RequestStop(); }); // the write of the share, recording is off by then
    (void)daemon.Open({.url = "/cgi/admin/recorder.cgi",
                       .query = "byMotion=0&byIn1=0&byIn2=0&toUSB=0&toSamba=1&schedule=0&continuous=1&server=nas&"
                                "shareFolder=clips"});
    daemon.Round();
    held.Release();
    EXPECT_EQ(daemon.store.Sets().at(2), "server_i0_ns_location=\\\\nas\\clips&");
    EXPECT_EQ(daemon.store.LastSet(), "event_i0_enable=0&recording_i0_enable=1&");
}

TEST_F(FairMode, AnUnfinishedBodyHoldsNobodyUp)
{
    ClientSide slow = daemon.Open({.method = "POST", .url = URL, .body = "name=", .contentLength = "8"});
    EXPECT_EQ(Duration(), 8010) << "until its limit";
    slow.Send("a");
    daemon.Round();
    EXPECT_EQ(daemon.Exchange({.url = URL}).substr(0, 15), "HTTP/1.1 200 OK");
    EXPECT_TRUE(daemon.clock.sleeps.empty());
    slow.Send("bcd");
    daemon.Rounds(2);
    EXPECT_EQ(slow.ReadAll(), OkReply("name=\r\n"));

    ClientSide silent = daemon.Open({.method = "POST", .url = URL, .body = "name=", .contentLength = "8"});
    daemon.Round();
    daemon.clock.now += 8001;
    daemon.Round();
    EXPECT_EQ(silent.ReadAll(), "");
}

TEST_F(FairMode, AClientThatDoesNotReadHoldsNobodyUp)
{
    ClientSide stuck = OpenStream();
    ClientSide other = OpenStream();
    for (int i = 0; i < 2000; ++i) {
        const EventRecord event = {0, 0, 1, i % 2 == 0 ? 2 : 1, 0};
        daemon.SendEvents(std::span(&event, 1));
        daemon.Round();
        ASSERT_EQ(other.ReadNow(), i % 2 == 0 ? "input1=on\r\ninput2=off\r\n" : "input1=off\r\ninput2=off\r\n")
            << i;
    }
    EXPECT_TRUE(daemon.clock.sleeps.empty());
    EXPECT_EQ(daemon.BusySlots(), 2);
    EXPECT_FALSE(stuck.ReadNow().empty());
}

TEST_F(FairMode, AStoreThatSaysNothingIsGivenUp)
{
    HeldStore held(daemon.store);
    daemon.clock.patienceMs = 20;
    const uint32_t begin = daemon.clock.now;
    ClientSide client = daemon.Open({.url = URL});
    daemon.Rounds(2);
    EXPECT_GT(daemon.clock.now - begin, 8000U);
    EXPECT_EQ(client.ReadAll(), "") << "too late for any reply";
    held.Release();
    EXPECT_EQ(daemon.Exchange({.url = URL}), OkReply("name=Entrance\r\n"));
}
