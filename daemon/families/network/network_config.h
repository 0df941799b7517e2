#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/families/network/ddns_provider.h"
#include "daemon/session/session.h"

/* "/config/network.cgi": addresses, ports, UPnP, PPPoE and the DDNS account. */

/** What a request gives, or what the store holds (then without mask). */
struct NetworkConfigRecord {
    uint32_t uiSetMask;
    int32_t iDHCP; ///< 1 = address by DHCP, 0 = fixed
    char acIPAddr[16];
    char acNetmask[16];
    char acGateway[16];
    char acDNS1[16];
    char acDNS2[16];
    int32_t iPPPoE; ///< 1 = PPPoE, 0 = LAN
    char acPPPoEUser[128];
    char acPPPoEPass[64];
    int32_t iDDNSEnable;
    DDNSAccount tDDNS;
    int32_t iUPnP;
    int32_t iHTTPPort;
    int32_t iHTTPExternalPort;
    int32_t iRTSPPort;
};
using NetworkConfigParam = NetworkConfigRecord;
using NetworkConfigResult = NetworkConfigRecord;

[[nodiscard]] int Parser_NetworkConfig_Set(SessionSlot &slot);
/** Address, port and UPnP changes ask for a network restart; PPPoE changes make the store restart the camera. */
[[nodiscard]] int MappingSetRoutine_NetworkConfig(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_NetworkConfig(SessionSlot &slot);
void Compose_NetworkConfig(TextBuilder &body, SessionSlot &slot);
