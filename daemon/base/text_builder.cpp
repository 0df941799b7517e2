#include "daemon/base/text_builder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

NumberText::NumberText(int64_t llValue)
{
    // Negative, because it reaches further to that side.
    for (int64_t llRest = llValue < 0 ? llValue : -llValue; m_first == sizeof m_acDigits || llRest != 0;
         llRest /= 10)
        m_acDigits[--m_first] = static_cast<char>('0' - llRest % 10);
    if (llValue < 0)
        m_acDigits[--m_first] = '-';
}

TextBuilder::TextBuilder(std::span<char> out) : m_out(out)
{
    m_out[0] = '\0';
}

void TextBuilder::Add(std::string_view text)
{
    const size_t room = m_out.size() - 1 - m_length;
    const size_t taken = std::min(text.size(), room);
    if (taken > 0)
        memcpy(m_out.data() + m_length, text.data(), taken);
    m_length += taken;
    m_out[m_length] = '\0';
    m_cut = m_cut || taken < text.size();
}

void TextBuilder::AddInt(int32_t iValue)
{
    Add(NumberText(iValue));
}

void TextBuilder::Addf(const char *pcFormat, ...)
{
    va_list args;
    va_start(args, pcFormat);
    Addv(pcFormat, args);
    va_end(args);
}

void TextBuilder::Addv(const char *pcFormat, va_list args)
{
    const size_t space = m_out.size() - m_length;
    const int iLength = vsnprintf(m_out.data() + m_length, space, pcFormat, args);
    if (iLength < 0) {
        m_out[m_length] = '\0';
        m_cut = true;
        return;
    }
    const auto length = static_cast<size_t>(iLength);
    m_length += std::min(length, space - 1);
    m_cut = m_cut || length >= space;
}

void TextBuilder::Line(std::string_view key, std::string_view value)
{
    const size_t length = key.size() + value.size() + 2;
    if (length >= m_out.size() - m_length) { // cut where it is full
        Add(key);
        Add(value);
        Add("\r\n");
        return;
    }
    char *pcAt = m_out.data() + m_length;
    memcpy(pcAt, key.data(), key.size());
    if (!value.empty())
        memcpy(pcAt + key.size(), value.data(), value.size());
    memcpy(pcAt + length - 2, "\r\n", 3); // with the terminator
    m_length += length;
}

void TextBuilder::Line(std::string_view key, int32_t iValue)
{
    Line(key, NumberText(iValue));
}

void TextBuilder::Clear()
{
    m_length = 0;
    m_cut = false;
    m_out[0] = '\0';
}

void TextBuilder::DropLast(size_t count)
{
    m_length -= std::min(count, m_length);
    m_out[m_length] = '\0';
}

void TextBuilder::Extend(const TextBuilder &rest)
{
    m_length += rest.m_length;
    m_cut = m_cut || rest.m_cut;
}

void Text_Copy(std::span<char> field, std::string_view text)
{
    const size_t taken = std::min(text.size(), field.size() - 1);
    if (taken > 0)
        memcpy(field.data(), text.data(), taken);
    field[taken] = '\0';
}
