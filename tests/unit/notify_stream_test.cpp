#include "notify/notify_stream.h"
#include "server/globals.h"
#include "tests/fakes/in_process_server.h"

#include <gtest/gtest.h>
#include <string>

namespace
{

class NotifyStream : public testing::Test
{
  protected:
    NotifyStream() { daemon.Round(); }

    ClientSide OpenStream()
    {
        ClientSide stream = daemon.Open({.url = "/config/notify_stream.cgi"});
        daemon.Round();
        EXPECT_EQ(stream.ReadNow(), NOTIFY_HEADER);
        return stream;
    }
    /** Sends one event and runs the round that tells of it. */
    void Event(int type, int index, int state)
    {
        const std::string xml = "<eventmsg><event index=\"" + std::to_string(index) + "\" type=\"" +
                                std::to_string(type) + "\" state=\"" + std::to_string(state) + "\"/></eventmsg>";
        daemon.SendEventText("MSG 1 " + std::to_string(xml.size()) + "\n" + xml);
        daemon.Round();
    }
    void Input(int index, bool on) { Event(1, index, on ? 2 : 1); }
    void Motion(int index, bool on) { Event(3, index, on ? 2 : 1); }
    std::string After(uint32_t milliseconds)
    {
        daemon.clock.now += milliseconds;
        daemon.Round();
        return client.ReadNow();
    }

    InProcessServer daemon;
    ClientSide client = OpenStream();
};

} // namespace

TEST_F(NotifyStream, ListsAllInputsWhenOneChanges)
{
    Input(1, true);
    EXPECT_EQ(client.ReadNow(), "input1=off\r\ninput2=on\r\n");
    Input(1, true);
    EXPECT_EQ(client.ReadNow(), "") << "repeated";
    Input(0, true);
    EXPECT_EQ(client.ReadNow(), "input1=on\r\ninput2=on\r\n");
    Input(5, true);
    EXPECT_EQ(client.ReadNow(), "input1=on\r\ninput2=on\r\n") << "an input that this camera does not have";
    Input(1, false);
    EXPECT_EQ(client.ReadNow(), "input1=on\r\ninput2=off\r\n");
}

TEST_F(NotifyStream, TellsEveryClientTheSame)
{
    ClientSide second = OpenStream();
    Input(0, true);
    EXPECT_EQ(client.ReadNow(), "input1=on\r\ninput2=off\r\n");
    EXPECT_EQ(second.ReadNow(), "input1=on\r\ninput2=off\r\n");
    Motion(0, true);
    ClientSide late = daemon.Open({.url = "/config/notify_stream.cgi"});
    daemon.Round();
    EXPECT_EQ(late.ReadNow(), NOTIFY_HEADER + "md1=on\r\n") << "motion is a state, an input's change is not";
}

TEST_F(NotifyStream, ReportsMotionOnceAndItsEndAfterOneAndAHalfSeconds)
{
    Motion(1, true);
    EXPECT_EQ(client.ReadNow(), "md2=on\r\n");
    EXPECT_EQ(After(5000), "") << "still active";
    Motion(1, true);
    EXPECT_EQ(client.ReadNow(), "");
    Motion(1, false);
    EXPECT_EQ(After(1500), "") << "not yet";
    EXPECT_EQ(After(1), "md2=off\r\n");
    EXPECT_EQ(After(5000), "");
}

TEST_F(NotifyStream, MotionThatFlickersIsOneMotion)
{
    for (int i = 0; i < 5; ++i) {
        Motion(2, true);
        EXPECT_EQ(client.ReadNow(), i == 0 ? "md3=on\r\n" : "");
        Motion(2, false);
        EXPECT_EQ(After(1400), "");
    }
    EXPECT_EQ(After(101), "md3=off\r\n");
    Motion(3, true);
    EXPECT_EQ(client.ReadNow(), "") << "a window that this camera does not have";
}

TEST_F(NotifyStream, SaysThatItIsAliveAfter25QuietSeconds)
{
    EXPECT_EQ(After(25000), "");
    EXPECT_EQ(After(1), "keep_alive\r\n");
    EXPECT_EQ(After(25000), "");
    Input(0, true);
    EXPECT_EQ(client.ReadNow(), "input1=on\r\ninput2=off\r\n");
    EXPECT_EQ(After(25000), "") << "any line puts it off";
    Motion(0, true);
    EXPECT_EQ(client.ReadNow(), "md1=on\r\n");
    EXPECT_EQ(After(25000), "");
    EXPECT_EQ(After(1), "keep_alive\r\n");
}

TEST_F(NotifyStream, LivesAsLongAsItsClient)
{
    EXPECT_EQ(After(8001), "");
    EXPECT_EQ(daemon.BusySlots(), 1) << "no time limit";
    client.Send(std::string(15000, 'x'));
    daemon.Rounds(3);
    EXPECT_EQ(daemon.BusySlots(), 1) << "what the client says is thrown away";
    Input(0, true);
    EXPECT_EQ(client.ReadNow(), "input1=on\r\ninput2=off\r\n");
    client.Close();
    daemon.Rounds(2);
    EXPECT_EQ(daemon.BusySlots(), 0);
}

TEST(NotifyStreamStart, CountsBeyondTheStateAreClippedToIt)
{
    InProcessServer daemon({{"capability_ndi", "99"}, {"capability_nmotion", "99"}});
    ClientSide client = daemon.Open({.url = "/config/notify_stream.cgi"});
    g_tServerGlobals.tNotifyState.iInputChangedFlag = 1;
    for (int32_t &state : g_tServerGlobals.tNotifyState.aiMotionState)
        state = 1;
    daemon.Round();
    std::string expected = NOTIFY_HEADER;
    for (int i = 1; i <= 5; ++i)
        expected += "md" + std::to_string(i) + "=on\r\n";
    for (int i = 1; i <= 10; ++i)
        expected += "input" + std::to_string(i) + "=off\r\n";
    EXPECT_EQ(client.ReadNow(), expected);
}

TEST(NotifyStreamStart, ReadsTheCountsOrFails)
{
    InProcessServer daemon;
    NotifyState state = {1, 1, 1, 1, {1}, {1}};
    daemon.store.Set({{"capability_ndi", "4"}, {"capability_nmotion", "0"}});
    EXPECT_EQ(NotifyStream_Initial(state), 0);
    EXPECT_EQ(daemon.store.Requests().back(), "get NameValue 99 0\ncapability_ndi&capability_nmotion&");
    EXPECT_EQ(state.iDINum, 4);
    EXPECT_EQ(state.iMotionNum, 0);
    EXPECT_EQ(state.aiInputState[0] + state.aiMotionState[0] + state.iMotionFlag + state.iInputChangedFlag, 0);
    daemon.store.Remove("capability_nmotion");
    EXPECT_EQ(NotifyStream_Initial(state), -1);
    daemon.store.Set("capability_nmotion", "12345678");
    EXPECT_EQ(NotifyStream_Initial(state), -1);
}
