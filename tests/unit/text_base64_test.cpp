#include "text/base64.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

TEST(Base64, DecodesAsTheAccountsNeedIt)
{
    const struct {
        const char *description;
        std::string text;
        std::string bytes;
    } cases[] = {
        {"whole groups", "c2VjcmV0", "secret"},
        {"one byte in the last group", "YQ==", "a"},
        {"two bytes in the last group", "YWI=", "ab"},
        {"the whole alphabet's ends", "+/+/", "\xfb\xff\xbf"},
        {"line ends anywhere", "c2\r\nVj\ncmV0\r\n", "secret"},
        {"an incomplete last group is left out", "c2VjcmV", "sec"},
        {"fewer than four characters", "YQ=", ""},
        {"nothing", "", ""},
        {"another character counts as A", "Y!==", "`"},
        {"= ends its own group only", "YQ==Yg==", "ab"},
        {"= at the beginning of a group", "=AAAYWJj", "abc"},
    };
    for (const auto &test : cases) {
        SCOPED_TRACE(test.description);
        char acOut[64];
        EXPECT_EQ(Base64_Decode(test.text, acOut), static_cast<int>(test.bytes.size()));
        EXPECT_EQ(std::string(acOut), test.bytes);
    }
}

TEST(Base64, RefusesWhatMightNotFitAndLeavesTheFieldAlone)
{
    char acOut[65];
    memset(acOut, '#', sizeof acOut);
    EXPECT_EQ(Base64_Decode(std::string(88, 'Q'), std::span(acOut).first(64)), -1);
    EXPECT_EQ(acOut[0], '#');
    EXPECT_EQ(Base64_Decode(std::string(84, 'Q'), std::span(acOut).first(64)), 63);
    EXPECT_EQ(acOut[63], '\0');
    EXPECT_EQ(acOut[64], '#');
}
