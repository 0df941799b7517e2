#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/*
 * Optional keys of a request. A key that is absent, or whose text is longer than its field, is not given; one that
 * is given must be good.
 */

enum class KeyOutcome { NotGiven, Taken, Bad };

/** The longest text that is looked at as an on/off word; a longer one counts as not given. */
inline constexpr size_t MAX_KEY_WORD = 15;

/** Takes a decimal number of `iMin` to `iMax`. */
[[nodiscard]] KeyOutcome Request_TakeInt(std::string_view text, std::string_view key, int32_t iMin, int32_t iMax,
                                         int32_t &iValue);
/**
 * Takes a word: exactly `one` gives 1, exactly `zero` gives 0, upper and lower case differ. A text of more than
 * `maxLength` characters (127 at most) counts as not given.
 */
[[nodiscard]] KeyOutcome Request_TakeWord(std::string_view text, std::string_view key, std::string_view one,
                                          std::string_view zero, int32_t &iValue, size_t maxLength = MAX_KEY_WORD);

[[nodiscard]] constexpr bool IsWithin(int32_t iValue, int32_t iMin, int32_t iMax)
{
    return iValue >= iMin && iValue <= iMax;
}

/** One key of a family that has many: how its value is checked, where it goes, which bit says that it was given. */
struct KeyRow {
    enum class Kind { Text, Word, Int, Special };

    Kind eKind;
    std::string_view key; ///< with its "="
    uint32_t uiBit;
    size_t size = 0; ///< of a text field; of a special value with its terminator
    void *(*pfnField)(void *pvRecord) = nullptr;
    std::string_view one = {}, zero = {};
    int32_t iMin = 0, iMax = 0;
    bool (*pfnTextCheck)(std::string_view value) = nullptr;
    bool (*pfnIntCheck)(int32_t iValue) = nullptr;
    bool (*pfnSpecial)(std::string_view value, void *pvRecord) = nullptr;
};

/**
 * Takes the keys of the table, in its order, into the record and sets their bits in `uiSetMask`. Returns 0, or -1
 * at the first bad value; what was taken before it stays.
 */
[[nodiscard]] int Request_TakeRows(std::string_view text, std::span<const KeyRow> rows, void *pvRecord,
                                   uint32_t &uiSetMask);

template <typename Record, size_t N>
[[nodiscard]] int Request_TakeKeys(std::string_view text, const KeyRow (&rows)[N], Record &record)
{
    return Request_TakeRows(text, rows, &record, record.uiSetMask);
}

/* Builders of rows. The field is a pointer to a member, `KeyText<&NetworkConfigParam::acIPAddr>("ip=", 0x2,
 * check)`, or two, of a record in the record and of the field in that. */

template <auto... Members>
struct KeyField;
template <typename Record, typename Field, Field Record::*Member>
struct KeyField<Member> {
    static constexpr size_t SIZE = sizeof(Field);
    static void *Of(void *pvRecord) { return &(static_cast<Record *>(pvRecord)->*Member); }
};
template <typename Record, typename Inner, Inner Record::*Outer, typename Field, Field Inner::*Member>
struct KeyField<Outer, Member> {
    static constexpr size_t SIZE = sizeof(Field);
    static void *Of(void *pvRecord) { return &(static_cast<Record *>(pvRecord)->*Outer.*Member); }
};

/** A text that fits the field; with a check, one that passes it. */
template <auto... Members>
constexpr KeyRow KeyText(std::string_view key, uint32_t uiBit, bool (*pfnCheck)(std::string_view) = nullptr)
{
    using Field = KeyField<Members...>;
    return {.eKind = KeyRow::Kind::Text,
            .key = key,
            .uiBit = uiBit,
            .size = Field::SIZE,
            .pfnField = Field::Of,
            .pfnTextCheck = pfnCheck};
}

/** A word of two, kept as 1 or 0. */
template <auto Member>
constexpr KeyRow KeyWord(std::string_view key, uint32_t uiBit, std::string_view one, std::string_view zero)
{
    return {.eKind = KeyRow::Kind::Word,
            .key = key,
            .uiBit = uiBit,
            .pfnField = KeyField<Member>::Of,
            .one = one,
            .zero = zero};
}

/** A number of iMin to iMax; with a check, one that passes it too. */
template <auto Member>
constexpr KeyRow KeyInt(std::string_view key, uint32_t uiBit, int32_t iMin, int32_t iMax,
                        bool (*pfnCheck)(int32_t) = nullptr)
{
    return {.eKind = KeyRow::Kind::Int,
            .key = key,
            .uiBit = uiBit,
            .pfnField = KeyField<Member>::Of,
            .iMin = iMin,
            .iMax = iMax,
            .pfnIntCheck = pfnCheck};
}

/** A number that passes the check. */
template <auto Member>
constexpr KeyRow KeyInt(std::string_view key, uint32_t uiBit, bool (*pfnCheck)(int32_t))
{
    return KeyInt<Member>(key, uiBit, INT32_MIN, INT32_MAX, pfnCheck);
}

template <auto Function>
struct KeyFunction;
template <typename Record, bool (*Function)(std::string_view, Record &)>
struct KeyFunction<Function> {
    static bool Call(std::string_view value, void *pvRecord)
    {
        return Function(value, *static_cast<Record *>(pvRecord));
    }
};

/** A text of at most `maxLength` (127) characters for a function of the family; false from it is a bad value. */
template <auto Function>
constexpr KeyRow KeySpecial(std::string_view key, uint32_t uiBit, size_t maxLength)
{
    return {.eKind = KeyRow::Kind::Special,
            .key = key,
            .uiBit = uiBit,
            .size = maxLength + 1,
            .pfnSpecial = KeyFunction<Function>::Call};
}
