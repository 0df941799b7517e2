#pragma once

#include <netinet/in.h>

/**
 * Reads the name servers of "/etc/resolv.conf", of which the first 256 bytes count, in network byte order; 0 stands
 * for none, INADDR_NONE for one that is not a dotted IPv4 address. Returns 0 when the file names two servers, or
 * one on its last line. Returns -1 without a file, without a server or with an unfinished line; and when anything
 * but a second server follows the first, which is stored all the same.
 */
[[nodiscard]] int NetUtility_GetDNSServer(in_addr_t &uiPrimary, in_addr_t &uiSecondary);
