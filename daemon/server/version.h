#pragma once

#include <cstdint>
#include <span>

/** This daemon's version, 1.0.0.32, packed with the first number in the lowest byte. */
inline constexpr uint32_t KELPA_VERSION = 1U | 0U << 8 | 0U << 16 | 32U << 24;

/** Writes a packed version as four numbers with dots, the lowest byte first, terminated. Returns the text's length.
 */
int Version_Format(uint32_t uiVersion, std::span<char> out);
