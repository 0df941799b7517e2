#pragma once

#include "daemon/base/record_field.h"
#include "daemon/request/request_text.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

/*
 * Optional keys of a request. A key that is absent, or whose text is longer than its field, is not given; one that
 * is given must be good.
 */

enum class KeyOutcome { NotGiven, Taken, Bad };

/** The longest text that is looked at as an on/off word; a longer one counts as not given. */
inline constexpr size_t MAX_KEY_WORD = 15;
/** The longest text that a key can carry. */
inline constexpr size_t MAX_KEY_TEXT = MAX_INT_TEXT;

/** Takes a decimal number of `iMin` to `iMax`. */
[[nodiscard]] KeyOutcome Request_TakeInt(std::string_view text, std::string_view key, int32_t iMin, int32_t iMax,
                                         int32_t &iValue);
/**
 * Takes a word: exactly `one` gives 1, exactly `zero` gives 0, upper and lower case differ. A text of more than
 * `maxLength` characters (MAX_KEY_TEXT at most) counts as not given.
 */
[[nodiscard]] KeyOutcome Request_TakeWord(std::string_view text, std::string_view key, std::string_view one,
                                          std::string_view zero, int32_t &iValue, size_t maxLength = MAX_KEY_WORD);

[[nodiscard]] constexpr bool IsWithin(int32_t iValue, int32_t iMin, int32_t iMax)
{
    return iValue >= iMin && iValue <= iMax;
}

/**
 * One key of a family that has many: how its value is checked, where it goes, which bit says that it was given.
 * Made by the builders below, never by hand.
 */
struct KeyRule {
    enum class Kind : uint32_t { Text, Word, Int, Special };

    Kind eKind;
    uint32_t uiBit;
    std::string_view key;              ///< with its "="
    void *(*pfnField)(void *pvRecord); ///< null for a special value
    union {
        struct {
            size_t size; ///< of the field
            bool (*pfnCheck)(std::string_view value);
        } tText;
        struct {
            std::string_view one, zero;
        } tWord;
        struct {
            int32_t iMin, iMax;
            bool (*pfnCheck)(int32_t iValue);
        } tInt;
        struct {
            size_t size; ///< of the value with its terminator
            bool (*pfnTake)(std::string_view value, void *pvRecord);
        } tSpecial;
    };
};

/** A rule for a field of this record and of no other: `constexpr KeyRow<NetworkConfigParam> KEYS[] = {...};` */
template <typename Record>
struct KeyRow : KeyRule {
    // A constructor, because an aggregate could be initialised from the rule in another record's row.
    constexpr explicit KeyRow(const KeyRule &rule) : KeyRule(rule) {}
};

/** Takes one key into the record that the rule was made for and sets its bit in `uiSetMask`. */
[[nodiscard]] KeyOutcome Request_TakeKey(std::string_view text, const KeyRule &rule, void *pvRecord,
                                         uint32_t &uiSetMask);

/**
 * Takes the keys of the table, in its order, into the record and sets their bits in the record's mask. Returns 0,
 * or -1 at the first bad value; what was taken before it stays.
 */
template <typename Record, size_t N>
[[nodiscard]] int Request_TakeKeys(std::string_view text, const KeyRow<Record> (&rows)[N], Record &record)
{
    for (const KeyRow<Record> &row : rows)
        if (Request_TakeKey(text, row, &record, record.uiSetMask) == KeyOutcome::Bad)
            return -1;
    return 0;
}

/** Whether the request gave one of the keys with these bits. */
template <typename Record>
[[nodiscard]] constexpr bool Request_Gave(const Record &record, uint32_t uiBits)
{
    return (record.uiSetMask & uiBits) != 0;
}

/** Adds the bits of a table to `uiSeen`; false when one of them is there already. */
template <typename Record, size_t N>
constexpr bool KeyBitsAreNew(uint32_t &uiSeen, const KeyRow<Record> (&rows)[N])
{
    for (const KeyRow<Record> &row : rows) {
        if ((uiSeen & row.uiBit) != 0)
            return false;
        uiSeen |= row.uiBit;
    }
    return true;
}

/** Whether no two keys of a record share a bit, over all its tables. A key that is always refused has none. */
template <typename Record, size_t... N>
constexpr bool KeyBitsAreDistinct(const KeyRow<Record> (&...tables)[N])
{
    uint32_t uiSeen = 0;
    return (KeyBitsAreNew(uiSeen, tables) && ...);
}

/* Builders of rows. The field is a pointer to a member, `KeyText<&NetworkConfigParam::acIPAddr>("ip=", 0x2,
 * check)`, or two, of a record in the record and of the field in that. */

template <auto... Members>
concept KeyTextField = TextField<Members...> && TEXT_FIELD_SIZE<typename RecordField<Members...>::Field>
<= MAX_KEY_TEXT + 1;

/** A text that fits the field; with a check, one that passes it. */
template <auto... Members>
requires KeyTextField<Members...>
constexpr auto KeyText(std::string_view key, uint32_t uiBit, bool (*pfnCheck)(std::string_view) = nullptr)
{
    using Field = RecordField<Members...>;
    return KeyRow<typename Field::Record>({.eKind = KeyRule::Kind::Text,
                                           .uiBit = uiBit,
                                           .key = key,
                                           .pfnField = Field::Of,
                                           .tText = {TEXT_FIELD_SIZE<typename Field::Field>, pfnCheck}});
}

/** A word of two, kept as 1 or 0. */
template <auto Member>
requires IntField<Member>
constexpr auto KeyWord(std::string_view key, uint32_t uiBit, std::string_view one, std::string_view zero)
{
    using Field = RecordField<Member>;
    return KeyRow<typename Field::Record>(
        {.eKind = KeyRule::Kind::Word, .uiBit = uiBit, .key = key, .pfnField = Field::Of, .tWord = {one, zero}});
}

/** A number of iMin to iMax; with a check, one that passes it too. */
template <auto Member>
requires IntField<Member>
constexpr auto KeyInt(std::string_view key, uint32_t uiBit, int32_t iMin, int32_t iMax,
                      bool (*pfnCheck)(int32_t) = nullptr)
{
    using Field = RecordField<Member>;
    return KeyRow<typename Field::Record>({.eKind = KeyRule::Kind::Int,
                                           .uiBit = uiBit,
                                           .key = key,
                                           .pfnField = Field::Of,
                                           .tInt = {iMin, iMax, pfnCheck}});
}

/** A number that passes the check. */
template <auto Member>
constexpr auto KeyInt(std::string_view key, uint32_t uiBit, bool (*pfnCheck)(int32_t))
{
    return KeyInt<Member>(key, uiBit, INT32_MIN, INT32_MAX, pfnCheck);
}

template <auto Function>
struct KeyFunction;
template <typename R, bool (*Function)(std::string_view, R &)>
struct KeyFunction<Function> {
    using Record = R;
    static bool Call(std::string_view value, void *pvRecord)
    {
        return Function(value, *static_cast<R *>(pvRecord));
    }
};

/** A text of at most `MaxLength` characters for a function of the family; false from it is a bad value. */
template <auto Function, size_t MaxLength>
requires(MaxLength <= MAX_KEY_TEXT) constexpr auto KeySpecial(std::string_view key, uint32_t uiBit)
{
    using Taker = KeyFunction<Function>;
    return KeyRow<typename Taker::Record>({.eKind = KeyRule::Kind::Special,
                                           .uiBit = uiBit,
                                           .key = key,
                                           .pfnField = nullptr,
                                           .tSpecial = {MaxLength + 1, Taker::Call}});
}
