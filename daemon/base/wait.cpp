#include "daemon/base/wait.h"

#include "daemon/base/clock.h"
#include "platform/path.h"
#include "platform/unix_socket.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

/** unix(7): poll(2) does not tell when a listener's queue has room again. */
constexpr uint32_t CONNECT_RETRY_MS = 5;

volatile sig_atomic_t g_iWakeEvent = -1;
volatile sig_atomic_t g_iStop = 0;
bool g_stopSeen = false;
uint32_t g_uiStopTick = 0;
bool g_fair = false;

void WakeOnChild(int)
{
    Wait_Wake();
}

/** What is left of the limit, or of the grace of a stop when that is less; -1 is no limit, as poll(2) has it. */
int LeftMs(const WaitLimit &limit)
{
    uint32_t uiLeft = WAIT_FOREVER;
    if (limit.uiLimitMs != WAIT_FOREVER)
        uiLeft = NetUtility_RemainingMs(limit.uiStartTick, limit.uiLimitMs);
    if (Wait_StopRequested()) {
        if (!g_stopSeen)
            g_uiStopTick = NetUtility_GetTickMs();
        g_stopSeen = true;
        uiLeft = std::min(uiLeft, NetUtility_RemainingMs(g_uiStopTick, STOP_GRACE_MS));
    }
    return uiLeft == WAIT_FOREVER ? -1 : static_cast<int>(std::min<uint32_t>(uiLeft, INT_MAX));
}

/** One wait for the descriptor (-1: none) or a signal. Returns what poll(2) does; `ready` is the descriptor's. */
int WaitOnce(int iDescriptor, short sEvents, int iTimeoutMs, bool &ready)
{
    pollfd atPoll[] = {{iDescriptor, sEvents, 0}, {Wait_Descriptor(), POLLIN, 0}};
    const int iReady = g_tClock.pfnWait(atPoll, 2, iTimeoutMs);
    NetUtility_ForgetTick();
    if (atPoll[1].revents != 0)
        Wait_Drain();
    ready = atPoll[0].revents != 0;
    return iReady;
}

} // namespace

int Wait_Open()
{
    g_iWakeEvent = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction action = {};
    action.sa_handler = WakeOnChild;
    action.sa_flags = SA_RESTART | SA_NOCLDSTOP;
    return g_iWakeEvent >= 0 ? sigaction(SIGCHLD, &action, nullptr) : -1;
}

void Wait_Close()
{
    signal(SIGCHLD, SIG_DFL);
    if (g_iWakeEvent >= 0)
        close(g_iWakeEvent);
    g_iWakeEvent = -1;
    g_iStop = 0;
    g_stopSeen = false;
}

int Wait_Descriptor()
{
    return g_iWakeEvent;
}

void Wait_Drain()
{
    uint64_t ulCount = 0;
    [[maybe_unused]] const ssize_t got = read(g_iWakeEvent, &ulCount, sizeof ulCount);
}

void Wait_Wake()
{
    const int iSavedErrno = errno; // this runs in the midst of anything
    const uint64_t ulOne = 1;
    // Fails only when the counter is full, and then the event is ready already.
    [[maybe_unused]] const ssize_t written = write(g_iWakeEvent, &ulOne, sizeof ulOne);
    errno = iSavedErrno;
}

void Wait_RequestStop()
{
    g_iStop = 1;
    Wait_Wake();
}

bool Wait_StopRequested()
{
    return g_iStop != 0;
}

void Wait_SetFair(bool fair)
{
    g_fair = fair;
}

bool Wait_IsFair()
{
    return g_fair;
}

WaitLimit Wait_Limit(uint32_t uiLimitMs)
{
    return {uiLimitMs != WAIT_FOREVER ? NetUtility_GetTickMs() : 0, uiLimitMs};
}

WaitLimit Wait_NeighbourLimit(uint32_t uiFairMs)
{
    return Wait_Limit(g_fair ? uiFairMs : WAIT_FOREVER);
}

bool Wait_Ready(int iDescriptor, short sEvents, const WaitLimit &limit)
{
    for (;;) {
        bool ready = false;
        const int iReady = WaitOnce(iDescriptor, sEvents, LeftMs(limit), ready);
        if (ready)
            return true;
        if (iReady == 0)
            return false;
    }
}

bool Wait_Pause(uint32_t uiMilliseconds, const WaitLimit &limit)
{
    const int iLeft = LeftMs(limit);
    if (iLeft == 0)
        return false;
    const auto iPause = static_cast<int>(std::min<uint32_t>(uiMilliseconds, INT_MAX));
    bool ready = false;
    WaitOnce(-1, 0, iLeft < 0 ? iPause : std::min(iLeft, iPause), ready);
    return LeftMs(limit) != 0;
}

bool Wait_ForWake(const WaitLimit &limit)
{
    bool ready = false;
    return WaitOnce(-1, 0, LeftMs(limit), ready) != 0;
}

int Wait_Connect(const char *pcFixedPath, const WaitLimit &limit)
{
    char acPath[sizeof(sockaddr_un::sun_path) + 1];
    const int iSocket = Path_Resolve(pcFixedPath, acPath) == 0 ? UnixSocket_Open(SOCK_STREAM | SOCK_NONBLOCK) : -1;
    if (iSocket < 0)
        return -1;
    int iResult = -1;
    while ((iResult = UnixSocket_Connect(iSocket, acPath)) != 0 && errno == EAGAIN &&
           Wait_Pause(CONNECT_RETRY_MS, limit)) {
    }
    if (iResult == 0)
        return iSocket;
    const int iSavedErrno = errno;
    close(iSocket);
    errno = iSavedErrno;
    return -1;
}
