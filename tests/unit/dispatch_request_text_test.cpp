#include "dispatch/request_text.h"
#include "tests/fakes/poisoned.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

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
        std::string text;
        const char *key;
        int result;
        const char *expected;
    } cases[] = {
        {"plain", "name=Hall&", "name=", 0, "Hall"},
        {"empty", "name=&", "name=", 0, ""},
        {"as long as the field allows", "name=1234567&", "name=", 0, "1234567"},
        {"one too long", "name=12345678&", "name=", -1, "old"},
        {"absent", "label=x&", "name=", -1, "old"},
        {"unterminated", "name=x", "name=", -1, "old"},
        {"inside a longer key that stands first", "username=x&name=y&", "name=", 0, "x"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        PoisonedBuffer<8> out;
        strcpy(out.Span().data(), "old");
        EXPECT_EQ(GetStringValueFromText(c.text, c.key, out.Span()), c.result);
        EXPECT_STREQ(out.Text(), c.expected);
        EXPECT_TRUE(out.Intact());
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

TEST(GetIntValueFromText, ConvertsLeniently)
{
    const struct {
        std::string value;
        int result;
        int32_t expected;
    } cases[] = {
        {"5", 0, 5},
        {"-5", 0, -5},
        {"5x", 0, 5},
        {"x", 0, 0},
        {"", 0, 0},
        {"4294967297", 0, INT32_MAX},
        {std::string(126, '0') + "9", 0, 9}, // 127 characters
        {std::string(127, '0') + "9", -1, -7},
    };
    for (const auto &c : cases) {
        int32_t iValue = -7;
        EXPECT_EQ(GetIntValueFromText("n=" + c.value + "&", "n=", iValue), c.result) << c.value;
        EXPECT_EQ(iValue, c.expected) << c.value;
    }
}

TEST(GetBoolTripleFromText, TakesTheFirstFlagOrTheOthers)
{
    const struct {
        const char *text;
        int result;
    } cases[] = {
        {"a=0&b=0&c=0&", 0},
        {"a=1&b=0&c=0&", 0},
        {"a=0&b=1&c=1&", 0},
        {"c=1&b=0&a=0&", 0},
        {"a=1&b=1&c=0&", -1},
        {"a=1&b=0&c=1&", -1},
        {"a=1&b=1&c=1&", -1},
        {"a=2&b=0&c=0&", -1},
        {"a=0&b=-1&c=0&", -1},
        {"a=0&b=0&c=2&", -1},
        {"a=0&b=0&", -1},
        {"b=0&c=0&", -1},
        {"", -1},
    };
    for (const auto &c : cases) {
        int32_t a = 9, b = 9, third = 9;
        EXPECT_EQ(GetBoolTripleFromText(c.text, "a=", "b=", "c=", a, b, third), c.result) << c.text;
    }
    int32_t a = 9, b = 9, third = 9;
    ASSERT_EQ(GetBoolTripleFromText("a=0&b=1&c=0&", "a=", "b=", "c=", a, b, third), 0);
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, 1);
    EXPECT_EQ(third, 0);
}

TEST(ParserBegin, ChoosesTerminatesAndFiltersTheText)
{
    const std::string longest(4094, 'x');
    const struct {
        const char *description;
        std::string query;
        std::string body;
        int result;
        std::string expected;
    } cases[] = {
        {"the query string", "a=1", "", 0, "a=1&"},
        {"the query string before the body", "a=1", "b=2", 0, "a=1&"},
        {"the body of a request without a query string", "", "b=2", 0, "b=2&"},
        {"the longest query string", longest, "", 0, longest + "&"},
        {"the longest body", "", longest, 0, longest + "&"},
        {"nothing", "", "", -1, ""},
        {"a full query string", longest + "x", "", -1, ""},
        {"a full query string, though the body would do", longest + "x", "b=2", -1, ""},
        {"a full body", "", longest + "x", -1, ""},
        {"a forbidden character", "a=(", "", -1, ""},
        {"a forbidden character behind a full text", longest + "(", "", -1, ""},
        {"the appended ampersand meets another one", "a=1&", "", -1, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const auto slot = std::make_unique<SessionSlot>();
        strcpy(slot->tRequest.acQeryString, c.query.c_str());
        strcpy(slot->tRequest.acPostBody, c.body.c_str());
        std::string_view text;
        EXPECT_EQ(Parser_Begin(*slot, SetIndex::CameraInfo, "Parser_Test", text), c.result);
        if (c.result == 0) {
            EXPECT_EQ(text, c.expected);
        }
        EXPECT_TRUE(Session_Is(*slot, SetIndex::CameraInfo)) << "set before any check";
        EXPECT_EQ(slot->eStatusKind, c.result == 0 ? StatusKind::Unset : StatusKind::BadRequest);
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
