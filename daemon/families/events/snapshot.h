#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/families/events/schedule.h"
#include "daemon/families/events/trigger.h"
#include "daemon/session/session.h"

/* "/cgi/admin/adv_snapshot_cont.cgi": snapshots by e-mail and FTP; event slot 1, servers and media 1 and 2. */

/** What a request gives, or what the store holds (then without mask). */
struct SnapshotRecord {
    uint32_t uiSetMask;
    int32_t iEnable;
    EventTrigger tTrigger;
    int32_t iToSmtp;
    int32_t iToFtp;
    EventSchedule tSchedule;
    int32_t iFtpEnable1;
    int32_t iPassive1;
    char acFtpUser1[32];
    char acFtpPass1[32];
    char acFolder1[32];
    char acFixFile1[32];
    char acFtpServer1[64];
    int32_t iFtpPort1;
    int32_t iFtpInterval; ///< seconds
    int32_t iSmtpEnable1;
    char acSmtpServer1[64];
    char acSmtpUser1[32];
    char acSmtpPass1[32];
    char acReceiver1[64];
    char acSender1[64];
    int32_t iSmtpPort1;
};
using SnapshotParam = SnapshotRecord;
using SnapshotResult = SnapshotRecord;

[[nodiscard]] int Parser_Snapshot_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_Snapshot(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_Snapshot(SessionSlot &slot);
void Compose_Snapshot(TextBuilder &body, SessionSlot &slot);
