#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/speaker.cgi": the speaker's switch, which also ends and refuses two-way audio. */

struct SpeakerRecord {
    uint32_t uiSetMask;
    int32_t iEnable;
};
using SpeakerParam = SpeakerRecord;
using SpeakerResult = SpeakerRecord;

[[nodiscard]] int Parser_Speaker_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_Speaker(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_Speaker(SessionSlot &slot);
void Compose_Speaker(TextBuilder &body, SessionSlot &slot);
