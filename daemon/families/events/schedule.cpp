#include "daemon/families/events/schedule.h"

#include "daemon/base/text_finder.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

constexpr int32_t DAYS = 7;
constexpr int32_t ALL_WEEKDAYS = 127;
constexpr char DAY_BEGIN[] = "00:00";
constexpr char DAY_END[] = "24:00";

constexpr int32_t DayBit(int32_t iDay)
{
    return 64 >> iDay;
}

bool HasSameTimes(const ScheduleItem &a, const ScheduleItem &b)
{
    return a.iBeginHour == b.iBeginHour && a.iBeginMinute == b.iBeginMinute && a.iEndHour == b.iEndHour &&
           a.iEndMinute == b.iEndMinute;
}

bool IsWholeDays(const ScheduleItem &item)
{
    return item.iBeginHour == 0 && item.iBeginMinute == 0 && item.iEndHour == 0 && item.iEndMinute == 0;
}

/** Adds the days from the first up to, not including, the last; they may go on past the end of the week. */
bool AddWholeDays(const ScheduleItem &item, int32_t &iWeekdays)
{
    // A day that does not exist would never be reached.
    if (item.iBeginDay == item.iEndDay || !IsWithin(item.iBeginDay, 0, DAYS - 1) ||
        !IsWithin(item.iEndDay, 0, DAYS - 1))
        return false;
    for (int32_t iDay = item.iBeginDay; iDay != item.iEndDay; iDay = (iDay + 1) % DAYS)
        iWeekdays |= DayBit(iDay);
    return true;
}

bool AddWindow(const ScheduleItem &item, int32_t &iWeekdays)
{
    const bool inverted = item.iBeginHour > item.iEndHour ||
                          (item.iBeginHour == item.iEndHour && item.iBeginMinute >= item.iEndMinute);
    if (item.iBeginDay != item.iEndDay || !IsWithin(item.iBeginDay, 0, DAYS - 1) || inverted)
        return false;
    iWeekdays |= DayBit(item.iBeginDay);
    return true;
}

void FormatTime(char (&acTime)[8], int32_t iHour, int32_t iMinute)
{
    TextBuilder(acTime).Addf("%02d:%02d", iHour, iMinute);
}

} // namespace

int GetScheduleItemsFromText(std::string_view text, std::span<ScheduleItem> items)
{
    int32_t iNumber = 0;
    for (ScheduleItem &item : items) {
        char acItem[32];
        int32_t aiNumbers[6];
        if (GetStringValueFromText(text, Key("item%02d=", ++iNumber), acItem) != 0 ||
            Text_ScanInts(acItem, ',', aiNumbers) != 0)
            return -1;
        item = {aiNumbers[0], aiNumbers[1], aiNumbers[2], aiNumbers[3], aiNumbers[4], aiNumbers[5]};
        // The end day has no upper bound here; the conversion finds a bad one.
        if (!IsWithin(item.iBeginDay, 0, DAYS - 1) || item.iEndDay < 0 || !IsWithin(item.iBeginHour, 0, 23) ||
            !IsWithin(item.iEndHour, 0, 23) || !IsWithin(item.iBeginMinute, 0, 59) ||
            !IsWithin(item.iEndMinute, 0, 59))
            return -1;
    }
    return 0;
}

int Schedule_FromItems(StoredSchedule &stored, std::span<const ScheduleItem> items)
{
    stored.iWeekdays = 0;
    if (items.empty()) {
        Text_Copy(stored.acBegin, DAY_BEGIN);
        Text_Copy(stored.acEnd, DAY_BEGIN);
        return 0;
    }
    const ScheduleItem &first = items.front();
    for (const ScheduleItem &item : items) {
        if (!HasSameTimes(item, first))
            return -1;
        if (!(IsWholeDays(item) ? AddWholeDays(item, stored.iWeekdays) : AddWindow(item, stored.iWeekdays)))
            return -1;
    }
    FormatTime(stored.acBegin, first.iBeginHour, first.iBeginMinute);
    FormatTime(stored.acEnd, IsWholeDays(first) ? 24 : first.iEndHour, first.iEndMinute);
    return 0;
}

int Schedule_ToItems(const StoredSchedule &stored, std::span<ScheduleItem, MAX_SCHEDULE_ITEMS> items)
{
    int32_t aiBegin[2];
    int32_t aiEnd[2];
    if (Text_ScanInts(stored.acBegin, ':', aiBegin) != 0 || Text_ScanInts(stored.acEnd, ':', aiEnd) != 0)
        return -1;
    const bool toEndOfDay = aiEnd[0] == 24;
    int iCount = 0;
    for (int32_t iDay = 0; iDay < DAYS; ++iDay) {
        if ((stored.iWeekdays & DayBit(iDay)) == 0)
            continue;
        items[static_cast<size_t>(iCount++)] = {
            iDay,    aiBegin[0], aiBegin[1], toEndOfDay ? (iDay + 1) % DAYS : iDay, toEndOfDay ? 0 : aiEnd[0],
            aiEnd[1]};
    }
    return iCount;
}

int Schedule_TakeMode(std::string_view text, const EventTrigger &trigger, EventSchedule &schedule)
{
    if (Request_TakeInt(text, "schedule=", 0, 1, schedule.iSchedule) != KeyOutcome::Taken ||
        Request_TakeInt(text, "continuous=", 0, 1, schedule.iContinuous) != KeyOutcome::Taken)
        return -1;
    if (schedule.iSchedule == schedule.iContinuous)
        return -1;
    return schedule.iContinuous == 1 && Trigger_Any(trigger) ? -1 : 0;
}

int Schedule_TakeItems(std::string_view text, EventSchedule &schedule, bool &given)
{
    const KeyOutcome outcome = Request_TakeInt(text, "itemSize=", 0, MAX_SCHEDULE_ITEMS, schedule.iItemSize);
    given = outcome == KeyOutcome::Taken;
    if (!given)
        return outcome == KeyOutcome::Bad ? -1 : 0;
    return GetScheduleItemsFromText(text,
                                    std::span(schedule.atItems).first(static_cast<size_t>(schedule.iItemSize)));
}

int Schedule_ToStore(const EventSchedule &schedule, bool itemsGiven, StoredSchedule &stored, bool &changes)
{
    changes = schedule.iContinuous == 1 || itemsGiven;
    if (schedule.iContinuous == 1) {
        stored.iWeekdays = ALL_WEEKDAYS;
        Text_Copy(stored.acBegin, DAY_BEGIN);
        Text_Copy(stored.acEnd, DAY_END);
        return 0;
    }
    if (!itemsGiven)
        return 0;
    return Schedule_FromItems(stored, std::span(schedule.atItems).first(static_cast<size_t>(schedule.iItemSize)));
}

void Schedule_Read(ConfigerReader &reply, int32_t iEventSlot, EventSchedule &schedule)
{
    StoredSchedule stored = {};
    reply.Take(SCHEDULE_KEYS, stored, {iEventSlot});
    const int iCount = reply.Failed() ? -1 : Schedule_ToItems(stored, schedule.atItems);
    if (iCount < 0) {
        reply.Fail();
        return;
    }
    schedule.iItemSize = iCount;
    const bool always = stored.iWeekdays == ALL_WEEKDAYS &&
                        std::string_view(stored.acBegin).starts_with(DAY_BEGIN) &&
                        std::string_view(stored.acEnd).starts_with(DAY_END);
    schedule.iContinuous = always ? 1 : 0;
    schedule.iSchedule = always ? 0 : 1;
}

void Schedule_Compose(TextBuilder &body, const EventSchedule &schedule, const char *pcProfileName)
{
    body.Addf("<schedule><enable>%d</enable><profileName>%s</profileName>", schedule.iSchedule, pcProfileName);
    for (int32_t i = 0; i < MAX_SCHEDULE_ITEMS; ++i) {
        body.Addf("<item%02d>", i + 1);
        if (i < schedule.iItemSize) {
            const ScheduleItem &item = schedule.atItems[i];
            body.Addf("%d,%d,%d,%d,%d,%d", item.iBeginDay, item.iBeginHour, item.iBeginMinute, item.iEndDay,
                      item.iEndHour, item.iEndMinute);
        }
        body.Add("</item>"); // KEPT: without its number; clients parse it this way
    }
    body.Addf("<itemSize>%d</itemSize></schedule>", schedule.iItemSize);
}
