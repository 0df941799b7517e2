#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/families/media/profile.h"
#include "daemon/session/session.h"

/* "/config/stream_info.cgi": what the camera can do and where its streams are; "/config/rtspurl.cgi": one of them.
 */

struct StreamInfoResult {
    int32_t iAudio;         ///< 1 = the audio lines are written
    char acVideoCodecs[64]; ///< in upper case
    char acResolutions[128];
    char acVideoBitRates[128];
    char acFrameRates[64];
    char acQualities[16];
    int32_t iVideoProfiles; ///< those that are listed
    struct {
        char acCodec[8];
        char acResolution[12];
        char acAccessName[64];
    } atVideo[MAX_LISTED_PROFILES];
    char acAudioCodecs[64];
    int32_t iAudioProfiles; ///< those that are listed
    char acSampleRates[128];
    char acAudioBitRates[128];
    struct {
        char acCodec[8];
    } atAudio[MAX_LISTED_PROFILES];
};

struct RtspUrlResult {
    int32_t iStreamCount;
    int32_t iProfileID;
    char acAccessName[32];
};

[[nodiscard]] int MappingGetRoutine_StreamInfo(SessionSlot &slot);
void Compose_StreamInfo(TextBuilder &body, SessionSlot &slot);

[[nodiscard]] int MappingGetRoutine_RtspUrl(SessionSlot &slot);
void Compose_RtspUrl(TextBuilder &body, SessionSlot &slot);
