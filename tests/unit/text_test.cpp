#include "daemon/base/base64.h"
#include "daemon/base/text_builder.h"
#include "daemon/base/text_finder.h"
#include "tests/fakes/poisoned.h"

#include <cstring>
#include <gtest/gtest.h>

TEST(TextBuilder, KeepsWhatFitsAndTellsWhatWasCut)
{
    for (const bool formatted : {false, true}) {
        const auto built = [formatted](const std::vector<std::string> &pieces) {
            PoisonedBuffer<8> buffer;
            TextBuilder text(buffer.span());
            for (const std::string &piece : pieces) {
                if (formatted)
                    text.Addf("%s", piece.c_str());
                else
                    text.Add(piece);
            }
            EXPECT_EQ(text.View(), text.Text());
            EXPECT_TRUE(buffer.intact());
            return text.Text() + std::string(text.Cut() ? " (cut)" : "");
        };
        EXPECT_EQ(built({""}), "");
        EXPECT_EQ(built({"123", "", "4567"}), "1234567");
        EXPECT_EQ(built({"1234567", ""}), "1234567") << "an empty piece on a full buffer is no cut";
        EXPECT_EQ(built({"12345678"}), "1234567 (cut)");
        EXPECT_EQ(built({"12345", "678"}), "1234567 (cut)");
        EXPECT_EQ(built({"12345678", "9"}), "1234567 (cut)");
        EXPECT_EQ(built({"12345678", ""}), "1234567 (cut)") << "what was cut before stays told";
    }
}

TEST(TextBuilder, WorksInASingleByte)
{
    PoisonedBuffer<1> buffer;
    TextBuilder text(buffer.span());
    text.Add("x");
    text.Addf("%d", 5);
    EXPECT_STREQ(text.Text(), "");
    EXPECT_TRUE(text.Cut() && text.Empty() && buffer.intact());
}

TEST(TextBuilder, TakesBackAndStartsAnew)
{
    TextBuffer<8> text;
    text.Add("12345678");
    text.DropLast(2);
    EXPECT_STREQ(text.Text(), "12345");
    EXPECT_TRUE(text.Cut()) << "what was cut before stays told";
    text.DropLast(100);
    EXPECT_TRUE(text.Empty());
    EXPECT_STREQ(text.Text(), "");
    text.Clear();
    EXPECT_FALSE(text.Cut());
    text.Add("again");
    EXPECT_STREQ(text.Text(), "again");
}

TEST(TextBuilder, LetsASecondBuilderWriteBehindIt)
{
    for (const std::string added : {"body", "body567890", "body567890x"}) {
        PoisonedBuffer<16> buffer;
        TextBuilder text(buffer.span());
        text.Add("head|");
        TextBuilder body(text.Rest());
        body.Add(added);
        text.Extend(body);
        EXPECT_EQ(text.View(), "head|" + added.substr(0, 10));
        EXPECT_EQ(text.Cut(), added.size() > 10);
        EXPECT_TRUE(buffer.intact());
    }
}

TEST(TextCopy, CopiesAtMostOneByteLessThanTheField)
{
    for (const std::string source : {"", "1234567", "12345678"}) {
        SCOPED_TRACE(source);
        PoisonedBuffer<8> field;
        Text_Copy(field.span(), source);
        EXPECT_EQ(field.text(), source.substr(0, 7));
        EXPECT_TRUE(field.intactFrom(std::min<size_t>(source.size(), 7) + 1));
    }
}

TEST(FindValue, TakesTheTextBetweenTheKeyAndTheEnd)
{
    const auto found = [](const char *text) -> std::string {
        std::string_view value = "untouched";
        const bool taken = Text_FindValue(text, "name=", '&', value) == 0;
        return taken ? std::string(value) : "(" + std::string(value) + ")";
    };
    EXPECT_EQ(found("name=a&label=b&"), "a");
    EXPECT_EQ(found("name=&"), "");
    EXPECT_EQ(found("name=a&name=b&"), "a") << "the first occurrence counts";
    EXPECT_EQ(found("username=x&name=y&"), "x") << "also as the tail of a longer key";
    EXPECT_EQ(found("label=name=z&name=y&"), "z") << "also inside a value";
    EXPECT_EQ(found("name=a=b&"), "a=b");
    for (const char *text : {"Name=a&", "name=a", "label=b&name=a", "nam", ""})
        EXPECT_EQ(found(text), "(untouched)") << text;
}

TEST(ToInt, ConvertsAsA32BitStrtolDoes)
{
    const std::string nines(38, '9'), zeros(40, '0');
    const std::pair<int32_t, std::vector<std::string>> cases[] = {
        {42, {"42", "+42"}},
        {-42, {"-42"}},
        {7, {" \t\n\v\f\r7"}},
        {3, {"3.9"}},
        {12, {zeros + "12"}},
        {0, {"", "abc", "-", "--5", "- 5", "0x10"}},
        {INT32_MAX, {"2147483647", "2147483648", nines}},
        {INT32_MIN, {"-2147483648", "-2147483649", "-" + nines}},
    };
    for (const auto &[expected, texts] : cases)
        for (const std::string &text : texts)
            EXPECT_EQ(Text_ToInt(text), expected) << '"' << text << '"';
}

TEST(ScanInts, ReadsNumbersBetweenSeparators)
{
    const auto scanned = [](const char *text) {
        int32_t values[3] = {};
        const int result = Text_ScanInts(text, ',', values);
        return std::to_string(values[0]) + " " + std::to_string(values[1]) + " " + std::to_string(values[2]) +
               (result == 0 ? "" : " failed");
    };
    EXPECT_EQ(scanned(" 1, -2, +3"), "1 -2 3");
    EXPECT_EQ(scanned("1,2,3,4"), "1 2 3");
    EXPECT_EQ(scanned("1,2,3abc"), "1 2 3");
    EXPECT_EQ(scanned("1,2,99999999999"), "1 2 2147483647");
    EXPECT_EQ(scanned("1,2"), "1 2 0 failed");
    EXPECT_EQ(scanned("1 ,2,3"), "1 0 0 failed");
    EXPECT_EQ(scanned("1,,3"), "1 0 0 failed");
    EXPECT_EQ(scanned(""), "0 0 0 failed");
}

TEST(Base64, DecodesAsTheAccountsNeedIt)
{
    const auto decoded = [](const char *text) {
        char acOut[64];
        const int length = Base64_Decode(text, acOut);
        EXPECT_EQ(length, static_cast<int>(strlen(acOut)));
        return std::string(acOut);
    };
    EXPECT_EQ(decoded("YQ=="), "a");
    EXPECT_EQ(decoded("YWI="), "ab");
    EXPECT_EQ(decoded("+/+/"), "\xfb\xff\xbf") << "the whole alphabet's ends";
    EXPECT_EQ(decoded("c2\r\nVj\ncmV0\r\n"), "secret") << "line ends anywhere";
    EXPECT_EQ(decoded("c2VjcmV"), "sec") << "an incomplete last group is left out";
    EXPECT_EQ(decoded("YQ="), "");
    EXPECT_EQ(decoded(""), "");
    EXPECT_EQ(decoded("Y!=="), "`") << "another character counts as A";
    EXPECT_EQ(decoded("YQ==Yg=="), "ab") << "= ends its own group only";
    EXPECT_EQ(decoded("=AAAYWJj"), "abc") << "= at the beginning of a group";
}

TEST(Base64, RefusesWhatMightNotFitAndLeavesTheFieldAlone)
{
    char acOut[65];
    memset(acOut, '#', sizeof acOut);
    EXPECT_EQ(Base64_Decode(std::string(88, 'Q'), std::span(acOut).first(64)), -1);
    EXPECT_EQ(Base64_Decode(std::string(84, 'Q'), std::span(acOut).first(63)), -1) << "no room for the terminator";
    EXPECT_EQ(acOut[0], '#');
    EXPECT_EQ(Base64_Decode(std::string(84, 'Q'), std::span(acOut).first(64)), 63);
    EXPECT_EQ(acOut[63], '\0');
    EXPECT_EQ(acOut[64], '#');
}
