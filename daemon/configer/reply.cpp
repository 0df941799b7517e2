#include "daemon/configer/reply.h"

#include "platform/log.h"

#include <cstdarg>
#include <cstdio>

Key::Key(const char *pcFormat, ...)
{
    char acText[64];
    va_list args;
    va_start(args, pcFormat);
    vsnprintf(acText, sizeof acText, pcFormat, args);
    va_end(args);
    Add(acText);
}

void ConfigerReader::Get(std::initializer_list<std::string_view> keys)
{
    if (m_failed || Get_Configer_Parameter(m_buffer, keys) == 0)
        return;
    Log_Crit("[%s]Get_Configer_Parameter failed\n", m_pcCaller);
    m_failed = true;
}

void ConfigerReader::Int(std::string_view key, int32_t &iValue)
{
    m_failed = m_failed || Get_Configer_INT_Value(View(), key, iValue) != 0;
}

void ConfigerReader::Bool(std::string_view key, int32_t &iValue)
{
    if (m_failed || Get_Configer_BOOL_Value(View(), key, iValue) == 0)
        return;
    Log_Crit("[%s]Get_Configer_BOOL_Value failed\n", m_pcCaller);
    m_failed = true;
}

void ConfigerReader::Text(std::string_view key, std::span<char> out)
{
    m_failed = m_failed || Get_Configer_STRING_Value(View(), key, out) != 0;
}

void ConfigerReader::TextIfGiven(std::string_view key, std::span<char> out) const
{
    if (!m_failed)
        (void)Get_Configer_STRING_Value(View(), key, out);
}
