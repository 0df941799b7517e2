#include "daemon/families/events/schedule.h"
#include "daemon/families/events/trigger.h"

#include <gtest/gtest.h>

namespace
{

using Items = std::vector<ScheduleItem>;

ScheduleItem wholeDays(int32_t begin, int32_t end)
{
    return {begin, 0, 0, end, 0, 0};
}

/** What Schedule_FromItems makes of the items, "mask begin end"; "refused" when it refuses them. */
std::string stored(const Items &items)
{
    StoredSchedule stored;
    if (Schedule_FromItems(stored, items) != 0)
        return "refused";
    return std::to_string(stored.iWeekdays) + " " + stored.acBegin + " " + stored.acEnd;
}

Items fromStore(int32_t mask, const std::string &begin, const std::string &end)
{
    StoredSchedule stored = {mask, "", ""};
    Text_Copy(stored.acBegin, begin);
    Text_Copy(stored.acEnd, end);
    ScheduleItem items[MAX_SCHEDULE_ITEMS];
    const int count = Schedule_ToItems(stored, items);
    return count >= 0 ? Items(items, items + count) : Items{{-1, -1, -1, -1, -1, -1}};
}

std::string text(const ScheduleItem &item)
{
    std::string text;
    for (const int32_t number :
         {item.iBeginDay, item.iBeginHour, item.iBeginMinute, item.iEndDay, item.iEndHour, item.iEndMinute})
        text += (text.empty() ? "" : ",") + std::to_string(number);
    return text;
}

} // namespace

TEST(Schedule, EveryMaskComesBackFromItsItems)
{
    const std::pair<const char *, const char *> times[] = {
        {"00:00", "24:00"}, {"08:30", "17:00"}, {"00:00", "00:01"}, {"23:58", "23:59"}, {"00:00", "23:59"}};
    for (int32_t mask = 0; mask < 128; ++mask) {
        const auto days = static_cast<size_t>(__builtin_popcount(static_cast<unsigned>(mask)));
        for (const auto &[begin, end] : times) {
            const Items items = fromStore(mask, begin, end);
            EXPECT_EQ(items.size(), days);
            EXPECT_EQ(stored(items), mask == 0 ? "0 00:00 00:00" : std::to_string(mask) + " " + begin + " " + end);
        }
        // A window to the end of the day becomes one up to the next day.
        std::string expected, got;
        for (int32_t day = 0; day < 7; ++day)
            if ((mask & (64 >> day)) != 0)
                expected += std::to_string(day) + ",8,30," + std::to_string((day + 1) % 7) + ",0,0 ";
        for (const ScheduleItem &item : fromStore(mask, "08:30", "24:00"))
            got += text(item) + " ";
        EXPECT_EQ(got, expected) << mask;
    }
    EXPECT_EQ(fromStore(64, "08:30", "24:15")[0].iEndMinute, 15);
}

TEST(Schedule, EverySpanOfWholeDaysAddsItsDays)
{
    for (int32_t begin = 0; begin < 7; ++begin) {
        std::string days = "0000000";
        for (int32_t end = begin; end < begin + 7; ++end) {
            const std::string whole = std::to_string(std::stoi(days, nullptr, 2)) + " 00:00 24:00";
            EXPECT_EQ(stored({wholeDays(begin, end % 7)}), begin == end ? "refused" : whole)
                << begin << " to " << end;
            days[static_cast<size_t>(end % 7)] = '1';
        }
    }
    EXPECT_EQ(stored({wholeDays(5, 2)}), "99 00:00 24:00");
    EXPECT_EQ(stored({wholeDays(1, 2), wholeDays(6, 0)}), "33 00:00 24:00") << "spans add up";
}

TEST(Schedule, AWindowEndsAfterItBeginsOnItsDay)
{
    for (const ScheduleItem &bad : Items{{3, 8, 5, 3, 8, 5},  // empty
                                         {3, 8, 5, 3, 8, 4},  // ends before it begins
                                         {3, 9, 0, 3, 8, 59}, // so does this
                                         {3, 0, 1, 4, 0, 0},  // over midnight
                                         wholeDays(3, 3)}) {
        EXPECT_EQ(stored({bad}), "refused") << text(bad);
        EXPECT_EQ(stored({wholeDays(1, 2), bad}), "refused") << text(bad);
    }
    for (const int32_t day : {7, INT32_MAX, -1})
        for (const ScheduleItem &bad :
             {wholeDays(1, day), wholeDays(day, 1), ScheduleItem{1, 8, 0, day, 9, 0}, {day, 8, 0, day, 9, 0}})
            EXPECT_EQ(stored({bad}), "refused") << text(bad);
}

TEST(Schedule, ItemsShareOneWindow)
{
    const ScheduleItem first = {1, 8, 10, 1, 17, 20}, second = {3, 8, 10, 3, 17, 20};
    EXPECT_EQ(stored({first, second}), "40 08:10 17:20");
    EXPECT_EQ(stored({first, first}), "32 08:10 17:20") << "the same day twice";
    const Items others = {{3, 9, 10, 3, 17, 20},
                          {3, 8, 11, 3, 17, 20},
                          {3, 8, 10, 3, 16, 20},
                          {3, 8, 10, 3, 17, 21},
                          wholeDays(3, 4)};
    for (const ScheduleItem &other : others)
        for (const Items &bad : {Items{first, other}, {other, first}, {first, second, other}})
            EXPECT_EQ(stored(bad), "refused") << text(other);
}

TEST(Schedule, StoredTimesMustBeReadable)
{
    for (const char *bad : {"", "08", "08:", ":30", "08-30"}) {
        EXPECT_EQ(text(fromStore(127, bad, "24:00")[0]), "-1,-1,-1,-1,-1,-1") << bad;
        EXPECT_EQ(text(fromStore(127, "00:00", bad)[0]), "-1,-1,-1,-1,-1,-1") << bad;
    }
    EXPECT_EQ(text(fromStore(1, "8:5", "9:30 pm")[0]), "6,8,5,6,9,30") << "read as scanf does";
    EXPECT_EQ(fromStore(-1, "08:00", "09:00").size(), 7U) << "only the seven bits count";
}

TEST(Schedule, ItemsAreTakenFromARequest)
{
    const auto taken = [](const std::string &text, size_t count = 1) {
        ScheduleItem items[MAX_SCHEDULE_ITEMS] = {};
        return GetScheduleItemsFromText(text, std::span(items).first(count)) == 0;
    };
    EXPECT_TRUE(taken("item01=1,8,0,1,17,0&item02=bad&")) << "more than are asked for";
    EXPECT_FALSE(taken("item01=1,8,0,1,17,0&item03=1,8,0,1,17,0&", 2)) << "a gap";
    EXPECT_FALSE(taken("item1=1,8,0,1,17,0&")) << "a number of one digit";
    for (const char *good : {"1,8,0,1,17,0", " 1, 8,+0,1,17,0,9", "6,23,59,6,23,59", "1,0,0,2147483647,0,0",
                             "1,8,0,1,17,00000000000000000000"}) // 31 characters
        EXPECT_TRUE(taken("item01=" + std::string(good) + "&")) << good;
    for (const char *bad : {"1,0,0,-1,0,0", "7,0,0,1,0,0", "-1,0,0,1,0,0", "1,24,0,1,0,0", "1,-1,0,1,0,0",
                            "1,0,60,1,0,0", "1,0,-1,1,0,0", "1,0,0,1,24,0", "1,0,0,1,-1,0", "1,0,0,1,0,60",
                            "1,0,0,1,0,-1", "1,8,0,1,17", "", "1,8,0,1,17,000000000000000000000"}) // 32 characters
        EXPECT_FALSE(taken("item01=" + std::string(bad) + "&")) << bad;
}

TEST(Trigger, IsReadByTheBeginningOfItsWord)
{
    const std::pair<const char *, const char *> cases[] = {{"trigger=motion2\nevent_i1_di=3\n", "100"},
                                                           {"trigger=motion789012345\n", "100"},
                                                           {"trigger=\n", "000"},
                                                           {"trigger=seq\nevent_i1_di=3\n", "000"},
                                                           {"trigger=Motion\n", "000"},
                                                           {"trigger=di\nevent_i1_di=0\n", "000"},
                                                           {"trigger=di\nevent_i1_di=6\n", "001"},
                                                           {"di=5\nevent_i1_trigger=disk\n", "010"},
                                                           {"trigger=di\nevent_i1_di=-1\n", "011"},
                                                           {"trigger=di\n", ""},
                                                           {"trigger=di\nevent_i0_di=3\n", ""},
                                                           {"di=3\nevent_i0_trigger=motion\n", ""},
                                                           {"trigger=di\nevent_i1_di=00000003\n", ""},
                                                           {"trigger=di\nevent_i1_di=3", ""},
                                                           {"trigger=motion7890123456\n", ""},
                                                           {"trigger=motion", ""}};
    for (const auto &[reply, expected] : cases) {
        EventTrigger t = {};
        const bool failed = GetEventTriggerFromText("event_i1_" + std::string(reply), t, 1) != 0;
        const std::string flags = std::to_string(t.iByMotion) + std::to_string(t.iByIn1) + std::to_string(t.iByIn2);
        EXPECT_EQ(failed ? "" : flags, expected) << reply;
    }
}
