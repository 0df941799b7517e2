#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

[[nodiscard]] constexpr bool Text_IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/**
 * Finds the value of a key: it stands behind the first occurrence of `key` (given with its "=") anywhere in `text`
 * and runs to the next `cEnd`, "&" in requests, a line feed in replies of the configuration store. Returns 0, or -1
 * when the key or the end is missing.
 *
 * The search does not care where names begin, so a key also matches as the tail of a longer one that stands
 * earlier.
 */
[[nodiscard]] int Text_FindValue(std::string_view text, std::string_view key, char cEnd, std::string_view &value);

/**
 * Converts as strtol does in base 10, with the 32-bit long of the camera's processor on every machine: leading
 * blanks and a sign, then digits; what follows them is ignored, no digits give 0, too large values the nearest
 * limit.
 */
[[nodiscard]] int32_t Text_ToInt(std::string_view text);

/**
 * Reads numbers with `cSeparator` between them, as scanf's "%d,%d" would: blanks before a number are passed over,
 * what follows the last number is ignored. Returns 0, or -1 when one is missing.
 */
[[nodiscard]] int Text_ScanInts(std::string_view text, char cSeparator, std::span<int32_t> values);
