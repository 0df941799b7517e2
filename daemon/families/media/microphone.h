#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/mic.cgi": the microphone's switch and gain. */

struct MicroPhoneConfigRecord {
    uint32_t uiSetMask;
    int32_t iMute;   ///< 1 = microphone off
    int32_t iVolume; ///< 1 to 100
};
using MicroPhoneConfigParam = MicroPhoneConfigRecord;
using MicroPhoneConfigResult = MicroPhoneConfigRecord;

[[nodiscard]] int Parser_MicroPhoneConfig_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_MicroPhoneConfig(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_MicroPhoneConfig(SessionSlot &slot);
void Compose_MicroPhoneConfig(TextBuilder &body, SessionSlot &slot);
