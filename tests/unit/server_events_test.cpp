#include "daemon/notify/notify_stream.h"
#include "daemon/session/globals.h"
#include "tests/fakes/in_process_server.h"

#include <gtest/gtest.h>

namespace
{

using Records = std::vector<EventRecord>;

EventRecord input(int32_t index, int32_t state)
{
    return {index, 0, 1, state, 0};
}

EventRecord motion(int32_t index, int32_t state, int32_t type = 3)
{
    return {index, 0, type, state, 0};
}

class Events : public testing::Test
{
  protected:
    /** Hands one message to the daemon; gives the result of handling it. */
    int take(const std::string &message)
    {
        daemon.sendEventText(message);
        return KelpaFdServer_HandleEventMsg(daemon.server);
    }
    int take(const Records &events)
    {
        daemon.sendEvents(events);
        return KelpaFdServer_HandleEventMsg(daemon.server);
    }
    /** States and flags: "inputs 0100000000 motion 10000 changed motion". */
    std::string state() const
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
    void clearState()
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
    NotifyStream() { daemon.round(); }

    ClientSide openStream()
    {
        ClientSide stream = daemon.open({.url = "/config/notify_stream.cgi"});
        daemon.round();
        EXPECT_EQ(stream.readNow(), NOTIFY_HEADER);
        return stream;
    }
    std::string after(const Records &events)
    {
        daemon.sendEvents(events);
        return after(0);
    }
    std::string after(uint32_t milliseconds)
    {
        daemon.clock.now += milliseconds;
        daemon.round();
        return client.readNow();
    }

    InProcessServer daemon;
    ClientSide client = openStream();
};

} // namespace

TEST_F(Events, ChangeTheNotifyState)
{
    const struct {
        const char *description;
        Records events;
        const char *expected;
    } cases[] = {
        {"an input becomes active", {input(1, 2)}, "inputs 0100000000 motion 00000 changed"},
        {"the last input", {input(9, 2)}, "inputs 0000000001 motion 00000 changed"},
        {"an input at rest says so", {input(0, 1)}, "inputs 0000000000 motion 00000"},
        {"KEPT: an input at rest says another state", {input(0, 3)}, "inputs 0000000000 motion 00000 changed"},
        {"an input goes on and off", {input(0, 2), input(0, 1)}, "inputs 0000000000 motion 00000 changed"},
        {"an active input says another", {input(0, 2), input(0, 7)}, "inputs 0000000000 motion 00000 changed"},
        {"inputs that are none", {input(10, 2), input(-1, 2)}, "inputs 0000000000 motion 00000"},
        {"a window becomes active", {motion(0, 2)}, "inputs 0000000000 motion 10000 motion"},
        {"the last window, by the other type", {motion(4, 2, 4)}, "inputs 0000000000 motion 00001 motion"},
        {"a window at rest sets the flag too", {motion(2, 1)}, "inputs 0000000000 motion 00000 motion"},
        {"any other state is at rest", {motion(2, 2), motion(2, 0)}, "inputs 0000000000 motion 00000 motion"},
        {"windows that are none", {motion(5, 2), motion(-1, 2)}, "inputs 0000000000 motion 00000"},
        {"other types", {motion(0, 2, 0), motion(0, 2, 2), motion(0, 2, 5)}, "inputs 0000000000 motion 00000"},
        {"both kinds in one message", {input(0, 2), motion(1, 2)}, "inputs 1000000000 motion 01000 changed motion"},
        {"nothing", {}, "inputs 0000000000 motion 00000"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        clearState();
        EXPECT_EQ(take(c.events), 0);
        EXPECT_EQ(state(), c.expected);
    }
    clearState();
    Records eleven(11, input(9, 1));
    eleven[9] = input(8, 2);
    eleven[10] = input(9, 2);
    EXPECT_EQ(take(eleven), 0);
    EXPECT_EQ(state(), "inputs 0000000010 motion 00000 changed") << "the eleventh event is dropped";
}

TEST_F(Events, ARepeatedInputIsNoChange)
{
    ASSERT_EQ(take(Records{input(0, 2)}), 0);
    EXPECT_EQ(state(), "inputs 1000000000 motion 00000 changed");
    daemon.round();
    EXPECT_EQ(state(), "inputs 1000000000 motion 00000") << "a round clears the flags";
    ASSERT_EQ(take(Records{input(0, 2)}), 0);
    EXPECT_EQ(state(), "inputs 1000000000 motion 00000");
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
        EXPECT_EQ(take(message), -1) << message.substr(0, 100);
        const std::string traced = testing::internal::GetCapturedStdout();
        EXPECT_NE(traced.find(trace.empty() ? "" : parse + trace), std::string::npos) << traced;
        EXPECT_EQ(state(), "inputs 0000000000 motion 00000");
    }
    EXPECT_EQ(take(good), 0) << "the next message is taken";
}

TEST_F(Events, TheBufferHoldsAMessageOf4095Bytes)
{
    const std::string head = "MSG 1 0000\n";
    std::string xml = "<eventmsg><event index=\"0\" type=\"1\" state=\"2\"/>";
    xml += std::string(4095 - head.size() - xml.size() - 11, ' ') + "</eventmsg>";
    ASSERT_EQ(take("MSG 1 " + std::to_string(xml.size()) + "\n" + xml), 0);
    EXPECT_EQ(state(), "inputs 1000000000 motion 00000 changed");
    xml.insert(xml.size() - 20, " ");
    EXPECT_EQ(take("MSG 1 " + std::to_string(xml.size()) + "\n" + xml), -1) << "one more is cut";
}

TEST_F(Events, ABadMessageEndsTheRoundAndTheFlagsSurviveIt)
{
    EXPECT_EQ(KelpaFdServer_HandleEventMsg(daemon.server), 0);
    EXPECT_EQ(daemon.clock.sleeps, std::vector<uint32_t>{100}) << "nothing to read";
    daemon.sendEventText("rubbish");
    g_tServerGlobals.tNotifyState.iInputChangedFlag = 1;
    ClientSide client = daemon.open({.url = "/unknown"});
    testing::internal::CaptureStdout();
    EXPECT_EQ(daemon.round(), -1);
    EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with(
        "buffer rubbish\n[KelpaFdServer_Process]KelpaFdServer_HandleEventMsg failed\n"));
    EXPECT_EQ(daemon.busySlots(), 1) << "taken, but not served in this round";
    EXPECT_EQ(state(), "inputs 0000000000 motion 00000 changed");
    EXPECT_EQ(daemon.round(), 0);
    EXPECT_EQ(client.readAll(), BAD_REQUEST);
    EXPECT_EQ(state(), "inputs 0000000000 motion 00000");
}

TEST_F(NotifyStream, ListsAllInputsWhenOneChanges)
{
    ClientSide second = openStream();
    EXPECT_EQ(after({input(1, 2)}), "input1=off\r\ninput2=on\r\n");
    EXPECT_EQ(second.readNow(), "input1=off\r\ninput2=on\r\n") << "every client is told the same";
    EXPECT_EQ(after({input(1, 2)}), "") << "repeated";
    EXPECT_EQ(after({input(5, 2)}), "input1=off\r\ninput2=on\r\n") << "an input that this camera does not have";
    EXPECT_EQ(after({motion(0, 2), motion(0, 2), motion(1, 2, 4)}), "md1=on\r\nmd2=on\r\n") << "one message";
    ClientSide late = daemon.open({.url = "/config/notify_stream.cgi"});
    daemon.round();
    EXPECT_EQ(late.readNow(), NOTIFY_HEADER + "md1=on\r\nmd2=on\r\n")
        << "motion is a state, an input's change is not";
}

TEST_F(NotifyStream, ReportsMotionOnceAndItsEndAfterOneAndAHalfSeconds)
{
    EXPECT_EQ(after({motion(1, 2)}), "md2=on\r\n");
    EXPECT_EQ(after(5000), "") << "still active";
    EXPECT_EQ(after({motion(1, 2)}), "");
    for (int i = 0; i < 3; ++i) { // flickers
        EXPECT_EQ(after({motion(1, 1)}), "");
        EXPECT_EQ(after(1400), "");
        EXPECT_EQ(after({motion(1, 2)}), "");
    }
    EXPECT_EQ(after({motion(1, 1)}), "");
    EXPECT_EQ(after(1500), "") << "not yet";
    EXPECT_EQ(after(1), "md2=off\r\n");
    EXPECT_EQ(after(5000), "");
    EXPECT_EQ(after({motion(3, 2)}), "") << "a window that this camera does not have";
}

TEST_F(NotifyStream, SaysThatItIsAliveAfter25QuietSeconds)
{
    EXPECT_EQ(after(25000), "");
    EXPECT_EQ(after(1), "keep_alive\r\n");
    EXPECT_EQ(after(25000), "");
    EXPECT_EQ(after({input(0, 2)}), "input1=on\r\ninput2=off\r\n");
    EXPECT_EQ(after(25000), "") << "any line puts it off";
    EXPECT_EQ(after({motion(0, 2)}), "md1=on\r\n");
    EXPECT_EQ(after(25000), "");
    EXPECT_EQ(after(1), "keep_alive\r\n");
    EXPECT_EQ(daemon.busySlots(), 1) << "no time limit";
}

TEST_F(NotifyStream, EndsWithItsClientAndDiscardsWhatThatSays)
{
    client.send("GET / HTTP/1.1\r\n\r\n" + std::string(30000, 'x'));
    EXPECT_EQ(after({input(0, 2)}), "input1=on\r\ninput2=off\r\n");
    client.close();
    testing::internal::CaptureStdout();
    daemon.rounds(10);
    EXPECT_EQ(daemon.busySlots(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[KelpaFdServer_StateRoutine_Receive]Recv FIN\n");
}

TEST(NotifyStreamStart, CountsBeyondTheStateAreClippedToIt)
{
    InProcessServer daemon({{"capability_ndi", "99"}, {"capability_nmotion", "99"}});
    ClientSide client = daemon.open({.url = "/config/notify_stream.cgi"});
    g_tServerGlobals.tNotifyState.iInputChangedFlag = 1;
    for (int32_t &state : g_tServerGlobals.tNotifyState.aiMotionState)
        state = 1;
    daemon.round();
    std::string expected = NOTIFY_HEADER;
    for (int i = 1; i <= 5; ++i)
        expected += "md" + std::to_string(i) + "=on\r\n";
    for (int i = 1; i <= 10; ++i)
        expected += "input" + std::to_string(i) + "=off\r\n";
    EXPECT_EQ(client.readNow(), expected);
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
