#include "daemon/configer/reply.h"

#include "platform/log.h"

#include <cstring>
#include <iterator>

namespace
{

constexpr size_t TAIL = sizeof(uint32_t);

/** The characters before a position as one number. */
uint32_t Tail(const char *pcEnd)
{
    uint32_t uiTail = 0;
    memcpy(&uiTail, pcEnd - TAIL, TAIL);
    return uiTail;
}

} // namespace

void ConfigerReader::AskFor(std::string_view keys)
{
    if (m_failed)
        return;
    m_reply = {};
    m_equals = 0;
    if (Get_Configer_Parameter(m_buffer, {keys}) != 0) {
        Log_Crit("[%s]Get_Configer_Parameter failed\n", m_pcCaller);
        m_failed = true;
        return;
    }
    m_reply = m_buffer.data();
    for (size_t at = m_reply.find('=', TAIL); at != std::string_view::npos && m_equals < std::size(m_atEquals);
         at = m_reply.find('=', at + 1))
        m_atEquals[m_equals++] = {Tail(m_reply.data() + at), static_cast<uint32_t>(at)};
}

/** The reply from the first occurrence of a key, given with its "=", or nothing; all of it where the index ends. */
std::string_view ConfigerReader::From(std::string_view key) const
{
    const size_t last = key.size() - 1;
    if (last < TAIL)
        return m_reply;
    const uint32_t uiTail = Tail(key.data() + last);
    for (size_t i = 0; i < m_equals; ++i) {
        if (m_atEquals[i].uiBefore != uiTail)
            continue;
        const size_t at = m_atEquals[i].uiAt;
        if (at >= last && memcmp(m_reply.data() + at - last, key.data(), last) == 0)
            return {m_reply.data() + at - last, m_reply.size() - (at - last)};
    }
    return m_equals < std::size(m_atEquals) ? std::string_view() : m_reply;
}

void ConfigerReader::TakeInt(std::string_view key, int32_t &iValue)
{
    m_failed = m_failed || Get_Configer_INT_Value(From(key), key, iValue) != 0;
}

void ConfigerReader::TakeBool(std::string_view key, int32_t &iValue)
{
    if (m_failed || Get_Configer_BOOL_Value(From(key), key, iValue) == 0)
        return;
    Log_Crit("[%s]Get_Configer_BOOL_Value failed\n", m_pcCaller);
    m_failed = true;
}

void ConfigerReader::TakeText(std::string_view key, std::span<char> out)
{
    m_failed = m_failed || Get_Configer_STRING_Value(From(key), key, out) != 0;
}

void ConfigerReader::AskKey(std::string_view key, const KeyParts &parts)
{
    TextBuffer<64> keys;
    Read_AddKey(keys, key, parts);
    AskFor(keys.View());
}

void ConfigerReader::ReadInt(std::string_view key, int32_t &iValue, const KeyParts &parts)
{
    AskKey(key, parts);
    Int(StoreKey(key, parts), iValue);
}

void ConfigerReader::ReadBool(std::string_view key, int32_t &iValue, const KeyParts &parts)
{
    AskKey(key, parts);
    Bool(StoreKey(key, parts), iValue);
}

void ConfigerReader::ReadText(std::string_view key, std::span<char> out, const KeyParts &parts)
{
    AskKey(key, parts);
    Text(StoreKey(key, parts), out);
}

void ConfigerReader::TakeValue(const ReadRule &rule, std::string_view key, void *pvRecord)
{
    char acValue[MAX_READ_TEXT + 1];
    switch (rule.eKind) {
    case ReadRule::Kind::AskOnly:
        break;
    case ReadRule::Kind::Int:
        TakeInt(key, *static_cast<int32_t *>(rule.pfnField(pvRecord)));
        break;
    case ReadRule::Kind::Bool:
        TakeBool(key, *static_cast<int32_t *>(rule.pfnField(pvRecord)));
        break;
    case ReadRule::Kind::Text:
        TakeText(key, {static_cast<char *>(rule.pfnField(pvRecord)), rule.uiSize});
        break;
    case ReadRule::Kind::TextIfGiven:
        (void)Get_Configer_STRING_Value(From(key), key,
                                        {static_cast<char *>(rule.pfnField(pvRecord)), rule.uiSize});
        break;
    case ReadRule::Kind::Special:
        TakeText(key, {acValue, rule.uiSize});
        if (!m_failed)
            rule.pfnTake(acValue, pvRecord);
        break;
    }
}

void ConfigerReader::TakeRow(const ReadRule &rule, void *pvRecord, const KeyParts &parts)
{
    if (m_failed)
        return;
    if (rule.hasParts)
        TakeValue(rule, StoreKey(rule.Key(), parts).View(), pvRecord);
    else
        TakeValue(rule, rule.LookedUp(), pvRecord);
}
