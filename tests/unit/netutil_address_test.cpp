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
    const struct {
        std::string_view text;
        int expected;
        const char *description;
    } cases[] = {
        {"1.2.3.4", 1, "the shortest"},
        {"255.255.255.255", 1, "the longest"},
        {"010.001.000.009", 1, "leading zeros"},
        {"12...34", 1, "empty groups count as 0"},
        {"10.20.30.", 1, "so does an empty last one"},
        {"1.2.3.999", 1, "KEPT: the last group is not range-checked"},
        {"1.2.3.", 0, "one character too short"},
        {"", 0, "empty"},
        {"255.255.255.2555", 0, "one character too long"},
        {".10.20.30", 0, "no digit first, although three dots"},
        {"256.1.2.3", 0, "first group too large"},
        {"1.2.999.3", 0, "third group too large"},
        {"0001.2.3.4", 0, "four digits in the first group"},
        {"1.2.3.0004", 0, "four digits in the last group"},
        {"10.20.30", 0, "two dots"},
        {"1.2.3.4.5", 0, "four dots"},
        {"1.2.3.-4", 0, "sign"},
        {std::string_view("1.2.3.4\0", 8), 0, "a NUL is a character like any other"},
        {"1.2.3.\xB2", 0, "a digit of another alphabet"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const std::vector<char> text = exactly(c.text);
        EXPECT_EQ(NetUtility_IsValidIP(c.text.empty() ? "" : text.data(), text.size()), c.expected) << c.text;
        EXPECT_EQ(NetUtility_IsAddressText(c.text), c.expected == 1) << c.text;
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
    const struct {
        IPClass expected;
        std::vector<std::string_view> texts;
    } cases[] = {
        {IPClass::Public,
         {"0.0.0.1", "9.255.255.255", "11.0.0.0", "172.15.255.255", "172.32.0.0", "192.167.255.255", "192.169.0.0",
          "169.253.255.255", "169.255.0.0", "127.0.0.1", "255.255.255.255", "010.0.0.1"}}, // octal, 8.0.0.1
        {IPClass::Private,
         {"10.0.0.0", "10.255.255.255", "172.16.0.0", "172.31.255.255", "192.168.0.0", "192.168.255.255",
          "012.0.0.1"}}, // octal, 10.0.0.1
        {IPClass::LinkLocal, {"169.254.0.0", "169.254.255.255"}},
        {IPClass::Invalid, {"0.0.0.0", "10.0.0.999", "10.20.30.", "10.0.0"}},
    };
    for (const auto &c : cases) {
        for (const std::string_view address : c.texts) {
            const std::vector<char> text = exactly(address);
            EXPECT_EQ(NetUtility_GetIPClass(text.data(), text.size()), c.expected) << address;
            EXPECT_EQ(NetUtility_IsPrivateIP(text.data(), text.size()), c.expected == IPClass::Private);
            EXPECT_EQ(NetUtility_IsLinkLocalIP(text.data(), text.size()), c.expected == IPClass::LinkLocal);
        }
    }
}

TEST(ToUpper, TouchesLettersAndTheGivenCountOnly)
{
    const struct {
        std::string text;
        int32_t count;
        const char *expected;
    } cases[] = {{"audio/x-MuLaw", 13, "AUDIO/X-MULAW"},
                 {"abc", 2, "ABc"},
                 {"abc", -1, "abc"},
                 {"`az{@AZ[", 8, "`AZ{@AZ["},
                 {"\xE9\xDF", 2, "\xE9\xDF"}};
    for (auto c : cases) {
        EXPECT_EQ(NetUtility_ToUpper(c.text.data(), c.count), 0);
        EXPECT_EQ(c.text, c.expected);
    }
}
