#include "daemon/notify/notify_stream.h"
#include "daemon/session/globals.h"
#include "tests/fakes/in_process_server.h"

#include <gtest/gtest.h>
#include <sstream>

namespace
{

using Records = std::vector<EventRecord>;

/** The events of a text like "input1=2 motion0=1": kind, index and state; a motion of the other type is "Motion".
 */
Records records(const std::string &text)
{
    Records events;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        const size_t digits = word.find_first_of("-0123456789");
        const int type = word[0] == 'i' ? 1 : word[0] == 'm' ? 3 : word[0] == 'M' ? 4 : word[0] - 'A';
        events.push_back({std::stoi(word.substr(digits)), 0, type, std::stoi(word.substr(word.find('=') + 1)), 0});
    }
    return events;
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
    /** States and flags: "inputs 0100000000 motion 10000 changed motion". */
    static std::string state()
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
    /** Lets the events happen to a camera at rest; gives its state then. */
    std::string after(const Records &events)
    {
        NotifyState &notify = g_tServerGlobals.tNotifyState;
        notify = {0, 0, notify.iDINum, notify.iMotionNum, {}, {}};
        daemon.sendEvents(events);
        EXPECT_EQ(KelpaFdServer_HandleEventMsg(daemon.server), 0);
        return state();
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
    std::string after(const std::string &events)
    {
        daemon.sendEvents(records(events));
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
    const std::pair<const char *, const char *> cases[] = {
        {"input1=2", "inputs 0100000000 motion 00000 changed"},
        {"input9=2", "inputs 0000000001 motion 00000 changed"},
        {"input0=1", "inputs 0000000000 motion 00000"},
        {"input0=3", "inputs 0000000000 motion 00000 changed"}, // KEPT: an input at rest says another state
        {"input0=2 input0=7", "inputs 0000000000 motion 00000 changed"},
        {"input10=2 input-1=2 motion5=2 motion-1=2", "inputs 0000000000 motion 00000"}, // there are no such ones
        {"motion0=2", "inputs 0000000000 motion 10000 motion"},
        {"Motion4=2", "inputs 0000000000 motion 00001 motion"},
        {"motion2=1", "inputs 0000000000 motion 00000 motion"}, // at rest, but the flag is set too
        {"motion2=2 motion2=0", "inputs 0000000000 motion 00000 motion"},
        {"A0=2 C0=2 F0=2", "inputs 0000000000 motion 00000"}, // types 0, 2 and 5
        {"input0=2 motion1=2", "inputs 1000000000 motion 01000 changed motion"},
        {"", "inputs 0000000000 motion 00000"},
    };
    for (const auto &[events, expected] : cases)
        EXPECT_EQ(after(records(events)), expected) << events;
    Records eleven(9, records("input9=1")[0]);
    for (const EventRecord &last : records("input8=2 input9=2"))
        eleven.push_back(last);
    EXPECT_EQ(after(eleven), "inputs 0000000010 motion 00000 changed") << "the eleventh event is dropped";
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
    for (const size_t blanks : {4026, 4027}) { // the buffer holds a message of 4095 bytes
        std::string message = "MSG 1 " + std::to_string(58 + blanks) + good.substr(8);
        message.insert(message.size() - 11, blanks, ' ');
        EXPECT_EQ(take(message), message.size() <= 4095 ? 0 : -1) << message.size();
    }
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
    EXPECT_EQ(after("input1=2"), "input1=off\r\ninput2=on\r\n");
    EXPECT_EQ(second.readNow(), "input1=off\r\ninput2=on\r\n") << "every client is told the same";
    EXPECT_EQ(after("input1=2"), "") << "repeated";
    EXPECT_EQ(after("input5=2"), "input1=off\r\ninput2=on\r\n") << "an input that this camera does not have";
    EXPECT_EQ(after("motion0=2 motion0=2 Motion1=2"), "md1=on\r\nmd2=on\r\n") << "one message";
    ClientSide late = daemon.open({.url = "/config/notify_stream.cgi"});
    daemon.round();
    EXPECT_EQ(late.readNow(), NOTIFY_HEADER + "md1=on\r\nmd2=on\r\n")
        << "motion is a state, an input's change is not";
}

TEST_F(NotifyStream, ReportsMotionOnceAndItsEndAfterOneAndAHalfSeconds)
{
    EXPECT_EQ(after("motion1=2"), "md2=on\r\n");
    EXPECT_EQ(after(5000), "") << "still active";
    EXPECT_EQ(after("motion1=2"), "");
    for (int i = 0; i < 3; ++i) { // flickers
        EXPECT_EQ(after("motion1=1"), "");
        EXPECT_EQ(after(1400), "");
        EXPECT_EQ(after("motion1=2"), "");
    }
    EXPECT_EQ(after("motion1=1"), "");
    EXPECT_EQ(after(1500), "") << "not yet";
    EXPECT_EQ(after(1), "md2=off\r\n");
    EXPECT_EQ(after(5000), "");
    EXPECT_EQ(after("motion3=2"), "") << "a window that this camera does not have";
}

TEST_F(NotifyStream, SaysThatItIsAliveAfter25QuietSeconds)
{
    EXPECT_EQ(after(25000), "");
    EXPECT_EQ(after(1), "keep_alive\r\n");
    EXPECT_EQ(after(25000), "");
    EXPECT_EQ(after("input0=2"), "input1=on\r\ninput2=off\r\n");
    EXPECT_EQ(after(25000), "") << "any line puts it off";
    EXPECT_EQ(after("motion0=2"), "md1=on\r\n");
    EXPECT_EQ(after(25000), "");
    EXPECT_EQ(after(1), "keep_alive\r\n");
    EXPECT_EQ(daemon.busySlots(), 1) << "no time limit";
}

TEST_F(NotifyStream, EndsWithItsClientAndDiscardsWhatThatSays)
{
    client.send("GET / HTTP/1.1\r\n\r\n" + std::string(30000, 'x'));
    EXPECT_EQ(after("input0=2"), "input1=on\r\ninput2=off\r\n");
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
    const std::string told = client.readNow();
    EXPECT_TRUE(told.starts_with(NOTIFY_HEADER + "md1=on\r\n")) << told;
    EXPECT_NE(told.find("md5=on\r\ninput1=off\r\n"), std::string::npos) << told;
    EXPECT_TRUE(told.ends_with("input10=off\r\n")) << told;
}
