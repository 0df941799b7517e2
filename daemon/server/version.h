#pragma once

#include <cstdint>
#include <span>

/** The version of all programs; CMakeLists.txt reads this line. */
inline constexpr uint8_t KELPA_VERSION_NUMBERS[] = {1, 0, 0, 32};

/** The version, packed with the first number in the lowest byte. */
inline constexpr uint32_t KELPA_VERSION = uint32_t{KELPA_VERSION_NUMBERS[0]} | KELPA_VERSION_NUMBERS[1] << 8 |
                                          KELPA_VERSION_NUMBERS[2] << 16 | uint32_t{KELPA_VERSION_NUMBERS[3]} << 24;

/** Writes a packed version as four numbers with dots, the lowest byte first, terminated. Returns the text's length.
 */
int Version_Format(uint32_t uiVersion, std::span<char> out);
