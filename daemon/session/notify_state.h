#pragma once

#include <cstdint>

inline constexpr int32_t NOTIFY_MAX_INPUTS = 10;
inline constexpr int32_t NOTIFY_MAX_MOTIONS = 5;

/** What the event manager has said of inputs and motion windows; every open notify stream writes from it. */
struct NotifyState {
    int32_t iMotionFlag;       ///< a motion event came in this round
    int32_t iInputChangedFlag; ///< an input changed its state in this round
    int32_t iDINum;            ///< inputs of this camera, as the store says; may exceed NOTIFY_MAX_INPUTS
    int32_t iMotionNum;        ///< motion windows of this camera; may exceed NOTIFY_MAX_MOTIONS
    int32_t aiInputState[NOTIFY_MAX_INPUTS];   ///< 1 = active
    int32_t aiMotionState[NOTIFY_MAX_MOTIONS]; ///< 1 = active
};
