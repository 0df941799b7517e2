#pragma once

#include "daemon/base/record_field.h"
#include "daemon/base/text_builder.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

/*
 * What is read from the store: each key once, in the order asked, with the field that takes its value.
 *
 *     constexpr ReadRow<DDNSResult> SETTINGS[] = {
 *         ReadBool<&DDNSResult::iDDNSEnable>("ddns_enable"),
 *         ReadText<&DDNSResult::tDDNS, &DDNSAccount::acProvider>("ddns_provider"),
 *     };
 *
 * Keys are written in full, without "&" or "=". In keys that differ by a number or a word, "#" stands for the
 * number and "*" for the word.
 */

/** What stands in a key in place of "#" and "*". */
struct KeyParts {
    int32_t iNumber = 0;
    std::string_view word = {};
};
inline constexpr KeyParts NO_PARTS = {};

/** A key as it is looked up in a reply, with its "=". At most 63 characters. */
class StoreKey : public TextBuffer<64>
{
  public:
    explicit StoreKey(std::string_view key, const KeyParts &parts = NO_PARTS);
};

/** The longest text that is taken. */
inline constexpr size_t MAX_READ_TEXT = 127;

/** One key that is read. Made by the builders below, never by hand. */
struct ReadRule {
    enum class Kind : uint8_t { AskOnly, Int, Bool, Text, TextIfGiven, Special };

    Kind eKind;
    bool hasParts;       ///< whether "#" or "*" stands in the key
    uint8_t uiKeyLength; ///< without the "="
    uint8_t uiSize;      ///< of a text with its terminator
    char acKey[40];      ///< with an "=", so that it need not be put together at each request
    char acEnding[4];    ///< in place of the "=" where it is asked for
    union {
        void *(*pfnField)(void *pvRecord);
        void (*pfnTake)(std::string_view value, void *pvRecord);
    };

    /** A key that does not fit is a compile error: all callers are consteval, which clang 14 cannot pass on. */
    constexpr ReadRule(Kind kind, std::string_view key, size_t size)
        : eKind(kind), hasParts(key.find_first_of("#*") != std::string_view::npos),
          uiKeyLength(static_cast<uint8_t>(key.size())), uiSize(static_cast<uint8_t>(size)), acKey{}, acEnding{'&'},
          pfnField(nullptr)
    {
        for (size_t i = 0; i < key.size(); ++i)
            acKey[i] = key[i];
        acKey[key.size()] = '=';
    }
    [[nodiscard]] std::string_view Key() const { return {acKey, uiKeyLength}; }
    [[nodiscard]] std::string_view LookedUp() const { return {acKey, uiKeyLength + size_t{1}}; }
};

/** A key that is asked for and not used. */
struct AskOnly {
    consteval explicit AskOnly(std::string_view theKey) : key(theKey) {}
    std::string_view key;
};

/** A rule for a field of this record and of no other. */
template <typename Record>
struct ReadRow : ReadRule {
    constexpr ReadRow(Kind kind, std::string_view key, size_t size) : ReadRule(kind, key, size) {}
    constexpr ReadRow(AskOnly row) : ReadRule(Kind::AskOnly, row.key, 0) {}

    /** The same row, asked for with another ending than "&", of at most three characters. */
    [[nodiscard]] consteval ReadRow AskedWith(std::string_view ending) const
    {
        ReadRow row = *this;
        row.acEnding[0] = '\0';
        for (size_t i = 0; i < ending.size(); ++i)
            row.acEnding[i] = ending[i];
        return row;
    }
};

/** Adds one key to what is asked for. */
void Read_AddKey(TextBuilder &keys, std::string_view key, const KeyParts &parts);
void Read_AddRow(TextBuilder &keys, const ReadRule &rule, const KeyParts &parts);
/** Adds the keys of a table to what is asked for. */
template <typename Record, size_t N>
void Read_AddKeys(TextBuilder &keys, const ReadRow<Record> (&rows)[N], const KeyParts &parts = NO_PARTS)
{
    for (const ReadRow<Record> &row : rows)
        Read_AddRow(keys, row, parts);
}

/* Builders of rows. The field is a pointer to a member, or two, of a record in the record and of the field in that.
 */

template <ReadRule::Kind Kind, auto... Members>
constexpr auto ReadField(std::string_view key)
{
    using Field = RecordField<Members...>;
    ReadRow<typename Field::Record> row(Kind, key, TEXT_FIELD_SIZE<typename Field::Field>);
    row.pfnField = Field::Of;
    return row;
}

/** A number of at most 7 characters. */
template <auto... Members>
requires IntField<Members...>
consteval auto ReadInt(std::string_view key)
{
    return ReadField<ReadRule::Kind::Int, Members...>(key);
}

/** 1 for a value that begins with "1", else 0. */
template <auto... Members>
requires IntField<Members...>
consteval auto ReadBool(std::string_view key)
{
    return ReadField<ReadRule::Kind::Bool, Members...>(key);
}

template <auto... Members>
concept ReadTextField = TextField<Members...> && TEXT_FIELD_SIZE<typename RecordField<Members...>::Field>
<= MAX_READ_TEXT + 1;

/** A text that fits the field. */
template <auto... Members>
requires ReadTextField<Members...>
consteval auto ReadText(std::string_view key)
{
    return ReadField<ReadRule::Kind::Text, Members...>(key);
}

/** A text that may be missing or too long; then the field is left alone and nothing has failed. */
template <auto... Members>
requires ReadTextField<Members...>
consteval auto ReadTextIfGiven(std::string_view key)
{
    return ReadField<ReadRule::Kind::TextIfGiven, Members...>(key);
}

template <auto Function>
struct ReadFunction;
template <typename R, void (*Function)(std::string_view, R &)>
struct ReadFunction<Function> {
    using Record = R;
    static void Call(std::string_view value, void *pvRecord) { Function(value, *static_cast<R *>(pvRecord)); }
};

/** A text of at most `MaxLength` characters for a function of the family. */
template <auto Function, size_t MaxLength>
requires(MaxLength <= MAX_READ_TEXT) consteval auto ReadSpecial(std::string_view key)
{
    using Taker = ReadFunction<Function>;
    ReadRow<typename Taker::Record> row(ReadRule::Kind::Special, key, MaxLength + 1);
    row.pfnTake = Taker::Call;
    return row;
}
