#include "daemon/base/text_finder.h"

#include <cstring>

namespace
{

bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/** Takes one number off the front of `rest`; false, with blanks and sign gone, when there are no digits. */
bool TakeInt(std::string_view &rest, int32_t &iValue)
{
    while (!rest.empty() && IsBlank(rest.front()))
        rest.remove_prefix(1);
    const bool negative = !rest.empty() && rest.front() == '-';
    if (negative || (!rest.empty() && rest.front() == '+'))
        rest.remove_prefix(1);
    if (rest.empty() || !Text_IsDigit(rest.front()))
        return false;

    const int64_t limit = negative ? -static_cast<int64_t>(INT32_MIN) : INT32_MAX;
    int64_t value = 0;
    for (; !rest.empty() && Text_IsDigit(rest.front()); rest.remove_prefix(1))
        if (value <= limit)
            value = value * 10 + (rest.front() - '0');
    if (value > limit)
        value = limit;
    iValue = static_cast<int32_t>(negative ? -value : value);
    return true;
}

/**
 * Cuts a text off up to and including the first occurrence of the key; false when there is none. A key is looked
 * for by its last character: its "=" is rarer than any letter.
 */
bool DropThroughKey(std::string_view &text, std::string_view key)
{
    if (key.empty())
        return true;
    const size_t last = key.size() - 1;
    for (size_t at = text.find(key[last], last); at != std::string_view::npos; at = text.find(key[last], at + 1)) {
        const char *pcBegin = text.data() + at - last;
        if (*pcBegin == key.front() && memcmp(pcBegin, key.data(), last) == 0) {
            text.remove_prefix(at + 1);
            return true;
        }
    }
    return false;
}

} // namespace

int Text_FindValue(std::string_view text, std::string_view key, char cEnd, std::string_view &value)
{
    if (!DropThroughKey(text, key))
        return -1;
    const size_t length = text.find(cEnd);
    if (length == std::string_view::npos)
        return -1;
    value = {text.data(), length};
    return 0;
}

int32_t Text_ToInt(std::string_view text)
{
    int32_t iValue = 0;
    return TakeInt(text, iValue) ? iValue : 0;
}

int Text_ScanInts(std::string_view text, char cSeparator, std::span<int32_t> values)
{
    for (size_t i = 0; i < values.size(); ++i) {
        if (i > 0) {
            if (text.empty() || text.front() != cSeparator)
                return -1;
            text.remove_prefix(1);
        }
        if (!TakeInt(text, values[i]))
            return -1;
    }
    return 0;
}
