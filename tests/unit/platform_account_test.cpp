#include "daemon/base/text_builder.h"
#include "platform/account.h"
#include "tests/fakes/temp_root.h"

#include <filesystem>
#include <gtest/gtest.h>

class Account : public testing::Test
{
  protected:
    Account()
    {
        Text_Copy(context->acPasswordFile, "/etc/passwd");
        Text_Copy(context->acGroupFile, "/etc/group");
        Text_Copy(context->acConfigFile, "/etc/accountmgr.conf");
        Text_Copy(context->acGroups, "admin,operator,view");
    }

    /** The list as "name:uid" words, after checking that count and chain agree. */
    std::string listedUsers() const
    {
        std::string users;
        int32_t count = 0;
        for (const AM_User *user = AM_FirstUser(context.get()); user != nullptr; user = user->ptNext) {
            users += (users.empty() ? "" : " ") + std::string(user->acName) + ":" + user->acIndex;
            count++;
        }
        EXPECT_EQ(AM_UserCount(context.get()), count);
        return users;
    }

    RootEnvironment root;
    std::unique_ptr<AM_Context> context = std::make_unique<AM_Context>();
};

TEST_F(Account, ConfigurationNamesTheGroups)
{
    const auto groups = [this](const std::string &config) {
        root.write("/etc/accountmgr.conf", config);
        const bool read = AM_ParseConfigFile(context.get()) == 0;
        return (read ? "" : "failed, ") + std::string(context->acGroups);
    };
    const std::string longest(255, 'g'), standard = "admin,operator,view";
    const std::pair<std::string, std::string> cases[] = {
        {"# groups=x\n\n  \t\n", standard},
        {"groups=x\n groups = a , b \r\nother=1", "a , b"},
        {"groups=b # these\n", "b"},
        {"groups=" + longest, longest},
    };
    for (const auto &[config, expected] : cases)
        EXPECT_EQ(groups(config), expected) << config;
    for (const std::string &bad : {"groups=" + longest + "g", std::string("groups\n"), std::string("=a\n")})
        EXPECT_EQ(groups(bad), "failed, " + standard) << bad;
    std::filesystem::remove(root.path("/etc/accountmgr.conf"));
    EXPECT_EQ(AM_ParseConfigFile(context.get()), -1);
}

TEST_F(Account, UsersAreTheMembersOfTheGroups)
{
    const auto users = [this](const std::string &group, const std::string &passwd) {
        root.write("/etc/group", group);
        root.write("/etc/passwd", passwd);
        EXPECT_EQ(AM_ParsePasswordFile(context.get()), 0);
        return listedUsers();
    };
    EXPECT_EQ(users("view:x:102:\nadmin:x:100:\n", "b:x:2:102:::\na:x:1:100:::\nc:x:3:103:::\n"), "b:2 a:1");
    EXPECT_EQ(users("admin:x:100:x, b ,c\n", "a:x:1:500:::\nb:x:2:500:::\nc:x:3:500:::\n"), "b:2 c:3");
    EXPECT_EQ(users("admin:x:100:a\nview:x:102:a\n", "a:x:1:100:::\n"), "a:1") << "a member by both ways";
    EXPECT_EQ(users("wheel:x:100:a\n", "a:x:1:100:::\n"), "") << "a group that is not the camera's";
    EXPECT_EQ(users("admin:x:100:ab\n", "a:x:1:500:::\nabc:x:3:500:::\nb:x:4:10:::\n"), "") << "parts of names";
    const std::string malformed = "\n:x:1:100:::\na:x:1:100::\nb:x:1:100:::::\nc:x:one:100:::\nd:x:1:-100:::\n"
                                  "e:x::100:::\nf:x:123456789012:100:::\n";
    EXPECT_EQ(users("admin:x:100:\n", malformed + "good:x:7:100:::"), "good:7");
    EXPECT_EQ(
        users("admin:x:100\nadmin:x:100::\nadmin:x:a:\nadmin\n\noperator:x:101:\n", "a:x:1:100:::\nb:x:2:101:::\n"),
        "b:2");
    const std::string longest(64, 'n');
    EXPECT_EQ(users("admin:x:100:\n", longest + ":x:1:100:::\n" + longest + "n:x:2:100:::\n"), longest + ":1");
}

TEST_F(Account, AFileThatCannotBeReadLeavesTheList)
{
    ASSERT_EQ(AM_ParsePasswordFile(context.get()), 0);
    const std::string before = listedUsers();
    EXPECT_EQ(before, "admin:1000 oscar:1001 vera:1002");
    for (const char *file : {"/etc/passwd", "/etc/group"}) {
        const std::string content = readWholeFile(root.path(file));
        std::filesystem::remove(root.path(file));
        EXPECT_NE(AM_ParsePasswordFile(context.get()), 0) << "no " << file;
        root.write(file, std::string(65536, '#'));
        EXPECT_NE(AM_ParsePasswordFile(context.get()), 0) << "too large " << file;
        EXPECT_EQ(listedUsers(), before);
        root.write(file, content);
    }
}

TEST_F(Account, TakesAsManyUsersAsThereIsRoomFor)
{
    std::string passwd;
    for (int i = 0; i < 200; ++i)
        passwd += "user" + std::to_string(i) + ":x:" + std::to_string(2000 + i) + ":100:::\n";
    root.write("/etc/passwd", passwd);
    ASSERT_EQ(AM_ParsePasswordFile(context.get()), 0);
    EXPECT_EQ(AM_UserCount(context.get()), 128);
    EXPECT_TRUE(listedUsers().ends_with(" user127:2127"));

    std::string group;
    for (int i = 0; i < 40; ++i)
        group += "admin:x:" + std::to_string(3000 + i) + ":" + std::string(1000, 'm') + ",late\n";
    root.write("/etc/group", group + "view:x:102:\n");
    root.write("/etc/passwd", "late:x:1:9:::\na:x:2:3015:::\nb:x:3:3016:::\n");
    ASSERT_EQ(AM_ParsePasswordFile(context.get()), 0);
    EXPECT_EQ(listedUsers(), "late:1 a:2") << "sixteen group entries, and as many member lists as fit";
}
