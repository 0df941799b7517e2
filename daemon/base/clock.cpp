#include "daemon/base/clock.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <sys/times.h>
#include <unistd.h>

namespace
{

uint32_t SystemTickMs()
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

void SystemSleepMs(uint32_t uiMilliseconds)
{
    timespec rest = {static_cast<time_t>(uiMilliseconds / 1000),
                     static_cast<long>(uiMilliseconds % 1000) * 1000000};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

} // namespace

NetUtility_Clock g_tClock = {SystemTickMs, SystemSleepMs};

uint32_t NetUtility_GetTickMs()
{
    return g_tClock.pfnTickMs();
}

int NetUtility_IsTimeout(uint32_t uiStartMs, uint32_t uiLimitMs, uint32_t *puiElapsed)
{
    const uint32_t uiNow = NetUtility_GetTickMs();
    const uint32_t uiElapsed = uiNow >= uiStartMs ? uiNow - uiStartMs : uiStartMs - uiNow;
    if (puiElapsed != nullptr)
        *puiElapsed = uiElapsed;
    return uiElapsed > uiLimitMs ? 1 : 0;
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
}
