#pragma once

#include "camera/store/clock.h"
#include "camera/store/store.h"

#include <chrono>
#include <cstdint>
#include <string>

/*
 * What the event slots say: slot 0 is the recorder, 1 the snapshot, 2 the alarm output, 3 the scheduled reboot.
 */

namespace camera
{

/**
 * Some days of the week, and a window of time that is the same on all of them. Day 0 is Sunday; in the mask, day d
 * is the bit 64 >> d.
 */
struct Schedule {
    int weekdays = 0;
    std::chrono::minutes begin{0};
    std::chrono::minutes end{0}; ///< the first minute that is outside; 24:00 is the end of the day

    [[nodiscard]] bool hasDay(CameraClock::LocalTime time) const;
    [[nodiscard]] bool contains(CameraClock::LocalTime time) const;
};

/** Reads "event_i0_weekday", "event_i0_begintime" and "event_i0_endtime" for the name "event_i0"; what is missing
 * or malformed makes a schedule that contains nothing. */
[[nodiscard]] Schedule readSchedule(const Store &store, const std::string &name);

/** What is active: bit n is window or input n, counted from 0. */
struct Sensed {
    std::uint32_t windows = 0;
    std::uint32_t inputs = 0;
};

/** What sets off an event slot: a motion window, an input, the time between two snapshots, a time of the week. */
enum class EventTrigger { None, Motion, Input, Sequence, Reboot };

/** What an event slot says. */
struct EventRule {
    bool enabled = false;
    EventTrigger trigger = EventTrigger::None;
    Sensed mask;
    Schedule schedule;

    [[nodiscard]] bool inForce(CameraClock::LocalTime time) const { return enabled && schedule.contains(time); }
    /** Whether one of the windows or inputs that count is active. */
    [[nodiscard]] bool triggered(const Sensed &sensed) const;
    /** Whether the minute of a scheduled reboot has begun between two looks at the clock. */
    [[nodiscard]] bool rebootDue(CameraClock::LocalTime before, CameraClock::LocalTime now) const;
};

/** Reads what slot 0 to 3 says right now. */
[[nodiscard]] EventRule readEventRule(const Store &store, int slot);

} // namespace camera
