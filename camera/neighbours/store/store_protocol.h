#pragma once

#include "camera/store/store.h"

#include <string>
#include <string_view>
#include <variant>
#include <vector>

/*
 * The protocol of the store's socket. A request is one header line and, directly behind it, a text without an end
 * mark: keys, or "key=value" pairs, joined by "&". Empty pieces mean nothing.
 *
 *   get NameValue 99 0          set NameValue 99 0 0
 *   capability_ndi&             network_restart=1
 *
 * An answer has one line, "key=value", per key that was asked for and is held, or per pair that was stored.
 */

namespace camera
{

/**
 * The longest request that is looked at; the daemon sends at most 2047 bytes. It is less than what a stream socket
 * of this machine delivers at a time, so a longer one is seen to be too long at once.
 */
inline constexpr size_t STORE_MAX_REQUEST = 16384;

/** Asks for values. */
struct StoreGet {
    std::vector<std::string> keys;
};
/** Changes values, all or none. */
struct StoreSet {
    std::vector<Setting> settings;
};
/** The header line is not complete yet. */
struct StoreIncomplete {
};
/** No request of this protocol, or one that would store what no answer line could carry. */
struct StoreMalformed {
};
using StoreRequest = std::variant<StoreIncomplete, StoreMalformed, StoreGet, StoreSet>;

/** Reads what has arrived on a connection. */
[[nodiscard]] StoreRequest parseStoreRequest(std::string_view received);

/** The answer to a read; empty when none of the keys is held. */
[[nodiscard]] std::string composeStoreAnswer(const Store &store, const StoreGet &request);
/** The answer to a stored change: its pairs, or a single line feed when it held none. */
[[nodiscard]] std::string composeStoreAnswer(const StoreSet &request);

} // namespace camera
