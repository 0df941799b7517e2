#include "text/finder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

TEST(FindValue, TakesTheTextBetweenTheKeyAndTheEnd)
{
    const struct {
        const char *description;
        const char *text;
        const char *key;
        const char *expected; ///< null: not found
    } cases[] = {
        {"first", "name=a&label=b&", "name=", "a"},
        {"later", "name=a&label=b&", "label=", "b"},
        {"empty value", "name=&", "name=", ""},
        {"the first occurrence counts", "name=a&name=b&", "name=", "a"},
        {"also as the tail of a longer key", "username=x&name=y&", "name=", "x"},
        {"also inside a value", "label=name=z&name=y&", "name=", "z"},
        {"a value may hold an equals sign", "name=a=b&", "name=", "a=b"},
        {"missing key", "label=b&", "name=", nullptr},
        {"keys are case-sensitive", "Name=a&", "name=", nullptr},
        {"missing end", "name=a", "name=", nullptr},
        {"the end of an earlier value does not count", "label=b&name=a", "name=", nullptr},
        {"key cut off at the end", "nam", "name=", nullptr},
        {"empty text", "", "name=", nullptr},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        std::string_view value = "untouched";
        EXPECT_EQ(Text_FindValue(c.text, c.key, '&', value), c.expected != nullptr ? 0 : -1);
        EXPECT_EQ(value, c.expected != nullptr ? c.expected : "untouched");
    }
}

TEST(ToInt, ConvertsAsA32BitStrtolDoes)
{
    const struct {
        const char *text;
        int32_t expected;
    } cases[] = {
        {"0", 0},
        {"42", 42},
        {"-42", -42},
        {"+42", 42},
        {" \t\n\v\f\r7", 7},
        {"007", 7},
        {"12abc", 12},
        {"3.9", 3},
        {"", 0},
        {"abc", 0},
        {"-", 0},
        {"--5", 0},
        {"- 5", 0},
        {"0x10", 0},
        {"2147483647", INT32_MAX},
        {"2147483648", INT32_MAX},
        {"-2147483648", INT32_MIN},
        {"-2147483649", INT32_MIN},
        {"9999999999", INT32_MAX},
        {"99999999999999999999999999999999999999", INT32_MAX},
        {"-99999999999999999999999999999999999999", INT32_MIN},
        {"00000000000000000000000000000000000000012", 12},
    };
    for (const auto &c : cases)
        EXPECT_EQ(Text_ToInt(c.text), c.expected) << '"' << c.text << '"';
}

TEST(ScanInts, ReadsNumbersBetweenSeparators)
{
    const struct {
        const char *text;
        int result;
        std::vector<int32_t> expected;
    } cases[] = {
        {"1,2,3", 0, {1, 2, 3}},
        {" 1, -2, +3", 0, {1, -2, 3}},
        {"1,2,3,4", 0, {1, 2, 3}},
        {"1,2,3abc", 0, {1, 2, 3}},
        {"1,2", -1, {1, 2, 0}},
        {"1 ,2,3", -1, {1, 0, 0}},
        {"1;2;3", -1, {1, 0, 0}},
        {"1,,3", -1, {1, 0, 0}},
        {"", -1, {0, 0, 0}},
        {"a", -1, {0, 0, 0}},
        {"1,2,99999999999", 0, {1, 2, INT32_MAX}},
    };
    for (const auto &c : cases) {
        std::vector<int32_t> values(3, 0);
        EXPECT_EQ(Text_ScanInts(c.text, ',', values), c.result) << '"' << c.text << '"';
        EXPECT_EQ(values, c.expected) << '"' << c.text << '"';
    }
}
