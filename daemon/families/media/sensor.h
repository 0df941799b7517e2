#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/sensor.cgi": image adjustments of video input 0; "/config/sensor_info.cgi": their ranges, a fixed text.
 */

struct SensorConfigRecord {
    uint32_t uiSetMask;
    int32_t iBrightness; ///< -5 to 5, as the next three
    int32_t iContrast;
    int32_t iSharpness;
    int32_t iSaturation;
    char acWhiteBalance[16];
    int32_t iMaxExposure;
    int32_t iBacklightComp;
    int32_t iMirror;
    int32_t iFlip;
    int32_t iColor; ///< 1 = colour, 0 = black and white
};
using SensorConfigParam = SensorConfigRecord;
using SensorConfigResult = SensorConfigRecord;

[[nodiscard]] int Parser_SensorConfig_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_SensorConfig(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_SensorConfig(SessionSlot &slot);
void Compose_SensorConfig(TextBuilder &body, SessionSlot &slot);

[[nodiscard]] int MappingGetRoutine_SensorInfo(SessionSlot &slot);
void Compose_SensorInfo(TextBuilder &body, SessionSlot &slot);
