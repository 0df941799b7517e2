#include "server/globals.h"
#include "tests/fakes/in_process_server.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

std::string Message(const std::vector<EventRecord> &events)
{
    std::string xml = "<eventmsg>";
    for (const EventRecord &e : events)
        xml += "<event index=\"" + std::to_string(e.iIndex) + "\" type=\"" + std::to_string(e.iType) +
               "\" state=\"" + std::to_string(e.iState) + "\"/>";
    xml += "</eventmsg>";
    return "MSG 1 " + std::to_string(xml.size()) + "\n" + xml;
}

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

} // namespace

TEST_F(Events, ChangeTheNotifyState)
{
    const struct {
        const char *description;
        std::vector<EventRecord> events;
        const char *expected;
    } cases[] = {
        {"an input becomes active", {Input(1, 2)}, "inputs 0100000000 motion 00000 changed"},
        {"the last input", {Input(9, 2)}, "inputs 0000000001 motion 00000 changed"},
        {"an input at rest says so", {Input(0, 1)}, "inputs 0000000000 motion 00000"},
        {"an input goes on and off", {Input(0, 2), Input(0, 1)}, "inputs 0000000000 motion 00000 changed"},
        {"an active input says another state",
         {Input(0, 2), Input(0, 7)},
         "inputs 0000000000 motion 00000 changed"},
        {"inputs that are none", {Input(10, 2), Input(-1, 2), Input(1000000, 2)}, "inputs 0000000000 motion 00000"},
        {"a window becomes active", {Motion(0, 2)}, "inputs 0000000000 motion 10000 motion"},
        {"the last window, by the other type", {Motion(4, 2, 4)}, "inputs 0000000000 motion 00001 motion"},
        {"a window at rest sets the flag too", {Motion(2, 1)}, "inputs 0000000000 motion 00000 motion"},
        {"any other state is at rest", {Motion(2, 2), Motion(2, 0)}, "inputs 0000000000 motion 00000 motion"},
        {"windows that are none", {Motion(5, 2), Motion(-1, 2)}, "inputs 0000000000 motion 00000"},
        {"other types", {Motion(0, 2, 0), Motion(0, 2, 2), Motion(0, 2, 5)}, "inputs 0000000000 motion 00000"},
        {"both kinds in one message", {Input(0, 2), Motion(1, 2)}, "inputs 1000000000 motion 01000 changed motion"},
        {"nothing", {}, "inputs 0000000000 motion 00000"},
        {"the eleventh event is dropped",
         {Input(0, 2), Input(1, 2), Input(2, 2), Input(3, 2), Input(4, 2), Input(5, 2), Input(6, 2), Input(7, 2),
          Input(8, 2), Input(9, 1), Input(9, 2)},
         "inputs 1111111110 motion 00000 changed"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        ClearState();
        EXPECT_EQ(Take(Message(c.events)), 0);
        EXPECT_EQ(State(), c.expected);
    }
}

TEST_F(Events, ARepeatedInputIsNoChange)
{
    ASSERT_EQ(Take(Message({Input(0, 2)})), 0);
    EXPECT_EQ(State(), "inputs 1000000000 motion 00000 changed");
    daemon.Round();
    EXPECT_EQ(State(), "inputs 1000000000 motion 00000") << "a round clears the flags";
    ASSERT_EQ(Take(Message({Input(0, 2)})), 0);
    EXPECT_EQ(State(), "inputs 1000000000 motion 00000");
    ASSERT_EQ(Take(Message({Motion(0, 2)})), 0);
    daemon.Round();
    ASSERT_EQ(Take(Message({Motion(0, 2)})), 0);
    EXPECT_EQ(State(), "inputs 1000000000 motion 10000 motion") << "motion is told each time";
}

TEST_F(Events, KeptAnInputAtRestThatReportsAnotherStateHasChanged)
{
    ASSERT_EQ(Take(Message({Input(0, 3)})), 0);
    EXPECT_EQ(State(), "inputs 0000000000 motion 00000 changed");
}

TEST_F(Events, AMessageThatIsNoneChangesNothing)
{
    const std::string good = Message({Input(0, 2)});
    const std::string halfBad =
        "<eventmsg><event index=\"0\" type=\"1\" state=\"2\"/><event index=\"x\"/></eventmsg>";
    for (const std::string &message :
         {std::string(), std::string("hello"), "MSG 2" + good.substr(5), good.substr(0, good.size() - 1),
          good + "more", "MSG 1 " + std::to_string(halfBad.size()) + "\n" + halfBad,
          good.substr(0, 20) + std::string(1, '\0') + good.substr(20), std::string(4095, 'x'),
          std::string(5000, 'M')}) {
        EXPECT_EQ(Take(message), -1) << message.substr(0, 100);
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

TEST_F(Events, NothingToReadCostsASleep)
{
    EXPECT_EQ(KelpaFdServer_HandleEventMsg(daemon.server), 0);
    EXPECT_EQ(daemon.clock.sleeps, std::vector<uint32_t>{100});
}

TEST_F(Events, ABadMessageEndsTheRoundAndTheFlagsSurviveIt)
{
    daemon.SendEventText("rubbish");
    g_tServerGlobals.tNotifyState.iInputChangedFlag = 1;
    ClientSide client = daemon.Open({.url = "/unknown"});
    EXPECT_EQ(daemon.Round(), -1);
    EXPECT_EQ(daemon.BusySlots(), 1) << "taken, but not served in this round";
    EXPECT_EQ(State(), "inputs 0000000000 motion 00000 changed");
    EXPECT_EQ(daemon.Round(), 0);
    EXPECT_EQ(client.ReadAll(), BAD_REQUEST);
    EXPECT_EQ(State(), "inputs 0000000000 motion 00000");
}
