#include "families/events/schedule.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

using Items = std::vector<ScheduleItem>;

ScheduleItem WholeDays(int32_t begin, int32_t end)
{
    return {begin, 0, 0, end, 0, 0};
}

/** What Schedule_FromItems makes of the items, "mask begin end"; "refused" when it refuses them. */
std::string Stored(const Items &items)
{
    StoredSchedule stored;
    if (Schedule_FromItems(stored, items) != 0)
        return "refused";
    return std::to_string(stored.iWeekdays) + " " + stored.acBegin + " " + stored.acEnd;
}

Items FromStore(int32_t mask, const std::string &begin, const std::string &end)
{
    StoredSchedule stored = {mask, "", ""};
    Text_Copy(stored.acBegin, begin);
    Text_Copy(stored.acEnd, end);
    ScheduleItem items[MAX_SCHEDULE_ITEMS];
    const int count = Schedule_ToItems(stored, items);
    return count >= 0 ? Items(items, items + count) : Items{{-1, -1, -1, -1, -1, -1}};
}

std::string Text(const ScheduleItem &item)
{
    std::string text;
    for (const int32_t number :
         {item.iBeginDay, item.iBeginHour, item.iBeginMinute, item.iEndDay, item.iEndHour, item.iEndMinute})
        text += (text.empty() ? "" : ",") + std::to_string(number);
    return text;
}

/** The mask of the days that a span of whole days covers: those nearer behind its begin than its end is. */
int32_t SpanMask(int32_t begin, int32_t end)
{
    int32_t mask = 0;
    for (int32_t day = 0; day < 7; ++day)
        if ((day - begin + 7) % 7 < (end - begin + 7) % 7)
            mask |= 64 >> day;
    return mask;
}

} // namespace

TEST(Schedule, EveryMaskComesBackFromItsItems)
{
    const struct {
        const char *begin;
        const char *end;
    } times[] = {
        {"00:00", "24:00"}, {"08:30", "17:00"}, {"00:00", "00:01"}, {"23:58", "23:59"}, {"00:00", "23:59"}};
    for (const auto &time : times) {
        for (int32_t mask = 1; mask < 128; ++mask) {
            const Items items = FromStore(mask, time.begin, time.end);
            EXPECT_EQ(static_cast<int>(items.size()), __builtin_popcount(static_cast<unsigned>(mask)));
            EXPECT_EQ(Stored(items), std::to_string(mask) + " " + time.begin + " " + time.end);
        }
        EXPECT_TRUE(FromStore(0, time.begin, time.end).empty());
    }
    EXPECT_EQ(Stored({}), "0 00:00 00:00");
}

TEST(Schedule, EveryMaskThatEndsWithTheDayBecomesItemsUpToTheNextDay)
{
    for (int32_t mask = 0; mask < 128; ++mask) {
        std::vector<std::string> expected, got;
        for (int32_t day = 0; day < 7; ++day)
            if ((mask & (64 >> day)) != 0)
                expected.push_back(std::to_string(day) + ",8,30," + std::to_string(day == 6 ? 0 : day + 1) +
                                   ",0,0");
        for (const ScheduleItem &item : FromStore(mask, "08:30", "24:00"))
            got.push_back(Text(item));
        EXPECT_EQ(got, expected) << mask;
    }
    // They cannot be sent back: a request has no window over midnight.
    EXPECT_EQ(Stored(FromStore(64, "08:30", "24:00")), "refused");
    EXPECT_EQ(FromStore(64, "08:30", "24:15")[0].iEndMinute, 15);
}

TEST(Schedule, EverySpanOfWholeDaysAddsItsDays)
{
    for (int32_t begin = 0; begin < 7; ++begin) {
        for (int32_t end = 0; end < 7; ++end) {
            const std::string whole = std::to_string(SpanMask(begin, end)) + " 00:00 24:00";
            EXPECT_EQ(Stored({WholeDays(begin, end)}), begin == end ? "refused" : whole) << begin << " to " << end;
            for (int32_t other = 0; begin != end && other < 49; ++other) {
                const int32_t mask = SpanMask(begin, end) | SpanMask(other / 7, other % 7);
                EXPECT_EQ(Stored({WholeDays(begin, end), WholeDays(other / 7, other % 7)}),
                          other / 7 == other % 7 ? "refused" : std::to_string(mask) + " 00:00 24:00");
            }
        }
    }
    EXPECT_EQ(Stored({WholeDays(1, 4)}), "56 00:00 24:00");
    EXPECT_EQ(Stored({WholeDays(5, 2)}), "99 00:00 24:00");
}

TEST(Schedule, ASpanOrWindowToADayThatIsNoneIsRefused)
{
    for (const int32_t day : {7, 8, 13, 1000000, INT32_MAX, -1, INT32_MIN}) {
        EXPECT_EQ(Stored({WholeDays(1, day)}), "refused") << day;
        EXPECT_EQ(Stored({WholeDays(day, 1)}), "refused") << day;
        EXPECT_EQ(Stored({{1, 8, 0, day, 9, 0}}), "refused") << day;
        EXPECT_EQ(Stored({{day, 8, 0, day, 9, 0}}), "refused") << day;
        EXPECT_EQ(Stored({WholeDays(1, 2), WholeDays(3, day)}), "refused") << day;
    }
}

TEST(Schedule, AWindowMustEndAfterItBeginsOnItsDay)
{
    for (int32_t begin = 0; begin < 24 * 60; begin += 7) {
        for (const int32_t end : {0, 1, 59, 60, begin - 1, begin, begin + 1, 12 * 60, 23 * 60 + 59}) {
            if (end < 0 || end >= 24 * 60)
                continue;
            char expected[32];
            snprintf(expected, sizeof expected, "8 %02d:%02d %02d:%02d", begin / 60, begin % 60, end / 60,
                     end % 60);
            EXPECT_EQ(Stored({{3, begin / 60, begin % 60, 3, end / 60, end % 60}}),
                      begin < end ? expected : "refused")
                << begin << " to " << end;
            EXPECT_EQ(Stored({{3, 0, 1, 4, end / 60, end % 60}}), "refused") << "over midnight";
        }
    }
}

TEST(Schedule, ItemsShareOneWindow)
{
    const ScheduleItem first = {1, 8, 10, 1, 17, 20};
    EXPECT_EQ(Stored({first, {3, 8, 10, 3, 17, 20}}), "40 08:10 17:20");
    EXPECT_EQ(Stored({first, first}), "32 08:10 17:20") << "the same day twice";
    for (const ScheduleItem &other :
         {ScheduleItem{3, 9, 10, 3, 17, 20}, ScheduleItem{3, 8, 11, 3, 17, 20}, ScheduleItem{3, 8, 10, 3, 16, 20},
          ScheduleItem{3, 8, 10, 3, 17, 21}, WholeDays(3, 4)}) {
        EXPECT_EQ(Stored({first, other}), "refused") << Text(other);
        EXPECT_EQ(Stored({other, first}), "refused") << Text(other);
        EXPECT_EQ(Stored({first, {3, 8, 10, 3, 17, 20}, other}), "refused") << Text(other);
    }
}

TEST(Schedule, StoredTimesMustBeReadable)
{
    ScheduleItem items[MAX_SCHEDULE_ITEMS];
    for (const char *bad : {"", "8", "08", "08:", ":30", "08-30", "x"}) {
        StoredSchedule stored = {127, "", "24:00"};
        Text_Copy(stored.acBegin, bad);
        EXPECT_EQ(Schedule_ToItems(stored, items), -1) << bad;
        stored = {127, "00:00", ""};
        Text_Copy(stored.acEnd, bad);
        EXPECT_EQ(Schedule_ToItems(stored, items), -1) << bad;
    }
    EXPECT_EQ(Text(FromStore(1, "8:5", "9:30 pm")[0]), "6,8,5,6,9,30") << "read as scanf does";
    EXPECT_EQ(FromStore(-1, "08:00", "09:00").size(), 7U) << "only the seven bits count";
}

TEST(Schedule, ItemsAreTakenFromARequest)
{
    const struct {
        const char *description;
        std::string text;
        size_t count;
        bool good;
    } cases[] = {
        {"none", "x=1&", 0, true},
        {"one", "item01=1,8,0,1,17,0&", 1, true},
        {"with blanks, signs and more behind", "item01= 1, 8,+0,1,17,0,9&", 1, true},
        {"seven, not in order",
         "item07=6,1,1,6,2,2&item06=5,1,1,5,2,2&item05=4,1,1,4,2,2&item04=3,1,1,3,2,2&item03=2,1,1,2,2,2&"
         "item02=1,1,1,1,2,2&item01=0,1,1,0,2,2&",
         7, true},
        {"more than are asked for", "item01=1,8,0,1,17,0&item02=bad&", 1, true},
        {"fewer than are asked for", "item01=1,8,0,1,17,0&", 2, false},
        {"a gap", "item01=1,8,0,1,17,0&item03=1,8,0,1,17,0&", 2, false},
        {"the largest numbers", "item01=6,23,59,6,23,59&", 1, true},
        {"an end day without bound", "item01=1,0,0,2147483647,0,0&", 1, true},
        {"an end day below zero", "item01=1,0,0,-1,0,0&", 1, false},
        {"begin day 7", "item01=7,0,0,1,0,0&", 1, false},
        {"begin day -1", "item01=-1,0,0,1,0,0&", 1, false},
        {"begin hour 24", "item01=1,24,0,1,0,0&", 1, false},
        {"begin hour -1", "item01=1,-1,0,1,0,0&", 1, false},
        {"begin minute 60", "item01=1,0,60,1,0,0&", 1, false},
        {"end hour 24", "item01=1,0,0,1,24,0&", 1, false},
        {"end minute 60", "item01=1,0,0,1,0,60&", 1, false},
        {"end minute -1", "item01=1,0,0,1,0,-1&", 1, false},
        {"five numbers", "item01=1,8,0,1,17&", 1, false},
        {"no number", "item01=&", 1, false},
        {"31 characters", "item01=1,8,0,1,17,00000000000000000000&", 1, true},
        {"32 characters", "item01=1,8,0,1,17,000000000000000000000&", 1, false},
        {"a number of one digit", "item1=1,8,0,1,17,0&", 1, false},
        {"a text that begins with 0", "0&item01=1,8,0,1,17,0&", 1, false},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        ScheduleItem items[MAX_SCHEDULE_ITEMS] = {};
        EXPECT_EQ(GetScheduleItemsFromText(c.text, std::span(items).first(c.count)), c.good ? 0 : -1);
    }
    ScheduleItem items[2];
    ASSERT_EQ(GetScheduleItemsFromText("item02=6,5,4,3,2,1&item01=1,2,3,4,5,6&", items), 0);
    EXPECT_EQ(Text(items[0]), "1,2,3,4,5,6");
    EXPECT_EQ(Text(items[1]), "6,5,4,3,2,1");
}
