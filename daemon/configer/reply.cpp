#include "daemon/configer/reply.h"

#include "platform/log.h"

void ConfigerReader::AskFor(std::string_view keys)
{
    if (m_failed || Get_Configer_Parameter(m_buffer, {keys}) == 0)
        return;
    Log_Crit("[%s]Get_Configer_Parameter failed\n", m_pcCaller);
    m_failed = true;
}

void ConfigerReader::TakeInt(std::string_view key, int32_t &iValue)
{
    m_failed = m_failed || Get_Configer_INT_Value(View(), key, iValue) != 0;
}

void ConfigerReader::TakeBool(std::string_view key, int32_t &iValue)
{
    if (m_failed || Get_Configer_BOOL_Value(View(), key, iValue) == 0)
        return;
    Log_Crit("[%s]Get_Configer_BOOL_Value failed\n", m_pcCaller);
    m_failed = true;
}

void ConfigerReader::TakeText(std::string_view key, std::span<char> out)
{
    m_failed = m_failed || Get_Configer_STRING_Value(View(), key, out) != 0;
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
        (void)Get_Configer_STRING_Value(View(), key, {static_cast<char *>(rule.pfnField(pvRecord)), rule.uiSize});
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
