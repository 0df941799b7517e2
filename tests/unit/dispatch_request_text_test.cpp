#include "daemon/request/request_text.h"
#include "tests/fakes/poisoned.h"

#include <cstring>
#include <gtest/gtest.h>

TEST(XssProtect, RefusesFiveCharactersAndTheDoubleAmpersand)
{
    for (const char *clean : {"", "name=Hall&", "a&b&", "name=a+b/c=&", "\"'`;|$\\", "\xE4\xFF&"})
        EXPECT_EQ(XSS_Protect(clean), 0) << clean;
    for (const char *dirty : {">", "<", ")", "(", "%", "&&", "name=My(Cam)&", "name=a%2Cb&", "a=1&&b=2&", "a=1&&"})
        EXPECT_EQ(XSS_Protect(dirty), -1) << dirty;
}

TEST(GetStringValueFromText, TakesAValueThatFitsItsField)
{
    const struct {
        const char *description;
        const char *text;
        int result;
        const char *expected;
    } cases[] = {
        {"empty", "name=&", 0, ""},
        {"as long as the field allows", "name=1234567&", 0, "1234567"},
        {"one too long", "name=12345678&", -1, "old"},
        {"absent", "label=x&", -1, "old"},
        {"unterminated", "name=x", -1, "old"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        PoisonedBuffer<8> out;
        strcpy(out.span().data(), "old");
        EXPECT_EQ(GetStringValueFromText(c.text, "name=", out.span()), c.result);
        EXPECT_STREQ(out.text(), c.expected);
        EXPECT_TRUE(out.intact());
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
    EXPECT_EQ(GetStringValueFromText("", "name=", acValue), -1) << "an empty text just lacks the key";
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
    const auto taken = [](const char *text) -> std::string {
        int32_t a = 9, b = 9, c = 9;
        if (GetBoolTripleFromText(text, "a=", "b=", "c=", a, b, c) != 0)
            return "refused";
        return std::to_string(a) + std::to_string(b) + std::to_string(c);
    };
    EXPECT_EQ(taken("a=0&b=0&c=0&"), "000");
    EXPECT_EQ(taken("a=1&b=0&c=0&"), "100");
    EXPECT_EQ(taken("c=1&b=0&a=0&"), "001");
    EXPECT_EQ(taken("a=0&b=1&c=1&"), "011");
    for (const char *bad :
         {"a=1&b=1&c=0&", "a=1&b=0&c=1&", "a=2&b=0&c=0&", "a=0&b=-1&c=0&", "a=0&b=0&c=2&", "a=0&b=0&", "b=0&c=0&"})
        EXPECT_EQ(taken(bad), "refused") << bad;
}

TEST(ParserBegin, ChoosesTerminatesAndFiltersTheText)
{
    const std::string longest(4094, 'x');
    const struct {
        const char *description;
        std::string query;
        std::string body;
        std::string expected; ///< empty: refused
    } cases[] = {
        {"the query string before the body", "a=1", "b=2", "a=1&"},
        {"the body of a request without a query string", "", "b=2", "b=2&"},
        {"the longest query string", longest, "", longest + "&"},
        {"the longest body", "", longest, longest + "&"},
        {"nothing", "", "", ""},
        {"a full query string, though the body would do", longest + "x", "b=2", ""},
        {"a full body", "", longest + "x", ""},
        {"a forbidden character", "a=(", "", ""},
        {"the appended ampersand meets another one", "a=1&", "", ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const auto slot = std::make_unique<SessionSlot>();
        strcpy(slot->tRequest.acQeryString, c.query.c_str());
        strcpy(slot->tRequest.acPostBody, c.body.c_str());
        std::string_view text;
        EXPECT_EQ(Parser_Begin(*slot, SetIndex::CameraInfo, "Parser_Test", text), c.expected.empty() ? -1 : 0);
        if (!c.expected.empty()) {
            EXPECT_EQ(text, c.expected);
        }
        EXPECT_EQ(slot->eMappingMethod, MappingMethod::Set) << "set before any check";
        EXPECT_EQ(slot->iMappingIndex, static_cast<int32_t>(SetIndex::CameraInfo));
        EXPECT_EQ(slot->eStatusKind, c.expected.empty() ? StatusKind::BadRequest : StatusKind::Unset);
    }
}

TEST(ParserBegin, GivesAnEmptyRequestTheFamilysOwnReason)
{
    const auto slot = std::make_unique<SessionSlot>();
    std::string_view text;
    EXPECT_EQ(Parser_Begin(*slot, SetIndex::CameraInfo, "Parser_Test", text, StatusKind::InvalidParameter), -1);
    EXPECT_EQ(slot->eStatusKind, StatusKind::InvalidParameter);
    strcpy(slot->tRequest.acQeryString, "a=%");
    EXPECT_EQ(Parser_Begin(*slot, SetIndex::CameraInfo, "Parser_Test", text, StatusKind::InvalidParameter), -1);
    EXPECT_EQ(slot->eStatusKind, StatusKind::BadRequest) << "forbidden characters are a bad request for everybody";
}

TEST(RequestKey, IsFormattedAndBounded)
{
    EXPECT_EQ(std::string_view(Key("item%02d=", 4)), "item04=");
    EXPECT_EQ(Key("%s", std::string(100, 'x').c_str()).Length(), 63U);
}
