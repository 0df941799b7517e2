#include "tests/fakes/poisoned.h"
#include "text/builder.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

TEST(TextBuilder, KeepsWhatFitsAndTellsWhatWasCut)
{
    const struct {
        const char *description;
        std::vector<std::string> pieces;
        const char *expected;
        bool cut;
    } cases[] = {
        {"nothing", {}, "", false},
        {"an empty piece", {""}, "", false},
        {"one piece that fits exactly", {"1234567"}, "1234567", false},
        {"pieces that fit exactly", {"123", "", "4567"}, "1234567", false},
        {"one byte too many", {"12345678"}, "1234567", true},
        {"the second piece is cut", {"12345", "678"}, "1234567", true},
        {"nothing is added behind a cut", {"12345678", "9"}, "1234567", true},
        {"an empty piece on a full buffer is no cut", {"1234567", ""}, "1234567", false},
    };
    for (const auto &c : cases) {
        for (const bool formatted : {false, true}) {
            SCOPED_TRACE(std::string(c.description) + (formatted ? ", formatted" : ""));
            PoisonedBuffer<8> buffer;
            TextBuilder text(buffer.Span());
            for (const std::string &piece : c.pieces) {
                if (formatted)
                    text.Addf("%s", piece.c_str());
                else
                    text.Add(piece);
            }
            EXPECT_STREQ(text.Text(), c.expected);
            EXPECT_EQ(text.View(), c.expected);
            EXPECT_EQ(text.Cut(), c.cut);
            EXPECT_TRUE(buffer.Intact());
        }
    }
}

TEST(TextBuilder, WorksInASingleByte)
{
    PoisonedBuffer<1> buffer;
    TextBuilder text(buffer.Span());
    text.Add("x");
    text.Addf("%d", 5);
    EXPECT_STREQ(text.Text(), "");
    EXPECT_TRUE(text.Cut() && text.Empty() && buffer.Intact());
}

TEST(TextBuilder, WritesTheLinesOfReplies)
{
    TextBuffer<128> text;
    text.Line("name=", "Hall");
    text.Line("inputs=", -2147483647 - 1);
    text.LineOnOff("dhcp=", true);
    text.LineOnOff("upnp=", false);
    text.LineYesNo("speaker=", true);
    text.LineYesNo("video=", false);
    EXPECT_EQ(text.View(), "name=Hall\r\ninputs=-2147483648\r\ndhcp=on\r\nupnp=off\r\nspeaker=yes\r\nvideo=no\r\n");
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
    const struct {
        const char *description;
        std::string body;
        const char *expected;
        bool cut;
    } cases[] = {
        {"fits", "body", "head|body", false},
        {"fits exactly", "body567890", "head|body567890", false},
        {"cut", "body567890x", "head|body567890", true},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        PoisonedBuffer<16> buffer;
        TextBuilder text(buffer.Span());
        text.Add("head|");
        TextBuilder body(text.Rest());
        body.Add(c.body);
        text.Extend(body);
        EXPECT_EQ(text.View(), c.expected);
        EXPECT_EQ(text.Cut(), c.cut);
        EXPECT_TRUE(buffer.Intact());
    }
}

TEST(TextCopy, CopiesAtMostOneByteLessThanTheField)
{
    for (const std::string source : {"", "abc", "1234567", "12345678", "a much longer text"}) {
        SCOPED_TRACE(source);
        PoisonedBuffer<8> field;
        Text_Copy(field.Span(), source);
        EXPECT_EQ(field.Text(), source.substr(0, 7));
        EXPECT_TRUE(field.IntactFrom(std::min<size_t>(source.size(), 7) + 1));
    }
}
