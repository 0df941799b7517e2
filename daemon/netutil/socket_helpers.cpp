#include "daemon/netutil/socket_helpers.h"

#include "daemon/base/clock.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

void NetUtility_CloseSocket(int32_t &iSocket)
{
    if (iSocket == -1 || iSocket == -2)
        return;
    close(iSocket);
    iSocket = -1;
}

void NetUtility_CloseSockets(std::span<int32_t> sockets)
{
    for (int32_t &iSocket : sockets)
        NetUtility_CloseSocket(iSocket);
}

int NetUtility_SetReuseAddress(int32_t iSocket)
{
    const int iOn = 1;
    return setsockopt(iSocket, SOL_SOCKET, SO_REUSEADDR, &iOn, sizeof iOn);
}

int NetUtility_SetNonBlocking(int32_t iSocket)
{
    const int iFlags = fcntl(iSocket, F_GETFL);
    return iFlags < 0 ? -1 : fcntl(iSocket, F_SETFL, iFlags | O_NONBLOCK);
}

uint32_t NetUtility_WaitLimitMs(uint32_t uiLimitSec)
{
    return std::min<uint32_t>(uiLimitSec, INT32_MAX / 1000) * 1000;
}

int NetUtility_WaitSockets(std::span<pollfd> sockets, uint32_t uiStartMs, uint32_t uiLimitMs)
{
    uint32_t uiElapsed = 0;
    while (NetUtility_IsTimeout(uiStartMs, uiLimitMs, &uiElapsed) == 0) {
        // poll(2), not select(2): a descriptor above FD_SETSIZE does no harm.
        const int iReady = poll(sockets.data(), sockets.size(), static_cast<int>(uiLimitMs - uiElapsed));
        NetUtility_ForgetTick();
        if (iReady >= 0 || errno != EINTR)
            return iReady;
    }
    return 0;
}
