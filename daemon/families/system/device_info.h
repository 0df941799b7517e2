#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/common/info.cgi": who the camera is. */

/** What the store says; the texts are terminated. */
struct DeviceInfoResult {
    char acModel[64];
    char acProduct[64]; ///< the same key as acModel: both lines of the reply carry the extended model name
    char acVersion[64]; ///< of the firmware, before its last "."
    char acBuild[64];   ///< of the firmware, after its last "."
    char acName[64];
    char acMacAddr[20]; ///< six pairs of hexadecimal digits with colons
    char acIPAddr[16];
    char acNetmask[16];
    char acGateway[16];
    int32_t iInputs;
    int32_t iOutputs;
    int32_t iSpeakers;
    char acVideoOut[4];
    int32_t iPTZEnabled; ///< read, never printed
    char acHWVersion[64];
};

[[nodiscard]] int MappingGetRoutine_DeviceInfo(SessionSlot &slot);
void Compose_DeviceInfo(TextBuilder &body, SessionSlot &slot);
