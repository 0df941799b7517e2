#include "daemon/netutil/connectivity.h"

#include "daemon/base/clock.h"
#include "daemon/netutil/dns_resolver.h"
#include "daemon/netutil/remote_ports.h"
#include "daemon/netutil/socket_helpers.h"
#include "platform/log.h"

#include <arpa/inet.h>
#include <cerrno>
#include <iterator>
#include <sys/socket.h>

namespace
{

// Reserved for examples (RFC 2606) and served for good.
constexpr const char *PROBE_NAMES[] = {"www.example.com", "www.example.net", "www.example.org"};
constexpr size_t PROBE_COUNT = std::size(PROBE_NAMES);

struct Probes {
    int32_t aiSockets[PROBE_COUNT] = {-1, -1, -1};
    in_addr_t auiAddresses[PROBE_COUNT] = {};
};

/** Opens a socket for each name that has an address. Returns how many, or -1 when there was no socket to be had. */
int OpenProbes(Probes &probes, uint32_t uiTimeoutSec, in_addr_t uiServer)
{
    int iOpened = 0;
    for (size_t i = 0; i < PROBE_COUNT; ++i) {
        // An answer without an address leaves the 0, which to connect to would find the camera's own web server.
        if (NetUtility_DNSResolve(uiServer, PROBE_NAMES[i], uiTimeoutSec / 3 + 1, &probes.auiAddresses[i]) != 0 ||
            probes.auiAddresses[i] == 0)
            continue;
        probes.aiSockets[i] = socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
        if (probes.aiSockets[i] < 0)
            return -1;
        ++iOpened;
    }
    return iOpened;
}

/** Starts the connections and closes what fails at once. Returns how many are under way. */
int StartProbes(Probes &probes)
{
    int iStarted = 0;
    for (size_t i = 0; i < PROBE_COUNT; ++i) {
        if (probes.aiSockets[i] < 0)
            continue;
        sockaddr_in tAddress = {};
        tAddress.sin_family = AF_INET;
        tAddress.sin_port = htons(g_tRemotePorts.uiHTTP);
        tAddress.sin_addr.s_addr = probes.auiAddresses[i];
        if (connect(probes.aiSockets[i], reinterpret_cast<const sockaddr *>(&tAddress), sizeof tAddress) == 0 ||
            errno == EAGAIN || errno == EINPROGRESS)
            ++iStarted;
        else
            NetUtility_CloseSocket(probes.aiSockets[i]);
    }
    return iStarted;
}

int32_t Probe(Probes &probes, uint32_t uiTimeoutSec, in_addr_t uiServer)
{
    const int iOpened = OpenProbes(probes, uiTimeoutSec, uiServer);
    if (iOpened <= 0)
        return iOpened < 0 ? -1 : NETUTILITY_NO_PROBE_NAME;
    if (StartProbes(probes) == 0)
        return -1;
    pollfd atWaits[PROBE_COUNT];
    for (size_t i = 0; i < PROBE_COUNT; ++i)
        atWaits[i] = {probes.aiSockets[i], POLLOUT, 0};
    // Every socket that is left has a connection under way: the first to become writable decides, whichever it is.
    const uint32_t uiLimitMs = NetUtility_WaitLimitMs(uiTimeoutSec);
    return NetUtility_WaitSockets(atWaits, NetUtility_GetTickMs(), uiLimitMs) > 0 ? 0 : -1;
}

} // namespace

int32_t NetUtility_ConnectToInternet(uint32_t uiTimeoutSec, in_addr_t uiServer)
{
    if (uiTimeoutSec == 0 || uiServer == 0) {
        Trace("[NetUtility_ConnectToInternet] Invalid arguments\r");
        return -1;
    }
    Probes probes;
    const int32_t iResult = Probe(probes, uiTimeoutSec, uiServer);
    NetUtility_CloseSockets(probes.aiSockets);
    return iResult;
}
