#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/ptz_preset.cgi" adds, deletes and recalls presets; "/config/ptz_preset_list.cgi" lists them. */

inline constexpr int32_t MAX_PRESETS = 20;

struct PresetParam {
    char acName[48];
    char acCommand[21]; ///< for the PTZ daemon; the name follows it
};

struct PresetListResult {
    char aacName[MAX_PRESETS][48]; ///< empty where there is none
};

[[nodiscard]] int Parser_Preset_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_Preset(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_PresetList(SessionSlot &slot);
void Compose_PresetList(TextBuilder &body, SessionSlot &slot);
