#include "families/events/trigger.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

TEST(Trigger, EveryTriggerComesBackFromTheStore)
{
    for (int slot = 0; slot < 3; ++slot) {
        for (int flags = 0; flags < 8; ++flags) {
            const EventTrigger trigger = {flags & 1, flags >> 1 & 1, flags >> 2 & 1};
            if (trigger.iByMotion == 1 && flags != 1)
                continue; // refused before it gets here
            TextBuffer<128> pairs;
            Trigger_AddPairs(pairs, slot, trigger, "seq");
            std::string reply(pairs.View());
            std::replace(reply.begin(), reply.end(), '&', '\n');
            EventTrigger read = {};
            EXPECT_EQ(GetEventTriggerFromText(reply, read, slot), 0) << reply;
            EXPECT_EQ(read.iByMotion, trigger.iByMotion) << reply;
            EXPECT_EQ(read.iByIn1, trigger.iByIn1) << reply;
            EXPECT_EQ(read.iByIn2, trigger.iByIn2) << reply;
            EXPECT_EQ(GetEventTriggerFromText(reply, read, slot + 1), -1) << "it is another slot's";
        }
    }
}

TEST(Trigger, IsReadByTheBeginningOfItsWord)
{
    const struct {
        const char *reply;
        int result;
        int motion, in1, in2;
    } cases[] = {
        {"event_i1_trigger=motion\n", 0, 1, 0, 0},
        {"event_i1_trigger=motion2\nevent_i1_di=3\n", 0, 1, 0, 0},
        {"event_i1_trigger=\n", 0, 0, 0, 0},
        {"event_i1_trigger=seq\nevent_i1_di=3\n", 0, 0, 0, 0},
        {"event_i1_trigger=Motion\n", 0, 0, 0, 0},
        {"event_i1_trigger=di\nevent_i1_di=0\n", 0, 0, 0, 0},
        {"event_i1_trigger=di\nevent_i1_di=6\n", 0, 0, 0, 1},
        {"event_i1_di=5\nevent_i1_trigger=disk\n", 0, 0, 1, 0},
        {"event_i1_trigger=di\nevent_i1_di=-1\n", 0, 0, 1, 1},
        {"event_i1_trigger=di\n", -1, 0, 0, 0},
        {"event_i1_trigger=di\nevent_i0_di=3\n", -1, 0, 0, 0},
        {"event_i1_trigger=di\nevent_i1_di=00000003\n", -1, 0, 0, 0},
        {"event_i1_trigger=di\nevent_i1_di=3", -1, 0, 0, 0},
        {"event_i1_trigger=motion789012345\n", 0, 1, 0, 0},
        {"event_i1_trigger=motion7890123456\n", -1, 0, 0, 0},
        {"event_i1_trigger=motion", -1, 0, 0, 0},
        {"", -1, 0, 0, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.reply);
        EventTrigger trigger = {};
        EXPECT_EQ(GetEventTriggerFromText(c.reply, trigger, 1), c.result);
        EXPECT_EQ(trigger.iByMotion, c.motion);
        EXPECT_EQ(trigger.iByIn1, c.in1);
        EXPECT_EQ(trigger.iByIn2, c.in2);
    }
}
