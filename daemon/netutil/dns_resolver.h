#pragma once

#include <cstdint>
#include <netinet/in.h>

/**
 * The result when a name does not exist: 0x810E0003. Results are 32 bits wide and signed, so this is a negative
 * number like any other failure.
 */
inline constexpr int32_t NETUTILITY_NO_SUCH_NAME = static_cast<int32_t>(0x810E0003);

/**
 * Asks the DNS server (network byte order) for the address of a host and waits for at most `uiTimeoutSec` in all;
 * only datagrams that come from that server's port count, and those with another identifier are passed over. A name
 * that is an address is converted without asking (as inet_addr(3) does). Returns 0 with the address stored in
 * network byte order; NETUTILITY_NO_SUCH_NAME; or -1 when an argument is missing (traced), the name cannot be asked
 * for or no usable answer came.
 *
 * An answer without an address gives 0 too and leaves `*puiAddress` as it was: callers that need one set it to 0
 * before.
 */
[[nodiscard]] int32_t NetUtility_DNSResolve(in_addr_t uiServer, const char *pcName, uint32_t uiTimeoutSec,
                                            in_addr_t *puiAddress);

/**
 * Tells whether the resolver file's first server knows the name within 2 seconds: 1 or 0 (traced). `iStatus` gets
 * NetUtility_DNSResolve's result, -1 when it did not come to that.
 */
[[nodiscard]] int NetUtility_IsValidDomainName(const char *pcName, int32_t &iStatus);
