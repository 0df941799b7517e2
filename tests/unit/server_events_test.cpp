#include "daemon/notify/notify_stream.h"
#include "daemon/session/globals.h"
#include "tests/fakes/in_process_server.h"

#include <gtest/gtest.h>

namespace
{

using Records = std::vector<EventRecord>;

EventRecord Input(int32_t index, int32_t state)
{
    return {index, 0, 1, state, 0};
}

EventRecord Motion(int32_t index, int32_t state, int32_t type = 3)
{
    return {index, 0, type, state, 0};
}

class Events : public testing::Test
{
  protected:
    /** Hands one message to the daemon; gives the result of handling it. */
    int Take(const std::string &message)
    {
        daemon.SendEventText(message);
        return KelpaFdServer_HandleEventMsg(daemon.server);
    }
    int Take(const Records &events)
    {
        daemon.SendEvents(events);
        return KelpaFdServer_HandleEventMsg(daemon.server);
    }
    /** States and flags: "inputs 0100000000 motion 10000 changed motion". */
    std::string State() const
    {
        const NotifyState &state = g_tServerGlobals.tNotifyState;
        std::string text = "inputs ";
        for (const int32_t input : state.aiInputState)
            text += std::to_string(input);
        text += " motion ";
        for (const int32_t motion : state.aiMotionState)
            text += std::to_string(motion);
        return text + (state.iInputChangedFlag != 0 ? " changed" : "") + (state.iMotionFlag != 0 ? " motion" : "");
    }
    void ClearState()
    {
        NotifyState &state = g_tServerGlobals.tNotifyState;
        state = {0, 0, state.iDINum, state.iMotionNum, {}, {}};
    }

    InProcessServer daemon;
};

/** A client that watches, and what it reads after each event. */
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
    std::string After(const Records &events)
    {
        daemon.SendEvents(events);
        return After(0);
    }
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

TEST_F(Events, ChangeTheNotifyState)
{
    const struct {
        const char *description;
        Records events;
        const char *expected;
    } cases[] = {
        {"an input becomes active", {Input(1, 2)}, "inputs 0100000000 motion 00000 changed"},
        {"the last input", {Input(9, 2)}, "inputs 0000000001 motion 00000 changed"},
        {"an input at rest says so", {Input(0, 1)}, "inputs 0000000000 motion 00000"},
        {"KEPT: an input at rest says another state", {Input(0, 3)}, "inputs 0000000000 motion 00000 changed"},
        {"an input goes on and off", {Input(0, 2), Input(0, 1)}, "inputs 0000000000 motion 00000 changed"},
        {"an active input says another", {Input(0, 2), Input(0, 7)}, "inputs 0000000000 motion 00000 changed"},
        {"inputs that are none", {Input(10, 2), Input(-1, 2)}, "inputs 0000000000 motion 00000"},
        {"a window becomes active", {Motion(0, 2)}, "inputs 0000000000 motion 10000 motion"},
        {"the last window, by the other type", {Motion(4, 2, 4)}, "inputs 0000000000 motion 00001 motion"},
        {"a window at rest sets the flag too", {Motion(2, 1)}, "inputs 0000000000 motion 00000 motion"},
        {"any other state is at rest", {Motion(2, 2), Motion(2, 0)}, "inputs 0000000000 motion 00000 motion"},
        {"windows that are none", {Motion(5, 2), Motion(-1, 2)}, "inputs 0000000000 motion 00000"},
        {"other types", {Motion(0, 2, 0), Motion(0, 2, 2), Motion(0, 2, 5)}, "inputs 0000000000 motion 00000"},
        {"both kinds in one message", {Input(0, 2), Motion(1, 2)}, "inputs 1000000000 motion 01000 changed motion"},
        {"nothing", {}, "inputs 0000000000 motion 00000"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        ClearState();
        EXPECT_EQ(Take(c.events), 0);
        EXPECT_EQ(State(), c.expected);
    }
    ClearState();
    Records eleven(11, Input(9, 1));
    eleven[9] = Input(8, 2);
    eleven[10] = Input(9, 2);
    EXPECT_EQ(Take(eleven), 0);
    EXPECT_EQ(State(), "inputs 0000000010 motion 00000 changed") << "the eleventh event is dropped";
}

TEST_F(Events, ARepeatedInputIsNoChange)
{
    ASSERT_EQ(Take(Records{Input(0, 2)}), 0);
    EXPECT_EQ(State(), "inputs 1000000000 motion 00000 changed");
    daemon.Round();
    EXPECT_EQ(State(), "inputs 1000000000 motion 00000") << "a round clears the flags";
    ASSERT_EQ(Take(Records{Input(0, 2)}), 0);
    EXPECT_EQ(State(), "inputs 1000000000 motion 00000");
}

TEST_F(Events, AMessageThatIsNoneChangesNothing)
{
    const std::string good = "MSG 1 58\n<eventmsg><event index=\"0\" type=\"1\" state=\"2\"/></eventmsg>";
    std::string halfBad = "<eventmsg><event index=\"0\" type=\"1\" state=\"2\"/><event index=\"x\"/></eventmsg>";
    halfBad.insert(0, "MSG 1 " + std::to_string(halfBad.size()) + "\n");
    const std::string parse = "[KelpaFdServer_ParseEventMsg]", noLength = "Unable to get data length from buffer ";
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"hello", noLength},
        {"MSG 2" + good.substr(5), "Incoming message MSG 2"},
        {good.substr(0, good.size() - 1), noLength},
        {good + "more", "Unable to parse incoming event message MSG 1"},
        {halfBad, "Unable to parse incoming event message MSG 1"},
        {good.substr(0, 20) + std::string(1, '\0') + good.substr(20), noLength},
        {std::string(4095, 'x'), noLength},
        {std::string(5000, 'M'), noLength},
    };
    for (const auto &[message, trace] : cases) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(Take(message), -1) << message.substr(0, 100);
        const std::string traced = testing::internal::GetCapturedStdout();
        EXPECT_NE(traced.find(trace.empty() ? "" : parse + trace), std::string::npos) << traced;
        EXPECT_EQ(State(), "inputs 0000000000 motion 00000");
    }
    EXPECT_EQ(Take(good), 0) << "the next message is taken";
}

TEST_F(Events, TheBufferHoldsAMessageOf4095Bytes)
{
    const std::string head = "MSG 1 0000\n";
    std::string xml = "<eventmsg><event index=\"0\" type=\"1\" state=\"2\"/>";
    xml += std::string(4095 - head.size() - xml.size() - 11, ' ') + "</eventmsg>";
    ASSERT_EQ(Take("MSG 1 " + std::to_string(xml.size()) + "\n" + xml), 0);
    EXPECT_EQ(State(), "inputs 1000000000 motion 00000 changed");
    xml.insert(xml.size() - 20, " ");
    EXPECT_EQ(Take("MSG 1 " + std::to_string(xml.size()) + "\n" + xml), -1) << "one more is cut";
}

TEST_F(Events, ABadMessageEndsTheRoundAndTheFlagsSurviveIt)
{
    EXPECT_EQ(KelpaFdServer_HandleEventMsg(daemon.server), 0);
    EXPECT_EQ(daemon.clock.sleeps, std::vector<uint32_t>{100}) << "nothing to read";
    daemon.SendEventText("rubbish");
    g_tServerGlobals.tNotifyState.iInputChangedFlag = 1;
    ClientSide client = daemon.Open({.url = "/unknown"});
    testing::internal::CaptureStdout();
    EXPECT_EQ(daemon.Round(), -1);
    EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with(
        "buffer rubbish\n[KelpaFdServer_Process]KelpaFdServer_HandleEventMsg failed\n"));
    EXPECT_EQ(daemon.BusySlots(), 1) << "taken, but not served in this round";
    EXPECT_EQ(State(), "inputs 0000000000 motion 00000 changed");
    EXPECT_EQ(daemon.Round(), 0);
    EXPECT_EQ(client.ReadAll(), BAD_REQUEST);
    EXPECT_EQ(State(), "inputs 0000000000 motion 00000");
}

TEST_F(NotifyStream, ListsAllInputsWhenOneChanges)
{
    ClientSide second = OpenStream();
    EXPECT_EQ(After({Input(1, 2)}), "input1=off\r\ninput2=on\r\n");
    EXPECT_EQ(second.ReadNow(), "input1=off\r\ninput2=on\r\n") << "every client is told the same";
    EXPECT_EQ(After({Input(1, 2)}), "") << "repeated";
    EXPECT_EQ(After({Input(5, 2)}), "input1=off\r\ninput2=on\r\n") << "an input that this camera does not have";
    EXPECT_EQ(After({Motion(0, 2), Motion(0, 2), Motion(1, 2, 4)}), "md1=on\r\nmd2=on\r\n") << "one message";
    ClientSide late = daemon.Open({.url = "/config/notify_stream.cgi"});
    daemon.Round();
    EXPECT_EQ(late.ReadNow(), NOTIFY_HEADER + "md1=on\r\nmd2=on\r\n")
        << "motion is a state, an input's change is not";
}

TEST_F(NotifyStream, ReportsMotionOnceAndItsEndAfterOneAndAHalfSeconds)
{
    EXPECT_EQ(After({Motion(1, 2)}), "md2=on\r\n");
    EXPECT_EQ(After(5000), "") << "still active";
    EXPECT_EQ(After({Motion(1, 2)}), "");
    for (int i = 0; i < 3; ++i) { // flickers
        EXPECT_EQ(After({Motion(1, 1)}), "");
        EXPECT_EQ(After(1400), "");
        EXPECT_EQ(After({Motion(1, 2)}), "");
    }
    EXPECT_EQ(After({Motion(1, 1)}), "");
    EXPECT_EQ(After(1500), "") << "not yet";
    EXPECT_EQ(After(1), "md2=off\r\n");
    EXPECT_EQ(After(5000), "");
    EXPECT_EQ(After({Motion(3, 2)}), "") << "a window that this camera does not have";
}

TEST_F(NotifyStream, SaysThatItIsAliveAfter25QuietSeconds)
{
    EXPECT_EQ(After(25000), "");
    EXPECT_EQ(After(1), "keep_alive\r\n");
    EXPECT_EQ(After(25000), "");
    EXPECT_EQ(After({Input(0, 2)}), "input1=on\r\ninput2=off\r\n");
    EXPECT_EQ(After(25000), "") << "any line puts it off";
    EXPECT_EQ(After({Motion(0, 2)}), "md1=on\r\n");
    EXPECT_EQ(After(25000), "");
    EXPECT_EQ(After(1), "keep_alive\r\n");
    EXPECT_EQ(daemon.BusySlots(), 1) << "no time limit";
}

TEST_F(NotifyStream, EndsWithItsClientAndDiscardsWhatThatSays)
{
    client.Send("GET / HTTP/1.1\r\n\r\n" + std::string(30000, 'x'));
    EXPECT_EQ(After({Input(0, 2)}), "input1=on\r\ninput2=off\r\n");
    client.Close();
    testing::internal::CaptureStdout();
    daemon.Rounds(10);
    EXPECT_EQ(daemon.BusySlots(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[KelpaFdServer_StateRoutine_Receive]Recv FIN\n");
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

TEST(NotifyStreamStart, BeginsWithNothingToTell)
{
    InProcessServer daemon({{"capability_ndi", "4"}, {"capability_nmotion", "0"}});
    NotifyState state = {1, 1, 1, 1, {1}, {1}};
    EXPECT_EQ(NotifyStream_Initial(state), 0);
    EXPECT_EQ(state.iDINum, 4);
    EXPECT_EQ(state.iMotionNum, 0);
    EXPECT_EQ(state.aiInputState[0] + state.aiMotionState[0] + state.iMotionFlag + state.iInputChangedFlag, 0);
}
