#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/datetime.cgi": the clock, by hand or from an NTP server, time zone and daylight saving. */

/** What a request gives, or how things are (then without mask). */
struct DateTimeRecord {
    uint32_t uiSetMask;
    int32_t iYear;
    int32_t iMonth;    ///< 1 to 12
    int32_t iDay;      ///< 1 to 31
    int32_t iHour;     ///< 0 to 24
    int32_t iMinute;   ///< 0 to 60
    int32_t iSecond;   ///< 0 to 60
    int32_t iTimeZone; ///< the API's number, 0 = unknown
    int32_t iDSTEnable;
    int32_t iMethod; ///< 1 = NTP, otherwise by hand
    char acTimeServer[40];
};
using DateTimeParam = DateTimeRecord;
using DateTimeResult = DateTimeRecord;

[[nodiscard]] int Parser_DateTime_Set(SessionSlot &slot);
/** Takes two seconds: the store has to settle between the zone and the rest. */
[[nodiscard]] int MappingSetRoutine_DateTime(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_DateTime(SessionSlot &slot);
void Compose_DateTime(TextBuilder &body, SessionSlot &slot);
