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
    EXPECT_EQ(Get_Configer_Parameter(small.span(), {"b&", "a&"}), 0);
    EXPECT_STREQ(small.text(), "b=two\na");
    EXPECT_EQ(Set_Configer_Parameter(small.span(), "b=longer than that"), 0);
    EXPECT_STREQ(small.text(), "b=longe");
    store.answer(std::string(50000, 'x'));
    EXPECT_EQ(Get_Configer_Parameter(small.span(), {"a&"}), 0);
    EXPECT_STREQ(small.text(), "xxxxxxx");
    EXPECT_TRUE(small.intact());
}

TEST_F(Configer, FailsWithoutAnAnswerAndLeavesNothingOpen)
{
    const size_t before = countDescriptors();
    for (const bool listening : {true, false}) {
        store.answerNothing();
        if (!listening)
            store.refuse();
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
    const struct {
        const char *key;
        const char *text; ///< null: not taken into 12 bytes
        int integer;      ///< -1 with intResult -1: not taken
        int intResult;
        int boolean; ///< -1: not taken
    } cases[] = {
        {"network_ipaddress=", "10.0.0.1", -1, -1, 1},
        {"ipaddress=", "10.0.0.1", -1, -1, 1}, // the tail of the longer name that stands first
        {"empty=", "", 0, 0, 0},
        {"n=", "1234567", 1234567, 0, 1},
        {"long=", "12345678", -1, -1, 1},
        {"neg=", "-12", -12, 0, 0},
        {"word=", "yes", 0, 0, 0},
        {"zero=", "0", 0, 0, 0},
        {"full=", "elevenbytes", -1, -1, 0},
        {"more=", nullptr, -1, -1, 0},
        {"end=", nullptr, -1, -1, 1}, // without a line feed; a flag needs none
        {"missing=", nullptr, -1, -1, -1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.key);
        PoisonedBuffer<12> text;
        text.span()[0] = '\0';
        EXPECT_EQ(Get_Configer_STRING_Value(REPLY, c.key, text.span()), c.text != nullptr ? 0 : -1);
        EXPECT_STREQ(text.text(), c.text != nullptr ? c.text : "");
        EXPECT_TRUE(text.intact());
        int32_t integer = -1;
        EXPECT_EQ(Get_Configer_INT_Value(REPLY, c.key, integer), c.intResult);
        EXPECT_EQ(integer, c.integer);
        int32_t boolean = -1;
        EXPECT_EQ(Get_Configer_BOOL_Value(REPLY, c.key, boolean), c.boolean >= 0 ? 0 : -1);
        EXPECT_EQ(boolean, c.boolean);
    }
    int32_t flag = -1;
    EXPECT_EQ(Get_Configer_BOOL_Value("a=", "a=", flag), 0) << "nothing behind the key reads as off";
    EXPECT_EQ(flag, 0);
}

TEST_F(Configer, ReaderRemembersItsFirstFailure)
{
    int32_t number = -1, flag = -1;
    char acText[8] = "old";
    ConfigerReply<64> reply("Test");
    reply.Get({"a&", "b&"});
    reply.Text("b=", acText);
    reply.Bool("a=", flag);
    EXPECT_FALSE(reply.Failed());
    EXPECT_STREQ(acText, "two");
    EXPECT_EQ(flag, 1);
    reply.Int("missing=", number);
    EXPECT_TRUE(reply.Failed());
    reply.Int("a=", number);
    EXPECT_TRUE(reply.Failed());
    EXPECT_EQ(number, -1) << "nothing is taken after a failure";

    store.refuse();
    ConfigerReply<64> dead("Test");
    dead.Get({"a&"});
    EXPECT_TRUE(dead.Failed());
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

TEST(ConfigerKey, IsFormattedAndBounded)
{
    EXPECT_EQ(std::string_view(Key("motion_c0_win_i%d_left=", 4)), "motion_c0_win_i4_left=");
    EXPECT_EQ(Key("%s", std::string(100, 'x').c_str()).Length(), 63U);
}
