#include "daemon/netutil/local_address.h"

#include "daemon/base/text_builder.h"
#include "daemon/netutil/socket_helpers.h"
#include "platform/log.h"

#include <cerrno>
#include <cstring>
#include <iterator>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace
{

constexpr const char *INTERFACES[] = {"eth0", "wlan0"};

} // namespace

int NetUtility_GetLocalIP(int32_t iInterfaceKind, in_addr_t &uiAddress)
{
    if (iInterfaceKind < 0 || iInterfaceKind >= static_cast<int32_t>(std::size(INTERFACES))) {
        Trace("[NetUtility_GetLocalIP] Invalid network interface type: %d\r\n", iInterfaceKind);
        return -1;
    }
    int32_t iSocket = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (iSocket < 0) {
        Trace("[NetUtility_GetLocalIP] FAILED creating request socket\r");
        return -1;
    }
    ifreq tRequest = {};
    Text_Copy(tRequest.ifr_name, INTERFACES[iInterfaceKind]);
    const int iResult = ioctl(iSocket, SIOCGIFADDR, &tRequest);
    if (iResult != 0) {
        Trace("[NetUtility_GetLocalIP] ioctl failed. errno: %s(%d)\r\n", strerror(errno), errno);
    } else {
        sockaddr_in tAddress;
        memcpy(&tAddress, &tRequest.ifr_addr, sizeof tAddress);
        uiAddress = tAddress.sin_addr.s_addr;
    }
    NetUtility_CloseSocket(iSocket);
    return iResult == 0 ? 0 : -1;
}
