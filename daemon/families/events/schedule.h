#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/configer/reply.h"
#include "daemon/families/events/trigger.h"

#include <cstdint>
#include <span>
#include <string_view>

/*
 * When an event slot of the store acts. Requests and replies have up to seven items, each from a time on one day to
 * a time on the same or another day; the store has a mask of weekdays and one time window for all of them.
 */

inline constexpr int32_t MAX_SCHEDULE_ITEMS = 7;

struct ScheduleItem {
    int32_t iBeginDay; ///< 0 to 6
    int32_t iBeginHour;
    int32_t iBeginMinute;
    int32_t iEndDay;
    int32_t iEndHour;
    int32_t iEndMinute;
};

/** As the store has it. */
struct StoredSchedule {
    int32_t iWeekdays; ///< day d is bit 64 >> d
    char acBegin[8];   ///< "hh:mm"
    char acEnd[8];     ///< "24:00" is the end of the day
};

/** As requests and replies have it. */
struct EventSchedule {
    int32_t iSchedule;   ///< 1 = by the items
    int32_t iContinuous; ///< 1 = always
    ScheduleItem atItems[MAX_SCHEDULE_ITEMS];
    int32_t iItemSize;
};

/** Takes "item01=" and so on; all of the given number must be there and good. Returns 0 or -1. */
[[nodiscard]] int GetScheduleItemsFromText(std::string_view text, std::span<ScheduleItem> items);

/**
 * Turns items into what the store can hold. Returns -1 when it cannot: items with different times, a window that
 * does not end after it begins on its day, a span of whole days that ends where it begins or on no day of the week.
 */
[[nodiscard]] int Schedule_FromItems(StoredSchedule &stored, std::span<const ScheduleItem> items);

/** Turns what the store holds into items, one a day. Returns their number, or -1 when a time cannot be read. */
[[nodiscard]] int Schedule_ToItems(const StoredSchedule &stored, std::span<ScheduleItem, MAX_SCHEDULE_ITEMS> items);

/** Takes "schedule=" and "continuous=": exactly one is 1, and what is continuous has no trigger. Returns 0 or -1.
 */
[[nodiscard]] int Schedule_TakeMode(std::string_view text, const EventTrigger &trigger, EventSchedule &schedule);

/** Takes "itemSize=" and the items, if given; `given` says so. Returns 0 or -1. */
[[nodiscard]] int Schedule_TakeItems(std::string_view text, EventSchedule &schedule, bool &given);

/** What there is to store: all the time when continuous, else the items if any were given. Returns 0 or -1. */
[[nodiscard]] int Schedule_ToStore(const EventSchedule &schedule, bool itemsGiven, StoredSchedule &stored,
                                   bool &changes);

/** The keys of an event slot's schedule. */
inline constexpr ReadRow<StoredSchedule> SCHEDULE_KEYS[] = {
    ReadInt<&StoredSchedule::iWeekdays>("event_i#_weekday"),
    ReadText<&StoredSchedule::acBegin>("event_i#_begintime"),
    ReadText<&StoredSchedule::acEnd>("event_i#_endtime"),
};

/** Takes an event slot's schedule out of a store reply; what cannot be read fails the reader. */
void Schedule_Read(ConfigerReader &reply, int32_t iEventSlot, EventSchedule &schedule);

/** Writes the <schedule> element. */
void Schedule_Compose(TextBuilder &body, const EventSchedule &schedule, const char *pcProfileName);
