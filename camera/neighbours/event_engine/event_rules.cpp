#include "camera/neighbours/event_engine/event_rules.h"

#include <cstdio>
#include <optional>

namespace camera
{

using std::chrono::days;
using std::chrono::floor;
using std::chrono::minutes;

namespace
{

constexpr int DAY_0 = 64;

minutes timeOfDay(CameraClock::LocalTime time)
{
    return floor<minutes>(time - floor<days>(time));
}

/** Reads "08:15", from "00:00" to "24:00". */
std::optional<minutes> readTimeOfDay(const std::string &text)
{
    int hour = 0, minute = 0;
    char rest = 0;
    if (sscanf(text.c_str(), "%2d:%2d%c", &hour, &minute, &rest) != 2 || hour < 0 || minute < 0 || minute > 59)
        return std::nullopt;
    const minutes time = std::chrono::hours(hour) + minutes(minute);
    return time <= days(1) ? std::optional(time) : std::nullopt;
}

} // namespace

bool Schedule::hasDay(CameraClock::LocalTime time) const
{
    const unsigned day = std::chrono::weekday(floor<days>(time)).c_encoding(); // 0 is Sunday
    return (weekdays & (DAY_0 >> day)) != 0;
}

bool Schedule::contains(CameraClock::LocalTime time) const
{
    const minutes now = timeOfDay(time);
    return hasDay(time) && now >= begin && now < end;
}

Schedule readSchedule(const Store &store, const std::string &name)
{
    const auto begin = readTimeOfDay(store.text(name + "_begintime"));
    const auto end = readTimeOfDay(store.text(name + "_endtime"));
    if (!begin || !end)
        return {};
    return {.weekdays = store.number(name + "_weekday"), .begin = *begin, .end = *end};
}

bool EventRule::triggered(const Sensed &sensed) const
{
    if (trigger == EventTrigger::Motion)
        return (mask.windows & sensed.windows) != 0;
    return trigger == EventTrigger::Input && (mask.inputs & sensed.inputs) != 0;
}

bool EventRule::rebootDue(CameraClock::LocalTime before, CameraClock::LocalTime now) const
{
    // Begin and end are the same minute: it is an instant, not a window.
    return enabled && trigger == EventTrigger::Reboot && schedule.hasDay(now) && timeOfDay(now) == schedule.begin &&
           floor<minutes>(before) != floor<minutes>(now);
}

EventRule readEventRule(const Store &store, int slot)
{
    const std::string name = "event_i" + std::to_string(slot);
    const std::string &trigger = store.text(name + "_trigger");
    EventRule rule;
    rule.enabled = store.isOn(name + "_enable");
    rule.schedule = readSchedule(store, name);
    if (trigger == "motion")
        rule.trigger = EventTrigger::Motion;
    else if (trigger == "di")
        rule.trigger = EventTrigger::Input;
    else if (trigger == "seq")
        rule.trigger = EventTrigger::Sequence;
    else if (trigger == "schedulereboot")
        rule.trigger = EventTrigger::Reboot;
    rule.mask.windows = static_cast<std::uint32_t>(store.number(name + "_mdwin"));
    rule.mask.inputs = static_cast<std::uint32_t>(store.number(name + "_di"));
    return rule;
}

} // namespace camera
