#pragma once

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>
#include <span>

/*
 * The two DNS messages (RFC 1035) that finding a host's address takes. Nothing here touches the network.
 */

/** The longest message, query or answer. */
inline constexpr size_t DNS_MESSAGE_SIZE = 524;

/**
 * Writes a recursive query for the A records of `pcName`. One dot at the end of the name is passed over. Returns
 * the query's length, or -1 when the name is not one: empty, with an empty label or one of more than 63 bytes, or
 * longer than the 255 bytes that its labels may take.
 */
[[nodiscard]] int NetUtility_DNSBuildQuery(std::span<uint8_t, DNS_MESSAGE_SIZE> out, uint16_t uiIdentifier,
                                           const char *pcName);

enum class DNSAnswer {
    Address,    ///< it gives an address
    NoAddress,  ///< it ends, or becomes unreadable, before one
    NoSuchName, ///< the name does not exist (response code 3)
    Unusable,   ///< it does not answer a query of this kind
    NotOurs,    ///< another identifier, or too short to have one
};

/**
 * Takes the first address out of an answer to the query with this identifier. The packet may hold anything. Only
 * Address stores one, in network byte order.
 */
[[nodiscard]] DNSAnswer NetUtility_DNSParseAnswer(std::span<const uint8_t> packet, uint16_t uiIdentifier,
                                                  in_addr_t &uiAddress);
