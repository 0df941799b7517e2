#include "daemon/base/base64.h"

#include "platform/log.h"

#include <algorithm>
#include <cstdint>

namespace
{

constexpr std::string_view ALPHABET = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

uint32_t SixBits(char c)
{
    const size_t at = ALPHABET.find(c);
    return at == std::string_view::npos ? 0 : static_cast<uint32_t>(at);
}

/** Takes the next four characters that are not line ends; false when fewer are left. */
bool TakeGroup(std::string_view &rest, char (&acGroup)[4])
{
    for (char &c : acGroup) {
        while (!rest.empty() && (rest.front() == '\r' || rest.front() == '\n'))
            rest.remove_prefix(1);
        if (rest.empty())
            return false;
        c = rest.front();
        rest.remove_prefix(1);
    }
    return true;
}

} // namespace

int Base64_Decode(std::string_view text, std::span<char> out)
{
    Trace("the InputCount = %zu, and the OutputCount = %zu\n", text.size(), out.size());
    if (text.size() / 4 * 3 > out.size() - 1)
        return -1;
    size_t length = 0;
    char acGroup[4];
    while (TakeGroup(text, acGroup)) {
        const std::string_view group(acGroup, sizeof acGroup);
        uint32_t uiBits = 0;
        for (const char c : group)
            uiBits = uiBits << 6 | SixBits(c);
        // n characters in front of a "=" carry n - 1 whole bytes.
        const size_t characters = std::min(group.find('='), group.size());
        for (size_t i = 1; i < characters; ++i, uiBits <<= 8)
            out[length++] = static_cast<char>(uiBits >> 16 & 0xFF);
    }
    out[length] = '\0';
    return static_cast<int>(length);
}
