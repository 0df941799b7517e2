#pragma once

#include "daemon/session/session.h"

/* "/config/system_reboot.cgi" and "/config/scheduled_reboot.cgi". */

struct SystemRebootParam {
    uint32_t uiSetMask; ///< bit 0: "go" was given
};

struct ScheduleRebootParam {
    uint32_t uiSetMask;
    int32_t iEnable;
    int32_t iWeekday; ///< 7 bits, day 0 is bit 6
    char acTime[6];   ///< "hh:mm"
};

[[nodiscard]] int Parser_SystemReboot_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_SystemReboot(SessionSlot &slot);
[[nodiscard]] int Parser_ScheduleReboot_Set(SessionSlot &slot);
/** The scheduled reboot is the store's event slot 3, which the event system carries out. */
[[nodiscard]] int MappingSetRoutine_ScheduleReboot(SessionSlot &slot);
