#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/video.cgi": codec, resolution, rates and quality of one video profile. */

/** What a request gives, or what the store holds. */
struct VideoConfigRecord {
    uint32_t uiSetMask;
    int32_t iStreamCount;
    int32_t iH264; ///< 1 when the camera knows H.264
    int32_t iProfileID;
    char acCodec[8]; ///< of a request: the store's word; of a result: the reply's
    char acResolution[12];
    int32_t iFrameRate;
    int32_t iBitRate; ///< of a request in kbit/s, of a result in bit/s
    int32_t iIntraPeriod;
    char acRateControl[12]; ///< "cbr", "vbr", or "Fixquality" in a result
    int32_t iQuality;       ///< 1 to 5
};
using VideoConfigParam = VideoConfigRecord;
using VideoConfigResult = VideoConfigRecord;

[[nodiscard]] int Parser_VideoConfig_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_VideoConfig(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_VideoConfig(SessionSlot &slot);
void Compose_VideoConfig(TextBuilder &body, SessionSlot &slot);
