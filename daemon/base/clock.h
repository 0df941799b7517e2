#pragma once

#include <cstdint>

struct pollfd;

/** Milliseconds of the process clock's ticks (times(2)), 32 bits that wrap. Main thread only. */
[[nodiscard]] uint32_t NetUtility_GetTickMs();

/**
 * The tick is read from the kernel once and then kept: what the main thread does without waiting takes less than a
 * tick. Everything that waits calls this afterwards.
 */
void NetUtility_ForgetTick();

/**
 * Reports 1 when more than `uiLimitMs` lie between `uiStartMs` and now, else 0. The difference, which is absolute
 * (whichever tick is larger minus the other), is stored in `puiElapsed` unless that is null.
 */
[[nodiscard]] int NetUtility_IsTimeout(uint32_t uiStartMs, uint32_t uiLimitMs, uint32_t *puiElapsed = nullptr);

/**
 * Milliseconds until NetUtility_IsTimeout(uiStartMs, uiLimitMs) may become true; 0 when it is. Rounded up past the
 * granularity of the tick, so that a wait of this length does not end too early, and never beyond the point where
 * the tick wraps around.
 */
[[nodiscard]] uint32_t NetUtility_RemainingMs(uint32_t uiStartMs, uint32_t uiLimitMs);

/**
 * NetUtility_IsTimeout with the limit in seconds: reports 1 when the difference in milliseconds exceeds the limit
 * times 1000. The difference is stored in whole seconds.
 */
[[nodiscard]] int NetUtility_IsTimeoutSec(uint32_t uiStartMs, uint32_t uiLimitSec,
                                          uint32_t *puiElapsedSec = nullptr);

/** The tick count in milliseconds; split in halves so that no product overflows 32 bits. */
[[nodiscard]] uint32_t NetUtility_TicksToMs(uint32_t uiTicks, uint32_t uiTicksPerSecond);

/** Sleeps the whole time, signals or not; but ends at once when the daemon has to stop. */
void NetUtility_SleepMs(uint32_t uiMilliseconds);

/** How the main thread reads the clock and waits. Tests replace it, so that no test has to wait. */
struct NetUtility_Clock {
    uint32_t (*pfnTickMs)();
    void (*pfnSleepMs)(uint32_t uiMilliseconds);
    /* As poll(2). */
    int (*pfnWait)(pollfd *ptPoll, uint32_t uiCount, int iTimeoutMs); ///< for a neighbour of the daemon
    int (*pfnRest)(pollfd *ptPoll, uint32_t uiCount, int iTimeoutMs); ///< of the main loop, until something is due
};
extern NetUtility_Clock g_tClock;
