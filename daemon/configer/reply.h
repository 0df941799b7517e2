#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/configer/configer.h"
#include "daemon/configer/read_rows.h"

/**
 * Reads from the store and picks values out of its reply. The first failure sticks and is asked once, with
 * Failed(); a value that could not be taken leaves its field alone. Failures are logged in the caller's name. Keys
 * are written as in rows.
 */
class ConfigerReader
{
  public:
    ConfigerReader(const char *pcCaller, std::span<char> buffer) : m_pcCaller(pcCaller), m_buffer(buffer)
    {
        m_buffer[0] = '\0';
    }

    /** Asks the store for the keys of all the tables. The reply takes the place of an earlier one. After a failure
     *  nothing is asked any more. */
    template <typename... Tables>
    void Ask(const KeyParts &parts, const Tables &...tables)
    {
        TextBuffer<1024> keys;
        (Read_AddKeys(keys, tables, parts), ...);
        AskFor(keys.View());
    }
    /** The same for a text of keys, each with its "&". */
    void AskFor(std::string_view keys);
    /** The same for one key. */
    void AskKey(std::string_view key, const KeyParts &parts = NO_PARTS);

    /** Takes the values of a table, in its order, into the record. */
    template <typename Record, size_t N>
    void Take(const ReadRow<Record> (&rows)[N], Record &record, const KeyParts &parts = NO_PARTS)
    {
        for (const ReadRow<Record> &row : rows)
            TakeRow(row, &record, parts);
    }
    /** Takes those of a table that Bool() would: a missing one is logged even when other values are missing too. */
    template <typename Record, size_t N>
    void TakeBools(const ReadRow<Record> (&rows)[N], Record &record)
    {
        for (const ReadRow<Record> &row : rows)
            if (row.eKind == ReadRule::Kind::Bool)
                TakeRow(row, &record, NO_PARTS);
    }
    /** Asks for the keys of one table and takes its values. */
    template <typename Record, size_t N>
    void Read(const ReadRow<Record> (&rows)[N], Record &record)
    {
        Ask(NO_PARTS, rows);
        Take(rows, record);
    }

    /* Single values of the reply. */
    void Int(const StoreKey &key, int32_t &iValue) { TakeInt(key.View(), iValue); }
    void Bool(const StoreKey &key, int32_t &iValue) { TakeBool(key.View(), iValue); }
    void Text(const StoreKey &key, std::span<char> out) { TakeText(key.View(), out); }

    /* A single value, asked for and taken. */
    void ReadInt(std::string_view key, int32_t &iValue, const KeyParts &parts = NO_PARTS);
    void ReadBool(std::string_view key, int32_t &iValue, const KeyParts &parts = NO_PARTS);
    void ReadText(std::string_view key, std::span<char> out, const KeyParts &parts = NO_PARTS);

    void Fail() { m_failed = true; }
    [[nodiscard]] bool Failed() const { return m_failed; }
    [[nodiscard]] std::string_view View() const { return m_reply; }

  private:
    /* Keys are given with their "=". */
    void TakeInt(std::string_view key, int32_t &iValue);
    void TakeBool(std::string_view key, int32_t &iValue);
    void TakeText(std::string_view key, std::span<char> out);
    void TakeValue(const ReadRule &rule, std::string_view key, void *pvRecord);
    void TakeRow(const ReadRule &rule, void *pvRecord, const KeyParts &parts);
    std::string_view From(std::string_view key) const;

    const char *m_pcCaller;
    std::span<char> m_buffer;
    std::string_view m_reply;
    /** The first "=" of the reply, so that it is not searched from its start for every key. */
    struct Equals {
        uint32_t uiBefore; ///< the four characters before it
        uint32_t uiAt;
    } m_atEquals[48];
    size_t m_equals = 0;
    bool m_failed = false;
};

/** A reader with a reply buffer of N bytes: `ConfigerReply<1024> reply(__func__);` */
template <size_t N>
class ConfigerReply : public ConfigerReader
{
  public:
    explicit ConfigerReply(const char *pcCaller) : ConfigerReader(pcCaller, m_acBuffer) {}
    ConfigerReply(const ConfigerReply &) = delete;
    ConfigerReply &operator=(const ConfigerReply &) = delete;

  private:
    char m_acBuffer[N];
};
