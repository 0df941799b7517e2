#include "daemon/base/clock.h"

#include "daemon/base/wait.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>
#include <poll.h>
#include <sys/times.h>
#include <unistd.h>

namespace
{

/** The granularity of the tick, by the kernel's interface 100 a second. */
constexpr uint32_t TICK_MS = 10;

bool g_tickIsKnown = false;

uint32_t ReadTickMs()
{
    static const auto uiTicksPerSecond = static_cast<uint32_t>(sysconf(_SC_CLK_TCK));
    tms tUnused;
    const clock_t ticks = times(&tUnused);
    // times(2): the kernel returns a count that may lie in the range of its error codes; the C library then gives
    // -1 and errno, from which the count comes back.
    const auto uiTicks =
        ticks == static_cast<clock_t>(-1) ? ~static_cast<uint32_t>(errno) : static_cast<uint32_t>(ticks);
    return NetUtility_TicksToMs(uiTicks, uiTicksPerSecond);
}

uint32_t SystemTickMs()
{
    static uint32_t uiTick = 0;
    if (!g_tickIsKnown)
        uiTick = ReadTickMs();
    g_tickIsKnown = true;
    return uiTick;
}

int64_t MonotonicMs()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

void SystemSleepMs(uint32_t uiMilliseconds)
{
    pollfd wake = {Wait_Descriptor(), POLLIN, 0};
    const int64_t llDeadline = MonotonicMs() + uiMilliseconds;
    for (int64_t llLeft = uiMilliseconds; llLeft > 0 && !Wait_StopRequested(); llLeft = llDeadline - MonotonicMs())
        if (poll(&wake, 1, static_cast<int>(std::min<int64_t>(llLeft, INT_MAX))) > 0)
            Wait_Drain();
}

int SystemPoll(pollfd *ptPoll, uint32_t uiCount, int iTimeoutMs)
{
    return poll(ptPoll, uiCount, iTimeoutMs);
}

} // namespace

NetUtility_Clock g_tClock = {SystemTickMs, SystemSleepMs, SystemPoll, SystemPoll};

uint32_t NetUtility_GetTickMs()
{
    return g_tClock.pfnTickMs();
}

void NetUtility_ForgetTick()
{
    g_tickIsKnown = false;
}

int NetUtility_IsTimeout(uint32_t uiStartMs, uint32_t uiLimitMs, uint32_t *puiElapsed)
{
    const uint32_t uiNow = NetUtility_GetTickMs();
    const uint32_t uiElapsed = uiNow >= uiStartMs ? uiNow - uiStartMs : uiStartMs - uiNow;
    if (puiElapsed != nullptr)
        *puiElapsed = uiElapsed;
    return uiElapsed > uiLimitMs ? 1 : 0;
}

uint32_t NetUtility_RemainingMs(uint32_t uiStartMs, uint32_t uiLimitMs)
{
    uint32_t uiElapsed = 0;
    if (NetUtility_IsTimeout(uiStartMs, uiLimitMs, &uiElapsed) != 0)
        return 0;
    // When the tick wraps around, the absolute difference to an earlier one is large at once.
    const uint32_t uiToWrap = UINT32_MAX - NetUtility_GetTickMs();
    return std::min(uiLimitMs - uiElapsed, uiToWrap) + TICK_MS;
}

int NetUtility_IsTimeoutSec(uint32_t uiStartMs, uint32_t uiLimitSec, uint32_t *puiElapsedSec)
{
    uint32_t uiElapsed = 0;
    const uint64_t limitMs = static_cast<uint64_t>(uiLimitSec) * 1000;
    const int iTimeout =
        NetUtility_IsTimeout(uiStartMs, static_cast<uint32_t>(std::min<uint64_t>(limitMs, UINT32_MAX)), &uiElapsed);
    if (puiElapsedSec != nullptr)
        *puiElapsedSec = uiElapsed / 1000;
    return iTimeout;
}

uint32_t NetUtility_TicksToMs(uint32_t uiTicks, uint32_t uiTicksPerSecond)
{
    return (((uiTicks >> 16) * 1000 / uiTicksPerSecond) << 16) + (uiTicks & 0xFFFF) * 1000 / uiTicksPerSecond;
}

void NetUtility_SleepMs(uint32_t uiMilliseconds)
{
    g_tClock.pfnSleepMs(uiMilliseconds);
    NetUtility_ForgetTick();
}
