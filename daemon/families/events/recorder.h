#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/families/events/schedule.h"
#include "daemon/families/events/trigger.h"
#include "daemon/session/session.h"

/*
 * "/cgi/admin/recorder.cgi": recording to the memory card or to a network share; event slot 0 when something
 * triggers it, recording slot 0 when the schedule alone does.
 */

/** What a request gives, or what the store holds (then without mask). */
struct RecorderRecord {
    uint32_t uiSetMask;
    int32_t iProfileID;
    int32_t iPreRecord;  ///< seconds
    int32_t iPostRecord; ///< seconds
    int32_t iEnable;
    EventTrigger tTrigger;
    int32_t iToUSB; ///< the memory card
    int32_t iToSamba;
    int32_t iAnonymous;
    char acUser[32];
    char acPassword[32];
    char acServer[32];
    char acShareFolder[32];
    EventSchedule tSchedule;
    int32_t iFileLenMin; ///< minutes
    int32_t iKeepSpace;
    int32_t iRecycle;
};
using RecorderParam = RecorderRecord;
using RecorderResult = RecorderRecord;

[[nodiscard]] int Parser_Recorder_Set(SessionSlot &slot);
/** Takes three seconds more when the share changes while recording is on. */
[[nodiscard]] int MappingSetRoutine_Recorder(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_Recorder(SessionSlot &slot);
void Compose_Recorder(TextBuilder &body, SessionSlot &slot);
