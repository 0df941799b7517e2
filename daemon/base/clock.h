#pragma once

#include <cstdint>

/** Milliseconds of the process clock's ticks (times(2)), 32 bits that wrap. */
[[nodiscard]] uint32_t NetUtility_GetTickMs();

/**
 * Reports 1 when more than `uiLimitMs` lie between `uiStartMs` and now, else 0. The difference, which is absolute
 * (whichever tick is larger minus the other), is stored in `puiElapsed` unless that is null.
 */
[[nodiscard]] int NetUtility_IsTimeout(uint32_t uiStartMs, uint32_t uiLimitMs, uint32_t *puiElapsed = nullptr);

/**
 * NetUtility_IsTimeout with the limit in seconds: reports 1 when the difference in milliseconds exceeds the limit
 * times 1000. The difference is stored in whole seconds.
 */
[[nodiscard]] int NetUtility_IsTimeoutSec(uint32_t uiStartMs, uint32_t uiLimitSec,
                                          uint32_t *puiElapsedSec = nullptr);

/** The tick count in milliseconds; split in halves so that no product overflows 32 bits. */
[[nodiscard]] uint32_t NetUtility_TicksToMs(uint32_t uiTicks, uint32_t uiTicksPerSecond);

/** Sleeps the whole time, signals or not. */
void NetUtility_SleepMs(uint32_t uiMilliseconds);

/** The two ways in which the daemon meets time. Tests replace them, so that no test has to wait. */
struct NetUtility_Clock {
    uint32_t (*pfnTickMs)();
    void (*pfnSleepMs)(uint32_t uiMilliseconds);
};
extern NetUtility_Clock g_tClock;
