#pragma once

#include <cstdint>

/* Time zones: the API numbers them 1 to 83, the store keeps a value made of the offset from UTC. */

inline constexpr int32_t TIME_ZONE_FIRST = 1;
inline constexpr int32_t TIME_ZONE_LAST = 83;

/** The store's value of an API number; 0, which is UTC, for numbers without a value of their own. */
[[nodiscard]] int32_t TimeZone_ToStore(int32_t iApiNumber);

/** The API number that a store's value is reported as; 0 for a value that is none. */
[[nodiscard]] int32_t TimeZone_FromStore(int32_t iStoreValue);
