#include "netutil/address.h"
#include "netutil/text_case.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/** The text in a block of exactly its length, so that a read behind its end is seen. */
std::vector<char> Exactly(std::string_view text)
{
    return {text.begin(), text.end()};
}

} // namespace

TEST(Address, IsThreeDotsWithDigitsBetween)
{
    const struct {
        std::string_view text;
        int expected;
        const char *description;
    } cases[] = {
        {"1.2.3.4", 1, "the shortest"},
        {"255.255.255.255", 1, "the longest"},
        {"0.0.0.0", 1, "no range from below"},
        {"010.001.000.009", 1, "leading zeros"},
        {"12...34", 1, "empty groups count as 0"},
        {"10.20.30.", 1, "so does an empty last one"},
        {"1.2.3.", 0, "one character too short"},
        {"", 0, "empty"},
        {"255.255.255.2555", 0, "one character too long"},
        {".1.2.3.4", 0, "no digit first"},
        {".10.20.30", 0, "no digit first, although three dots"},
        {"256.1.2.3", 0, "first group too large"},
        {"1.256.2.3", 0, "second group too large"},
        {"1.2.999.3", 0, "third group too large"},
        {"0001.2.3.4", 0, "four digits in the first group"},
        {"1.2.3.0004", 0, "four digits in the last group"},
        {"10.20.30", 0, "two dots"},
        {"1.2.3.4.5", 0, "four dots"},
        {"1.2.3.4 ", 0, "blank at the end"},
        {"1.2.3.-4", 0, "sign"},
        {"1.2.3.a4", 0, "letter"},
        {std::string_view("1.2.3.4\0", 8), 0, "a NUL is a character like any other"},
        {"1.2.3.\xB2", 0, "a digit of another alphabet"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const std::vector<char> text = Exactly(c.text);
        EXPECT_EQ(NetUtility_IsValidIP(c.text.empty() ? "" : text.data(), text.size()), c.expected) << c.text;
        EXPECT_EQ(NetUtility_IsAddressText(c.text), c.expected == 1) << c.text;
    }
}

TEST(Address, KeptLastGroupIsNotRangeChecked)
{
    EXPECT_TRUE(NetUtility_IsAddressText("1.2.3.999"));
    EXPECT_TRUE(NetUtility_IsAddressText("1.2.3.256"));
}

TEST(Address, ChecksSayWhenTheyGotNoText)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(NetUtility_IsValidIP(nullptr, 7), 0);
    EXPECT_EQ(NetUtility_IsValidMACAddr(nullptr, 12), 0);
    EXPECT_EQ(NetUtility_IsValidMACAddr("00:11:22:33:44:55", 17), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[NetUtility_IsValidIP] Invalid arguments\r"
                                                      "[NetUtility_IsValidMACAddr] Invalid arguments\r"
                                                      "[NetUtility_IsValidMACAddr] Invalid MAC address length\r");
}

TEST(Address, OfACardIsTwelveHexadecimalDigits)
{
    for (const std::string_view good : {"001122334455", "AABBCCDDEEFF", "aabbccddeeff", "0123456789aF"})
        EXPECT_EQ(NetUtility_IsValidMACAddr(Exactly(good).data(), good.size()), 1) << good;
    testing::internal::CaptureStdout();
    for (const std::string_view bad : {"", "00112233445", "0011223344556", "00112233445G", "g01122334455",
                                       "00:11:22:33:", "@01122334455", "`01122334455", "/01122334455"})
        EXPECT_EQ(NetUtility_IsValidMACAddr(bad.data(), bad.size()), 0) << bad;
    testing::internal::GetCapturedStdout(); // what it says of lengths is tested above
}

TEST(Address, ClassesBeginAndEndWhereTheirNetworksDo)
{
    const struct {
        std::string_view text;
        IPClass expected;
    } cases[] = {
        {"0.0.0.0", IPClass::Invalid},
        {"0.0.0.1", IPClass::Public},
        {"9.255.255.255", IPClass::Public},
        {"10.0.0.0", IPClass::Private},
        {"10.255.255.255", IPClass::Private},
        {"11.0.0.0", IPClass::Public},
        {"172.15.255.255", IPClass::Public},
        {"172.16.0.0", IPClass::Private},
        {"172.31.255.255", IPClass::Private},
        {"172.32.0.0", IPClass::Public},
        {"192.167.255.255", IPClass::Public},
        {"192.168.0.0", IPClass::Private},
        {"192.168.255.255", IPClass::Private},
        {"192.169.0.0", IPClass::Public},
        {"169.253.255.255", IPClass::Public},
        {"169.254.0.0", IPClass::LinkLocal},
        {"169.254.255.255", IPClass::LinkLocal},
        {"169.255.0.0", IPClass::Public},
        {"127.0.0.1", IPClass::Public},
        {"255.255.255.255", IPClass::Public},
        {"012.0.0.1", IPClass::Private}, // octal, 10.0.0.1
        {"010.0.0.1", IPClass::Public},  // octal, 8.0.0.1
        {"10.0.0.999", IPClass::Invalid},
        {"10.20.30.", IPClass::Invalid},
        {"10.0.0", IPClass::Invalid},
        {"host", IPClass::Invalid},
    };
    for (const auto &c : cases) {
        const std::vector<char> text = Exactly(c.text);
        EXPECT_EQ(NetUtility_GetIPClass(text.data(), text.size()), c.expected) << c.text;
        EXPECT_EQ(NetUtility_IsPrivateIP(text.data(), text.size()), c.expected == IPClass::Private) << c.text;
        EXPECT_EQ(NetUtility_IsLinkLocalIP(text.data(), text.size()), c.expected == IPClass::LinkLocal) << c.text;
    }
}

TEST(ToUpper, TouchesLettersAndTheGivenCountOnly)
{
    const struct {
        const char *text;
        int32_t count;
        const char *expected;
    } cases[] = {
        {"audio/x-MuLaw", 13, "AUDIO/X-MULAW"},
        {"abc", 2, "ABc"},
        {"abc", 0, "abc"},
        {"abc", -1, "abc"},
        {"`az{@AZ[", 8, "`AZ{@AZ["},
        {"\xE9\xDF", 2, "\xE9\xDF"},
    };
    for (const auto &c : cases) {
        std::string text = c.text;
        EXPECT_EQ(NetUtility_ToUpper(text.data(), c.count), 0);
        EXPECT_EQ(text, c.expected);
    }
}
