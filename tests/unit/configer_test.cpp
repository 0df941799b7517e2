#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "tests/fakes/fake_store.h"
#include "tests/fakes/poisoned.h"
#include "tests/fakes/temp_root.h"

#include <gtest/gtest.h>
#include <memory>

class Configer : public testing::Test
{
  protected:
    RootEnvironment root;
    FakeStore store{root.path("/tmp/configer"), {{"a", "1"}, {"b", "two"}}};
};

TEST_F(Configer, CutsWhatIsTooLong)
{
    char acReply[64];
    const std::string key(600, 'k');
    EXPECT_EQ(Get_Configer_Parameter(acReply, {"a&", key, key}), 0);
    EXPECT_EQ(store.requests().back(), ("get NameValue 99 0\na&" + key + key).substr(0, 1023));
    EXPECT_EQ(Set_Configer_Parameter(acReply, "c=" + std::string(3000, 'v')), 0);
    EXPECT_EQ(store.requests().back(), "set NameValue 99 0 0\nc=" + std::string(2047 - 23, 'v'));

    PoisonedBuffer<8> small;
    EXPECT_EQ(Set_Configer_Parameter(small.span(), "b=longer than that"), 0);
    EXPECT_STREQ(small.text(), "b=longe");
    store.answer(std::string(50000, 'x'));
    EXPECT_EQ(Get_Configer_Parameter(small.span(), {"a&"}), 0);
    EXPECT_STREQ(small.text(), "xxxxxxx");
    store.answer({"\0a=1\n", 5});
    EXPECT_EQ(Get_Configer_Parameter(small.span(), {"a&"}), 0);
    EXPECT_STREQ(small.text(), "") << "nothing after a NUL counts";
    EXPECT_TRUE(small.intact());
}

TEST_F(Configer, FailsWithoutAnAnswerAndLeavesNothingOpen)
{
    const size_t before = countDescriptors();
    const std::function<void()> strikes[] = {[&] { store.answerNothing(); }, [&] { store.closeEarly(); },
                                             [&] { store.refuse(); }};
    for (const auto &strike : strikes) {
        strike();
        PoisonedBuffer<8> reply;
        EXPECT_EQ(Get_Configer_Parameter(reply.span(), {"a&"}), -1);
        EXPECT_STREQ(reply.text(), "") << "terminated whatever happens";
        EXPECT_EQ(Set_Configer_Parameter(reply.span(), "a=1"), -1);
        store.heal();
        store.listen();
        EXPECT_EQ(Get_Configer_Parameter(reply.span(), {"a&"}), 0);
        EXPECT_STREQ(reply.text(), "a=1\n");
        store.waitUntilIdle();
        EXPECT_EQ(countDescriptors(), before);
    }
}

TEST(ConfigerValues, AreTakenUpToTheLineFeed)
{
    constexpr std::string_view REPLY = "network_ipaddress=10.0.0.1\nipaddress=x\nempty=\nn=1234567\nlong=12345678\n"
                                       "full=elevenbytes\nmore=twelve bytes\nneg=-12\nword=yes\nzero=0\nend=1";
    // What is taken: a text of at most 11 characters, a number, a flag; "-" where nothing is.
    const std::pair<const char *, const char *> cases[] = {
        {"network_ipaddress=", "10.0.0.1 - 1"},
        {"ipaddress=", "10.0.0.1 - 1"}, // the longer name stands first
        {"empty=", " 0 0"},
        {"n=", "1234567 1234567 1"},
        {"long=", "12345678 - 1"},
        {"neg=", "-12 -12 0"},
        {"word=", "yes 0 0"},
        {"zero=", "0 0 0"},
        {"full=", "elevenbytes - 0"},
        {"more=", "- - 0"},
        {"end=", "- - 1"},
        {"missing=", "- - -"}, // a flag needs no line feed
    };
    for (const auto &[key, expected] : cases) {
        PoisonedBuffer<12> text;
        text.span()[0] = '\0';
        int32_t integer = -1, boolean = -1;
        const bool taken = Get_Configer_STRING_Value(REPLY, key, text.span()) == 0;
        const bool number = Get_Configer_INT_Value(REPLY, key, integer) == 0;
        const bool on = Get_Configer_BOOL_Value(REPLY, key, boolean) == 0;
        EXPECT_TRUE(text.intact() && (taken || *text.text() == 0) && (number || integer == -1)) << key;
        EXPECT_EQ((taken ? text.text() : "-") + std::string(" ") + (number ? std::to_string(integer) : "-") + " " +
                      (on ? std::to_string(boolean) : "-"),
                  expected)
            << key;
    }
    int32_t flag = -1;
    EXPECT_EQ(Get_Configer_BOOL_Value("a=", "a=", flag), 0) << "nothing behind the key reads as off";
    EXPECT_EQ(flag, 0);
}

namespace
{

struct Taken {
    int32_t iNumber = -1, iFlag = -1;
    char acText[4] = "old";
    struct {
        char acText[4] = "old";
    } tInner;
    size_t length = 99;
};
using Inner = decltype(Taken::tInner);

void TakeLength(std::string_view value, Taken &taken)
{
    taken.length = value.size();
}

constexpr ReadRow<Taken> ROWS[] = {
    ReadInt<&Taken::iNumber>("n#_*_n"),
    AskOnly("unused"),
    ReadBool<&Taken::iFlag>("flag").AskedWith("=&"),
    ReadText<&Taken::acText>("text"),
    ReadTextIfGiven<&Taken::tInner, &Inner::acText>("inner#").AskedWith(""),
    ReadSpecial<TakeLength, 5>("special"),
};

} // namespace

TEST_F(Configer, RowsAreAskedForAndTakenUpToTheFirstFailure)
{
    // What is taken of each answer: the number, the flag, the two texts, the length of the last one.
    const struct {
        const char *answer;
        bool failed;
        std::string taken;
    } cases[] = {
        {"n-7_w#_n=12\nflag=1\ntext=abc\ninner-7=\nspecial=12345\n", false, "12 1 abc  5"},
        {"n-7_w#_n=-3\nflag=\ntext=\nspecial=\n", false, "-3 0  old 0"},
        {"n-7_w#_n=1\nflag=1\ntext=abc\ninner-7=long\nspecial=1\n", false, "1 1 abc old 1"},
        {"n-7_w#_n=1\nflag=1\ntext=abc\nspecial=123456\n", true, "1 1 abc old 99"},
        {"n-7_w#_n=1\nflag=1\ntext=long\ninner-7=x\nspecial=1\n", true, "1 1 old old 99"},
        {"n-7_w#_n=12345678\nflag=1\ntext=x\nspecial=1\n", true, "-1 -1 old old 99"},
        {"n-7_w#_n=1\ntext=abc\ninner-7=x\nspecial=1\n", true, "1 -1 old old 99"},
        {"xn-7_w#_n=4\nn-7_w#_n=5\nflag=1\ntext=a\nspecial=1\n", false, "4 1 a old 1"}, // a longer name's tail
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.answer);
        store.answer(c.answer);
        Taken taken;
        TextBuffer<64> keys;
        Read_AddKeys(keys, ROWS, {-7, "w#"});
        ConfigerReply<128> reply("Test");
        reply.AskFor(keys.View());
        EXPECT_EQ(store.requests().back(), "get NameValue 99 0\nn-7_w#_n&unused&flag=&text&inner-7special&");
        reply.Take(ROWS, taken, {-7, "w#"});
        EXPECT_EQ(std::to_string(taken.iNumber) + " " + std::to_string(taken.iFlag) + " " + taken.acText + " " +
                      taken.tInner.acText + " " + std::to_string(taken.length),
                  c.taken);
        EXPECT_EQ(reply.Failed(), c.failed);
    }
    store.refuse();
    Taken taken;
    ConfigerReply<64> dead("Test");
    dead.Read(ROWS, taken);
    dead.ReadText("b", taken.acText);
    EXPECT_TRUE(dead.Failed());
    EXPECT_EQ(taken.iNumber, -1);
}

TEST_F(Configer, PairsThatWereCutAreNotWritten)
{
    const auto slot = std::make_unique<SessionSlot>();
    TextBuffer<8> pairs;
    TextBuffer<13> group;
    group.Add("a=2&a=3&a=4&");
    EXPECT_EQ(Session_AddPairs(*slot, pairs, group, StatusKind::UpdateFailed), 0);
    EXPECT_EQ(Session_WritePairs(*slot, pairs, StatusKind::InternalError), -1);
    EXPECT_EQ(slot->eMappingResult, StatusKind::InternalError);
    group.Add("&");
    pairs.Clear();
    EXPECT_EQ(Session_AddPairs(*slot, pairs, group, StatusKind::UpdateFailed), -1);
    EXPECT_EQ(slot->eMappingResult, StatusKind::UpdateFailed);
    EXPECT_TRUE(store.requests().empty());
}
