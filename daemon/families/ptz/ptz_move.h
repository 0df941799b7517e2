#pragma once

#include "daemon/session/session.h"

/*
 * Moving the head: "/config/ptz_move_rel.cgi" by steps, "/config/ptz_home.cgi" home, "/config/auto_pan.cgi" round
 * and round, "/config/rs485_do.cgi" in a direction.
 */

struct PTZMoveRelParam {
    uint32_t uiSetMask; ///< bit 0 pan, bit 1 tilt (both always), bit 2 zoom
    int32_t iPan;       ///< 64ths of the picture, -32 to 32, as the next two
    int32_t iTilt;
    int32_t iZoom;
};

struct PTZHomeParam {
    char acAct[8];
};

struct AutoPanParam {
    char acCommand[12];
};

struct RS485DoParam {
    uint32_t uiSetMask;
    int32_t iDirection; ///< 0 to 8, a key pad with home in its centre
    int32_t iSpeed;     ///< -4 to 5, when given
};

[[nodiscard]] int Parser_PTZMoveRel_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_PTZMoveRel(SessionSlot &slot);
[[nodiscard]] int Parser_PTZHome_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_PTZHome(SessionSlot &slot);
[[nodiscard]] int Parser_AutoPan_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_AutoPan(SessionSlot &slot);
[[nodiscard]] int Parser_RS485Do_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_RS485Do(SessionSlot &slot);
