#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/config/motion.cgi": sensitivity and object size of motion detection, and its windows. */

/** Windows that requests can name. */
inline constexpr int32_t MOTION_REQUEST_WINDOWS = 5;
/** Windows that are looked at at most: the bits of a mask. */
inline constexpr int32_t MOTION_MAX_WINDOWS = 31;

struct MotionWindow {
    int32_t iEnable;
    int32_t iTop;
    int32_t iLeft;
    int32_t iWidth;
    int32_t iHeight;
};

struct MotionParam {
    uint32_t uiSetMask; ///< bit 0 sensitivity, 1 percentage, 8 to 12 enable, 16 to 20 rectangle of windows 1 to 5
    int32_t iWindowCount;
    int32_t iSensitivity;
    int32_t iPercentage;
    MotionWindow atWindows[MOTION_REQUEST_WINDOWS];
};

struct MotionResult {
    int32_t iWindowCount;
    int32_t iEnable; ///< the switch of all windows
    int32_t iSensitivity;
    int32_t iPercentage;
    MotionWindow atWindows[MOTION_MAX_WINDOWS];
};

[[nodiscard]] int Parser_Motion_Set(SessionSlot &slot);
/** Also sets the global switch and the window masks of the event slots by what is then stored. */
[[nodiscard]] int MappingSetRoutine_Motion(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_Motion(SessionSlot &slot);
void Compose_Motion(TextBuilder &body, SessionSlot &slot);
