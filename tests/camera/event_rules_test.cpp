#include "camera/neighbours/digital_io/output_commands.h"
#include "camera/neighbours/event_engine/event_rules.h"
#include "camera/store/clock.h"
#include "temporary_folder.h"

#include <gtest/gtest.h>

/*
 * What decides about events: the camera's clock, schedules, triggers; and the commands for the outputs.
 */

namespace
{

using namespace camera;
using namespace std::chrono_literals;
using LocalTime = CameraClock::LocalTime;

/** A day of the week in June 2024, where the 2nd is a Sunday; day 0 is Sunday. */
LocalTime onDay(int day, std::chrono::seconds time)
{
    using namespace std::chrono;
    return local_days(year(2024) / June / 2) + days(day) + time;
}

class RulesTest : public testing::Test
{
  protected:
    void set(const std::string &slot, const std::string &weekday, const std::string &begin, const std::string &end)
    {
        store.set(std::vector<Setting>{
            {slot + "_weekday", weekday}, {slot + "_begintime", begin}, {slot + "_endtime", end}});
    }

    TemporaryFolder folder;
    Store store{folder.path("store")};
    std::chrono::system_clock::time_point host{std::chrono::sys_days(std::chrono::year(2024) / 6 / 2) + 10h};
};

TEST_F(RulesTest, ScheduleHoldsOnItsDaysBetweenItsTimes)
{
    const struct {
        int mask;
        const char *begin, *end;
        int day;
        std::chrono::seconds time;
        bool contained;
    } cases[] = {
        {64, "00:00", "24:00", 0, 0s, true},       {64, "00:00", "24:00", 1, 0s, false},
        {1, "00:00", "24:00", 6, 86399s, true},    {126, "00:00", "24:00", 6, 12h, false},
        {127, "08:30", "17:00", 3, 30599s, false}, {127, "08:30", "17:00", 3, 30600s, true},
        {127, "08:30", "17:00", 3, 61199s, true},  {127, "08:30", "17:00", 3, 17h, false},
        {127, "17:00", "08:30", 3, 18h, false},    {127, "", "24:00", 3, 12h, false},
        {127, "00:00", "24:01", 3, 12h, false},    {127, "00:00", "12:00x", 3, 11h, false},
    };
    for (const auto &[mask, begin, end, day, time, contained] : cases) {
        set("slot", std::to_string(mask), begin, end);
        EXPECT_EQ(readSchedule(store, "slot").contains(onDay(day, time)), contained)
            << mask << " " << begin << "-" << end << " at " << time.count();
    }
    EXPECT_FALSE(readSchedule(store, "nothing").contains(onDay(3, 12h)));
}

TEST_F(RulesTest, TriggerLooksAtTheMaskOfItsKindOnly)
{
    const std::tuple<const char *, const char *, const char *, Sensed, bool> cases[] = {
        {"motion", "5", "0", {.windows = 4, .inputs = 0}, true},
        {"motion", "5", "3", {.windows = 2, .inputs = 3}, false},
        {"di", "7", "2", {.windows = 0, .inputs = 2}, true},
        {"di", "7", "2", {.windows = 7, .inputs = 1}, false},
        {"", "7", "3", {.windows = 7, .inputs = 3}, false},
        {"motionless", "7", "3", {.windows = 7, .inputs = 3}, false},
        {"motion", "7", "3", {}, false},
    };
    for (const auto &[trigger, windows, inputs, sensed, triggered] : cases) {
        store.set(std::vector<Setting>{
            {"event_i2_trigger", trigger}, {"event_i2_mdwin", windows}, {"event_i2_di", inputs}});
        EXPECT_EQ(readEventRule(store, 2).triggered(sensed), triggered)
            << trigger << " " << windows << " " << inputs << ": " << sensed.windows << " " << sensed.inputs;
    }
}

TEST_F(RulesTest, RebootIsDueOnceInItsMinuteAndOnlyThere)
{
    set("event_i3", "32", "06:15", "06:15"); // day 1
    store.set(std::vector<Setting>{{"event_i3_enable", "1"}, {"event_i3_trigger", "schedulereboot"}});
    const EventRule rule = readEventRule(store, 3);
    int reboots = 0;
    for (LocalTime time = onDay(0, 0s); time < onDay(7, 0s); time += 1s)
        reboots += rule.rebootDue(time - 1s, time);
    EXPECT_EQ(reboots, 1);
    EXPECT_FALSE(rule.rebootDue(onDay(1, 6h + 15min + 3s), onDay(1, 6h + 15min + 4s)))
        << "a camera that comes up again in the same minute stays up";
}

TEST_F(RulesTest, ClockFollowsDateTimeZoneAndDaylightSaving)
{
    const auto hostTime = [this] { return host; };
    {
        const CameraClock clock(store, hostTime);
        store.set(std::vector<Setting>{{"system_date", "2030/2/30"}, {"system_time", "24:60:60"}});
        EXPECT_EQ(toText(clock.now()), "2030-03-03 01:01:00") << "what is beyond its end runs over";
        host += 90s;
        EXPECT_EQ(toText(clock.now()), "2030-03-03 01:02:30");
        store.set("system_timezoneindex", "320");
        EXPECT_EQ(toText(clock.now()), "2030-03-03 09:02:30");
        store.set(std::vector<Setting>{{"system_date", "2024/12/31"}, {"system_time", "23:59:59"}});
        EXPECT_EQ(toText(clock.now()), "2024-12-31 23:59:59") << "the time that is set is the zone's";
        store.set("system_daylight_enable", "1");
        EXPECT_EQ(toFileName(clock.now()), "20250101-005959");
        for (const char *time : {"", "noon", "25:00:00", "12:00"})
            store.set("system_time", time);
        EXPECT_EQ(toText(clock.now()), "2025-01-01 00:59:59") << "no time at all changes nothing";
    }
    const CameraClock clock(store, hostTime);
    EXPECT_EQ(toText(clock.now()), "2025-01-01 00:59:59") << "kept over a restart";
    store.set(std::vector<Setting>{{"system_updateinterval", "3600"}, {"system_daylight_enable", "0"}});
    EXPECT_EQ(toText(clock.now()), "2024-06-02 18:01:30") << "a synchronised clock shows the host's time";
}

TEST_F(RulesTest, ZoneIndexIsHoursTimesFortyWhateverItsLastDigit)
{
    const CameraClock clock(store, [this] { return host; });
    for (const auto &[index, minutes] :
         {std::pair("-480", -720), {"-281", -420}, {"41", 60}, {"230", 345}, {"", 0}, {"2147483647", 840}}) {
        store.set("system_timezoneindex", index);
        EXPECT_EQ(clock.zone().count(), minutes) << index;
    }
}

TEST(OutputCommandStream, TakesCommandsApartHoweverTheyArrive)
{
    using Commands = std::vector<OutputCommand>;
    const std::pair<std::vector<std::string_view>, Commands> cases[] = {
        {{"setdo 0 1setdo 1 0"}, {{0, true}, {1, false}}},
        {{"se", "tdo", " ", "1", " ", "1", "set", "do 8 0"}, {{1, true}, {8, false}}},
        {{"xxsetdo 0 1yy", "setsetdo 1 1"}, {{0, true}, {1, true}}},
        {{"setdo 0 2setdo 1 1"}, {{1, true}}},
        {{"setdo x 1setdo  1setdo 1 1"}, {{1, true}}},
        {{"setdo 99999999999999999999 1", "setdo 3 1"}, {{3, true}}},
        {{"setdo 12"}, {}},
    };
    for (const auto &[pieces, expected] : cases) {
        OutputCommands stream;
        Commands commands;
        for (const std::string_view piece : pieces) {
            stream.add(piece);
            while (const auto command = stream.next())
                commands.push_back(*command);
        }
        EXPECT_EQ(commands, expected) << pieces.front();
    }
}

} // namespace
