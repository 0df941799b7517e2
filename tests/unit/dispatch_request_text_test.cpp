#include "daemon/request/request_text.h"
#include "tests/fakes/poisoned.h"

#include <cstring>
#include <gtest/gtest.h>

TEST(XssProtect, RefusesFiveCharactersAndTheDoubleAmpersand)
{
    for (const char *clean : {"", "name=Hall&", "a&b&", "\"'`;|$\\", "\xE4\xFF&"})
        EXPECT_EQ(XSS_Protect(clean), 0) << clean;
    for (const char *dirty : {">", "a<", "a)b", "(", "%", "&&", "a=1&&"})
        EXPECT_EQ(XSS_Protect(dirty), -1) << dirty;
}

TEST(GetStringValueFromText, TakesAValueThatFitsItsField)
{
    const std::pair<const char *, const char *> cases[] = {{"name=&", ""},
                                                           {"name=1234567&", "1234567"},
                                                           {"name=12345678&", "old"},
                                                           {"label=x&", "old"},
                                                           {"name=x", "old"}};
    for (const auto &[text, expected] : cases) {
        PoisonedBuffer<8> out;
        strcpy(out.span().data(), "old");
        EXPECT_EQ(GetStringValueFromText(text, "name=", out.span()), strcmp(expected, "old") == 0 ? -1 : 0) << text;
        EXPECT_STREQ(out.text(), expected) << text;
        EXPECT_TRUE(out.intact()) << text;
    }
}

TEST(RequestText, KeptATextThatBeginsWithTheDigitZeroIsRefused)
{
    char acValue[16] = "old";
    int32_t iValue = -7;
    EXPECT_EQ(GetStringValueFromText("0=1&name=x&", "name=", acValue), -1);
    EXPECT_EQ(GetIntValueFromText("0=1&name=5&", "name=", iValue), -1);
    EXPECT_EQ(GetStringValueFromText("name=x&0name=y&", "0name=", acValue), -1);
    EXPECT_STREQ(acValue, "old");
    EXPECT_EQ(iValue, -7);
    EXPECT_EQ(GetStringValueFromText("1=1&name=x&", "name=", acValue), 0) << "any other digit is fine";
}

TEST(GetIntValueFromText, TakesUpTo127Characters)
{
    int32_t iValue = -7;
    EXPECT_EQ(GetIntValueFromText("n=" + std::string(127, '0') + "9&", "n=", iValue), -1);
    EXPECT_EQ(iValue, -7);
    EXPECT_EQ(GetIntValueFromText("n=" + std::string(126, '0') + "9&", "n=", iValue), 0);
    EXPECT_EQ(iValue, 9);
    EXPECT_EQ(GetIntValueFromText("n=x&", "n=", iValue), 0) << "no number reads as 0";
    EXPECT_EQ(iValue, 0);
}

TEST(GetBoolTripleFromText, TakesTheFirstFlagOrTheOthers)
{
    const std::pair<const char *, int> cases[] = {{"a=0&b=0&c=0&", 0},  {"a=1&b=0&c=0&", 100}, {"c=1&b=0&a=0&", 1},
                                                  {"a=0&b=1&c=1&", 11}, {"a=1&b=1&c=0&", -1},  {"a=1&b=0&c=1&", -1},
                                                  {"a=2&b=0&c=0&", -1}, {"a=0&b=-1&c=0&", -1}, {"a=0&b=0&c=2&", -1},
                                                  {"b=0&c=0&", -1}};
    for (const auto &[text, expected] : cases) {
        int32_t a = 9, b = 9, c = 9;
        EXPECT_EQ(GetBoolTripleFromText(text, "a=", "b=", "c=", a, b, c) == 0 ? 100 * a + 10 * b + c : -1, expected)
            << text;
    }
}

TEST(ParserBegin, ChoosesTerminatesAndFiltersTheText)
{
    const std::string longest(4094, 'x');
    const StatusKind bad = StatusKind::BadRequest, own = StatusKind::InvalidParameter;
    const struct {
        std::string query, body, expected;
        StatusKind status; ///< own: the reason that the family gives
    } cases[] = {
        {"a=1", "b=2", "a=1&", StatusKind::Unset},
        {"", "b=2", "b=2&", StatusKind::Unset},
        {longest, "", longest + "&", StatusKind::Unset},
        {"", longest, longest + "&", StatusKind::Unset},
        {"", "", "", own},
        {longest + "x", "b=2", "", own}, // though the body would do
        {"", longest + "x", "", own},
        {"a=(", "", "", bad},
        {"a=1&", "", "", bad}, // the appended ampersand meets another one
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.query.substr(0, 9) + " + " + c.body.substr(0, 9));
        const auto slot = std::make_unique<SessionSlot>();
        strcpy(slot->tRequest.acQeryString, c.query.c_str());
        strcpy(slot->tRequest.acPostBody, c.body.c_str());
        std::string_view text;
        EXPECT_EQ(Parser_Begin(*slot, SetIndex::CameraInfo, "Parser_Test", text, own), c.expected.empty() ? -1 : 0);
        EXPECT_EQ(c.expected.empty() ? "" : text, c.expected);
        EXPECT_EQ(slot->eMappingMethod, MappingMethod::Set) << "set before any check";
        EXPECT_EQ(slot->eStatusKind, c.status);
    }
}
