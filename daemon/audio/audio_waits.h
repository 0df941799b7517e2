#pragma once

#include <cstdint>

/**
 * How the audio thread meets time. It has a sleep of its own, beside the clock of the request thread, because tests
 * replace that one while both threads run. Tests replace these before the thread starts.
 */
struct AudioUpstreamWaits {
    void (*pfnSleepMs)(uint32_t uiMilliseconds); ///< ends at once when the thread has to stop
    uint32_t uiSilenceLimitMs;                   ///< a client that sends nothing for so long is disconnected
};
extern AudioUpstreamWaits g_tAudioUpstreamWaits;
