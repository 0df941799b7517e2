#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

/*
 * Checks of addresses in text form. Texts need no terminator, lengths count characters. The three address checks
 * and the MAC check answer 1 or 0.
 */

/**
 * Tells whether the text can stand for a dotted IPv4 address: 7 to 15 digits and dots, three dots, a digit first,
 * at most 3 digits in a group, the first three groups at most 255 (an empty one counts as 0). A null text is traced
 * and gives 0.
 */
[[nodiscard]] int NetUtility_IsValidIP(const char *pcText, size_t length);

/** NetUtility_IsValidIP in the form of a check of a request key. */
[[nodiscard]] bool NetUtility_IsAddressText(std::string_view value);

/** Tells whether the text is a MAC address of 12 hexadecimal digits without separators; traces the other reasons.
 */
[[nodiscard]] int NetUtility_IsValidMACAddr(const char *pcText, size_t length);

/** What kind of network an address belongs to; the values are those of NetUtility_GetIPClass. */
enum class IPClass : int32_t {
    Invalid = 0,   ///< no address, or 0.0.0.0
    Private = 1,   ///< RFC 1918: 10.0.0.0/8, 172.16.0.0/12, 192.168.0.0/16
    Public = 2,    ///< everything else
    LinkLocal = 3, ///< RFC 3927: 169.254.0.0/16
};

/**
 * Classifies an address given as text, read as inet_addr(3) reads it: a group with a leading 0 is octal. Texts that
 * NetUtility_IsValidIP refuses or inet_addr(3) cannot read (a last group above 255) are Invalid.
 */
[[nodiscard]] IPClass NetUtility_GetIPClass(const char *pcText, size_t length);

/** 1 for an address of 169.254.0.0/16 (RFC 3927), else 0. */
[[nodiscard]] int NetUtility_IsLinkLocalIP(const char *pcText, size_t length);
/** 1 for an address of one of the three private networks (RFC 1918), else 0. */
[[nodiscard]] int NetUtility_IsPrivateIP(const char *pcText, size_t length);
