#pragma once

#include <cstdint>
#include <netinet/in.h>

/** The result when none of the probed names resolves: 0x810E0001, negative as NETUTILITY_NO_SUCH_NAME is. */
inline constexpr int32_t NETUTILITY_NO_PROBE_NAME = static_cast<int32_t>(0x810E0001);

/**
 * Tells whether the internet can be reached: asks the DNS server (network byte order) for three public web hosts
 * and connects to those that have an address. Each name may take a third of the time-out and a second, the
 * connections together the whole time-out. A host that refuses the connection is a host that was reached. Returns 0
 * when one was, NETUTILITY_NO_PROBE_NAME, or -1 in every other case.
 */
[[nodiscard]] int32_t NetUtility_ConnectToInternet(uint32_t uiTimeoutSec, in_addr_t uiServer);
