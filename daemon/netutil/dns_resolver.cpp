#include "daemon/netutil/dns_resolver.h"

#include "daemon/base/clock.h"
#include "daemon/netutil/address.h"
#include "daemon/netutil/dns_message.h"
#include "daemon/netutil/remote_ports.h"
#include "daemon/netutil/resolver_file.h"
#include "daemon/netutil/socket_helpers.h"
#include "platform/log.h"

#include <arpa/inet.h>
#include <cerrno>
#include <sys/random.h>
#include <sys/socket.h>

namespace
{

constexpr uint32_t DOMAIN_NAME_TIMEOUT_SEC = 2;

/** A number that nobody can foresee; -1, not a wait, while the kernel has no entropy yet (getrandom(2)). */
int MakeIdentifier(uint16_t &uiIdentifier)
{
    return getrandom(&uiIdentifier, sizeof uiIdentifier, GRND_NONBLOCK) == sizeof uiIdentifier ? 0 : -1;
}

/**
 * Sends the query from a new socket, which is connected so that the kernel passes on only what that server sends.
 * Returns the socket, or -1.
 */
int SendQuery(in_addr_t uiServer, std::span<const uint8_t> query)
{
    int32_t iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (iSocket < 0)
        return -1;
    sockaddr_in tServer = {};
    tServer.sin_family = AF_INET;
    tServer.sin_port = htons(g_tRemotePorts.uiDNS);
    tServer.sin_addr.s_addr = uiServer;
    if (connect(iSocket, reinterpret_cast<const sockaddr *>(&tServer), sizeof tServer) != 0 ||
        send(iSocket, query.data(), query.size(), MSG_NOSIGNAL) < 0 || NetUtility_SetNonBlocking(iSocket) != 0)
        NetUtility_CloseSocket(iSocket);
    return iSocket;
}

int32_t ReceiveAnswer(int iSocket, uint16_t uiIdentifier, uint32_t uiLimitMs, in_addr_t &uiAddress)
{
    const uint32_t uiStart = NetUtility_GetTickMs();
    pollfd tWait = {iSocket, POLLIN, 0};
    while (NetUtility_WaitSockets({&tWait, 1}, uiStart, uiLimitMs) > 0) {
        uint8_t auiAnswer[DNS_MESSAGE_SIZE];
        const ssize_t length = recv(iSocket, auiAnswer, sizeof auiAnswer, 0);
        if (length < 0) {
            // A datagram with a wrong checksum wakes the wait and is gone then.
            if (errno == EAGAIN)
                continue;
            Trace("[NetUtility_DNSResolve] recvfrom failed (%d)\r\n", errno);
            return -1;
        }
        switch (NetUtility_DNSParseAnswer({auiAnswer, static_cast<size_t>(length)}, uiIdentifier, uiAddress)) {
        case DNSAnswer::Address:
        // KEPT: an answer without an address is a success that stores none; the name exists, and that is all that
        // NetUtility_IsValidDomainName asks.
        case DNSAnswer::NoAddress:
            return 0;
        case DNSAnswer::NoSuchName:
            return NETUTILITY_NO_SUCH_NAME;
        case DNSAnswer::Unusable:
            return -1;
        case DNSAnswer::NotOurs:
            break;
        }
    }
    return -1;
}

} // namespace

int32_t NetUtility_DNSResolve(in_addr_t uiServer, const char *pcName, uint32_t uiTimeoutSec, in_addr_t *puiAddress)
{
    if (uiServer == 0) {
        Trace("[NetUtility_DNSResolve] Need DNS server IP\r");
        return -1;
    }
    if (pcName == nullptr || *pcName == '\0' || puiAddress == nullptr || uiTimeoutSec == 0) {
        Trace("[NetUtility_DNSResolve] Invalid argument\r");
        return -1;
    }
    if (NetUtility_IsAddressText(pcName)) {
        *puiAddress = inet_addr(pcName);
        return 0;
    }

    uint16_t uiIdentifier = 0;
    uint8_t auiQuery[DNS_MESSAGE_SIZE];
    if (MakeIdentifier(uiIdentifier) != 0)
        return -1;
    const int iLength = NetUtility_DNSBuildQuery(auiQuery, uiIdentifier, pcName);
    if (iLength < 0)
        return -1;
    int32_t iSocket = SendQuery(uiServer, {auiQuery, static_cast<size_t>(iLength)});
    if (iSocket < 0)
        return -1;
    const int32_t iResult = ReceiveAnswer(iSocket, uiIdentifier, NetUtility_WaitLimitMs(uiTimeoutSec), *puiAddress);
    NetUtility_CloseSocket(iSocket);
    return iResult;
}

int NetUtility_IsValidDomainName(const char *pcName, int32_t &iStatus)
{
    iStatus = -1;
    if (pcName == nullptr || *pcName == '\0') {
        Trace("[NetUtility_IsValidDomainName] Invalid arguments\r");
        return 0;
    }
    in_addr_t uiPrimary = 0;
    in_addr_t uiSecondary = 0;
    if (NetUtility_GetDNSServer(uiPrimary, uiSecondary) != 0) {
        Trace("[NetUtility_IsValidDomainName] Get DNS server IP failed\r");
        return 0;
    }
    in_addr_t uiAddress = 0;
    iStatus = NetUtility_DNSResolve(uiPrimary, pcName, DOMAIN_NAME_TIMEOUT_SEC, &uiAddress);
    if (iStatus != 0)
        Trace("[NetUtility_IsValidDomainName] DNS resolve failed\r");
    return iStatus == 0 ? 1 : 0;
}
