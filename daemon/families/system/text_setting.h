#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/*
 * Two settings of one text each, alike but for their names: "/config/camera_info.cgi", the camera's name, and
 * "/config/timestamp.cgi", the label of video input 0.
 */

struct TextSettingParam {
    uint32_t uiSetMask; ///< bit 0: the text was given
    char acText[64];
};
struct TextSettingResult {
    char acText[64];
};

[[nodiscard]] int Parser_CameraInfo_Set(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_CameraInfo(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_CameraInfo(SessionSlot &slot);
void Compose_CameraInfo(TextBuilder &body, SessionSlot &slot);

[[nodiscard]] int Parser_TimeStamp_Set(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_TimeStamp(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_TimeStamp(SessionSlot &slot);
void Compose_TimeStamp(TextBuilder &body, SessionSlot &slot);
