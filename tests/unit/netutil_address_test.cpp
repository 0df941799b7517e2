#include "daemon/netutil/address.h"
#include "daemon/netutil/text_case.h"

#include <gtest/gtest.h>

namespace
{

/** The text in a block of exactly its length, so that a read behind its end is seen. */
std::vector<char> exactly(std::string_view text)
{
    return {text.begin(), text.end()};
}

} // namespace

TEST(Address, IsThreeDotsWithDigitsBetween)
{
    const std::vector<std::string_view> valid = {"1.2.3.4",   "255.255.255.255", "010.001.000.009", "12...34",
                                                 "10.20.30.", "1.2.3.999"}; // KEPT: no range of the last group
    const std::vector<std::string_view> invalid = {
        "1.2.3.",     "",           "255.255.255.2555", ".10.20.30", "256.1.2.3", "1.2.999.3",
        "0001.2.3.4", "1.2.3.0004", "10.20.30",         "1.2.3.4.5", "1.2.3.-4",  std::string_view("1.2.3.4\0", 8),
        "1.2.3.\xB2"};
    for (const auto &[texts, expected] : {std::pair{valid, 1}, {invalid, 0}})
        for (const std::string_view text : texts) {
            const std::vector<char> block = exactly(text);
            EXPECT_EQ(NetUtility_IsValidIP(text.empty() ? "" : block.data(), text.size()), expected) << text;
            EXPECT_EQ(NetUtility_IsAddressText(text), expected == 1) << text;
        }
}

TEST(Address, OfACardIsTwelveHexadecimalDigits)
{
    for (const std::string_view good : {"AABBCCDDEEFF", "aabbccddeeff", "0123456789aF"})
        EXPECT_EQ(NetUtility_IsValidMACAddr(exactly(good).data(), good.size()), 1) << good;
    for (const std::string_view bad : {"00112233445G", "g01122334455", "@01122334455", "`01122334455",
                                       "/01122334455", "00112233445:", "00112233445", "0011223344556"}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(NetUtility_IsValidMACAddr(bad.data(), bad.size()), 0) << bad;
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  bad.size() == 12 ? "" : "[NetUtility_IsValidMACAddr] Invalid MAC address length\r");
    }
}

TEST(Address, ClassesBeginAndEndWhereTheirNetworksDo)
{
    const std::pair<IPClass, std::vector<std::string_view>> cases[] = {
        {IPClass::Public,
         {"0.0.0.1", "9.255.255.255", "11.0.0.0", "172.15.255.255", "172.32.0.0", "192.167.255.255", "192.169.0.0",
          "169.253.255.255", "169.255.0.0", "127.0.0.1", "255.255.255.255", "010.0.0.1"}}, // octal, 8.0.0.1
        {IPClass::Private,
         {"10.0.0.0", "10.255.255.255", "172.16.0.0", "172.31.255.255", "192.168.0.0", "192.168.255.255",
          "012.0.0.1"}}, // octal, 10.0.0.1
        {IPClass::LinkLocal, {"169.254.0.0", "169.254.255.255"}},
        {IPClass::Invalid, {"0.0.0.0", "10.0.0.999", "10.20.30.", "10.0.0"}},
    };
    for (const auto &[expected, texts] : cases)
        for (const std::string_view address : texts) {
            const std::vector<char> text = exactly(address);
            EXPECT_EQ(NetUtility_GetIPClass(text.data(), text.size()), expected) << address;
            EXPECT_EQ(NetUtility_IsPrivateIP(text.data(), text.size()), expected == IPClass::Private);
            EXPECT_EQ(NetUtility_IsLinkLocalIP(text.data(), text.size()), expected == IPClass::LinkLocal);
        }
}

TEST(ToUpper, TouchesLettersAndTheGivenCountOnly)
{
    std::string text = "`az{@AZ[\xE9x";
    EXPECT_EQ(NetUtility_ToUpper(text.data(), 9) + NetUtility_ToUpper(text.data(), -1), 0);
    EXPECT_EQ(text, "`AZ{@AZ[\xE9x");
}
