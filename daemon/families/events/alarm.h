#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/families/events/trigger.h"
#include "daemon/session/session.h"

/* "/cgi/admin/adv_do.cgi": what switches output 1; event slot 2 of the store. */

struct AlarmParam {
    uint32_t uiSetMask; ///< bit 0 enable, bit 1 trigger (always)
    int32_t iEnable;
    EventTrigger tTrigger;
};

struct AlarmResult {
    int32_t iEnable;
    EventTrigger tTrigger;
};

[[nodiscard]] int Parser_Alarm_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_Alarm(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_Alarm(SessionSlot &slot);
void Compose_Alarm(TextBuilder &body, SessionSlot &slot);
