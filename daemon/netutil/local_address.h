#pragma once

#include <cstdint>
#include <netinet/in.h>

/**
 * Stores the IPv4 address, in network byte order, of the interface "eth0" (kind 0) or "wlan0" (kind 1). Returns 0,
 * or -1 (traced) for another kind and for an interface without an address; nothing is stored then.
 */
[[nodiscard]] int NetUtility_GetLocalIP(int32_t iInterfaceKind, in_addr_t &uiAddress);
