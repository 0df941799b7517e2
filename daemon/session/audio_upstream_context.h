#pragma once

#include "platform/osthread.h"

#include <atomic>
#include <cstdint>

inline constexpr size_t AUDIO_CLIENT_NAME_SIZE = 16;

/**
 * The two-way audio of the camera: what the request thread and the audio thread share. There is no lock; a field is
 * atomic where both use it.
 */
struct AudioUpstreamContext {
    OSThread tThread;
    std::atomic<uint32_t> uiTalking; ///< 1 from the hand-over of a client's socket until its session has ended;
                                     ///< set by the request thread, cleared by the audio thread
    std::atomic<uint32_t> uiSpeakerEnable;     ///< 1 when the speaker is switched on; written by the request thread
    OSMsgQueue tQueue;                         ///< room for one AudioUpstreamHandOver
    char acClientName[AUDIO_CLIENT_NAME_SIZE]; ///< registered last; the request thread's own
};
