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
        EXPECT_EQ(built({"12345", "678"}), "1234567 (cut)");
        EXPECT_EQ(built({"12345678", ""}), "1234567 (cut)") << "what was cut before stays told";
    }
}

TEST(TextBuilder, TakesBackAndStartsAnew)
{
    TextBuffer<8> text;
    text.Add("12345678");
    text.DropLast(2);
    EXPECT_STREQ(text.Text(), "12345");
    text.DropLast(100);
    EXPECT_TRUE(text.Cut() && text.Empty() && text.Text()[0] == '\0') << "what was cut before stays told";
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
    const std::pair<const char *, const char *> cases[] = {{"name=a=b&name=c&", "a=b"},
                                                           {"name=&", ""},
                                                           {"username=x&name=y&", "x"},    // a longer key's tail
                                                           {"label=name=z&name=y&", "z"}}; // inside a value
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(found(text), expected) << text;
    for (const char *text : {"Name=a&", "name=a", "label=b&name=a", "nam", ""})
        EXPECT_EQ(found(text), "(untouched)") << text;
}

TEST(ToInt, ConvertsAsA32BitStrtolDoes)
{
    const std::string nines(38, '9'), zeros(40, '0');
    const std::pair<int32_t, std::vector<std::string>> cases[] = {
        {42, {"42", "+42", " \t\n\v\f\r42.9", zeros + "42"}},
        {-42, {"-42"}},
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
    for (const char *good : {" 1, -2, +3", "1,-2,3,4", "1,-2,3abc"})
        EXPECT_EQ(scanned(good), "1 -2 3") << good;
    EXPECT_EQ(scanned("1,2"), "1 2 0 failed");
    EXPECT_EQ(scanned("1 ,2,3") + scanned("1,,3"), "1 0 0 failed1 0 0 failed");
}

TEST(Base64, DecodesAsTheAccountsNeedIt)
{
    const auto decoded = [](const char *text) {
        char acOut[64];
        const int length = Base64_Decode(text, acOut);
        EXPECT_EQ(length, static_cast<int>(strlen(acOut)));
        return std::string(acOut);
    };
    const std::pair<const char *, const char *> cases[] = {
        {"YQ==", "a"},
        {"YWI=", "ab"},
        {"+/+/", "\xfb\xff\xbf"},
        {"c2\r\nVj\ncmV0\r\n", "secret"},
        {"c2VjcmV", "sec"},
        {"YQ=", ""},
        {"", ""},
        {"Y!==", "`"}, // another character counts as A
        {"YQ==Yg==", "ab"},
        {"=AAAYWJj", "abc"}, // = ends its own group only
    };
    for (const auto &[text, expected] : cases)
        EXPECT_EQ(decoded(text), expected) << text;
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
