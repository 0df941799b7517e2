#include "daemon/base/clock.h"
#include "daemon/base/wait.h"
#include "daemon/netutil/network_restart.h"
#include "daemon/server/server.h"
#include "daemon/session/globals.h"
#include "platform/log.h"

#include <algorithm>
#include <climits>
#include <poll.h>

namespace
{

/** The pace of rounds while a session has to be driven on. */
constexpr uint32_t ROUND_WAIT_MS = 1;

enum Watched : uint32_t { HAND_OVER, EVENT, WAKE, FIRST_SESSION };

uint32_t NetworkRestartDueMs()
{
    const ServerGlobals &globals = g_tServerGlobals;
    return globals.iNetworkRestart != 0
               ? NetUtility_RemainingMs(globals.uiNetworkRestartTick, NETWORK_RESTART_DELAY_MS)
               : WAIT_FOREVER;
}

} // namespace

RoundInput KelpaFdServer_Wait(KelpaFdServer &server)
{
    pollfd atPoll[FIRST_SESSION + MAX_SESSIONS] = {
        {server.iHandOverSocket, POLLIN, 0}, {server.iEventSocket, POLLIN, 0}, {Wait_Descriptor(), POLLIN, 0}};
    SessionSlot *aptWaiting[MAX_SESSIONS];
    uint32_t uiWaiting = 0;
    // Traces are for people: they are written once the loop finds nothing to do, which costs nothing under load.
    uint32_t uiDueMs = server.iRoundFailed != 0 || Trace_Pending() ? ROUND_WAIT_MS : NetworkRestartDueMs();
    for (SessionSlot &slot : server.atSessions) {
        if (slot.tRequest.iClientSocket == SOCKET_NONE)
            continue;
        if (slot.iAwaited == 0) {
            uiDueMs = std::min(uiDueMs, ROUND_WAIT_MS);
            continue;
        }
        atPoll[FIRST_SESSION + uiWaiting] = {slot.tRequest.iClientSocket, static_cast<short>(slot.iAwaited), 0};
        aptWaiting[uiWaiting++] = &slot;
        if (uiDueMs > ROUND_WAIT_MS)
            uiDueMs = std::min(uiDueMs, KelpaFdServer_SessionDueMs(slot));
    }
    const int iTimeoutMs = uiDueMs == WAIT_FOREVER ? -1 : static_cast<int>(std::min<uint32_t>(uiDueMs, INT_MAX));
    const int iReady = g_tClock.pfnRest(atPoll, FIRST_SESSION + uiWaiting, iTimeoutMs);
    NetUtility_ForgetTick();
    if (iReady <= 0) {
        Trace_Flush();
        return {};
    }
    if (atPoll[WAKE].revents != 0)
        Wait_Drain();
    for (uint32_t i = 0; i < uiWaiting; ++i)
        if (atPoll[FIRST_SESSION + i].revents != 0)
            aptWaiting[i]->iAwaited = 0;
    return {.handOver = atPoll[HAND_OVER].revents != 0, .event = atPoll[EVENT].revents != 0};
}
