#include "platform/escape.h"

namespace
{

int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

/** The byte of the escape that `pc` points at, or 0 when there is none. Never looks past the terminator. */
char EscapedByte(const char *pc)
{
    const int iHigh = *pc == '%' ? HexValue(pc[1]) : -1;
    const int iLow = iHigh >= 0 ? HexValue(pc[2]) : -1;
    return iLow >= 0 ? static_cast<char>(iHigh * 16 + iLow) : '\0';
}

} // namespace

void EscapeDecodeString(char *pcText)
{
    char *pcOut = pcText;
    for (const char *pc = pcText; *pc != '\0';) {
        const char cByte = EscapedByte(pc);
        *pcOut++ = cByte != '\0' ? cByte : *pc;
        pc += cByte != '\0' ? 3 : 1;
    }
    *pcOut = '\0';
}
