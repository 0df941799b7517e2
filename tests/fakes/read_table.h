#pragma once

#include "tests/fakes/fake_store.h"

#include <span>
#include <string>
#include <vector>

/** A value of a store's answer. */
struct StoredValue {
    std::string name, value, kind; ///< the kind as FamilyRead::answers has it

    [[nodiscard]] bool is(const char *word) const { return kind.find(word) != std::string::npos; }
    [[nodiscard]] bool isText() const { return std::isdigit(kind[0]) != 0; }
    [[nodiscard]] size_t limit() const { return isText() ? std::stoul(kind) : 7; }
    /** The value made `length` characters long; a number stays the number that it is. */
    [[nodiscard]] std::string stretched(size_t length) const
    {
        const std::string filling(length - value.size(), isText() || is("flag") || is("unused") ? 'x' : '0');
        return filling[0] == 'x' ? value + filling : std::string(value).insert(value[0] == '-' ? 1 : 0, filling);
    }
};

/** What is asked of the store at once, and answered. */
struct StoreQuestion {
    std::string request; ///< as the store gets it
    std::vector<StoredValue> answer;
    std::string caller; ///< in whose name failures are logged, with its brackets
    std::string log;    ///< a line that follows those of the reader
};

/**
 * A read that asks the store, written down independently of the daemon. There is one for each way through a
 * family's GET routine; "/video/mjpg.cgi", whose reply comes from the web server, has none.
 */
struct FamilyRead {
    std::string url;     ///< with its query
    std::string body;    ///< with "\n" for a line's CR LF; empty: not compared
    std::string routine; ///< what follows "MappingGetRoutine_" in its name
    /**
     * The answers of the store, a line each: "name=value|kind" with "&" between two, in the order asked. A line may
     * begin with "Function: ", which asks in the routine's place, and end with "; text", which is logged at a
     * failure.
     *
     * no kind   a number of at most 7 characters
     * |flag     only the first character counts; one that is missing is logged
     * |15       a text of at most 15 characters, repeated in the reply as it is
     * |15 word  likewise, but not repeated
     * |15 none  may be missing or too long, which is as good as empty
     * |unused   asked for and not looked at
     * |bare |=  asked for without "&", or with "=&"; goes with the others
     */
    std::string answers;

    [[nodiscard]] std::vector<StoreQuestion> questions() const;
};

[[nodiscard]] std::span<const FamilyRead> allReads();

/** What a store holds that answers the first read of this URL. */
[[nodiscard]] FakeStore::Settings storedFor(const std::string &url);
