#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/rs485.cgi": the serial port that drives an external PTZ head. */

struct RS485ConfigParam {
    uint32_t uiSetMask;
    int32_t iEnable;
    int32_t iDevId; ///< 0 to 255
    int32_t iBaudRate;
    int32_t iDataBits;
    char acParity[8]; ///< as the store spells it
    int32_t iStopBits;
    int32_t iProto; ///< index in the store's list of PTZ drivers
};

struct RS485ConfigResult {
    int32_t iEnable;
    int32_t iDriver;  ///< index in the store's list of PTZ drivers
    char acProto[48]; ///< empty when no driver is set
    int32_t iDevId;
    int32_t iBaudRate;
    int32_t iDataBits;
    char acParity[8]; ///< as replies spell it
    int32_t iStopBits;
};

[[nodiscard]] int Parser_RS485Config_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_RS485Config(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_RS485Config(SessionSlot &slot);
void Compose_RS485Config(TextBuilder &body, SessionSlot &slot);
