#pragma once

#include <cstdint>

/** The ports at which other hosts are spoken to. Tests point them at servers of their own. */
struct NetUtility_RemotePorts {
    uint16_t uiDNS;
    uint16_t uiHTTP;
};
extern NetUtility_RemotePorts g_tRemotePorts;
