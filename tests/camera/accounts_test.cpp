#include "camera/accounts/account_request.h"
#include "camera/accounts/accounts.h"
#include "camera/base/files.h"
#include "camera/web/authentication.h"
#include "temporary_folder.h"
#include "tests/fakes/child_process.h"

#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>

namespace
{

using namespace camera;

class AccountsTest : public testing::Test
{
  protected:
    void SetUp() override { accounts.create("first"); }

    bool logsIn(std::string_view name, std::string_view password) const
    {
        const std::optional<Account> account = accounts.find(name);
        return account && passwordMatches(password, account->hash);
    }
    std::string allFiles() const
    {
        return readFile(folder.path("passwd")) + readFile(folder.path("group")) + readFile(folder.path("shadow"));
    }

    TemporaryFolder folder;
    AccountFiles accounts{folder.path()};
};

TEST_F(AccountsTest, AddedEditedAndDeletedUserIsInTheFiles)
{
    accounts.add("bob", "one", "view");
    EXPECT_TRUE(logsIn("bob", "one"));
    EXPECT_EQ(accounts.find("bob")->group, "view");
    EXPECT_EQ(readFile(folder.path("passwd")), "admin:x:1000:100::/:/bin/false\nbob:x:1001:102::/:/bin/false\n");
    EXPECT_EQ(readFile(folder.path("group")), "admin:x:100:admin\noperator:x:101:\nview:x:102:bob\n");

    accounts.edit("bob", "two", "operator");
    EXPECT_TRUE(logsIn("bob", "two"));
    EXPECT_FALSE(logsIn("bob", "one"));
    EXPECT_EQ(accounts.find("bob")->group, "operator");
    EXPECT_EQ(readFile(folder.path("group")), "admin:x:100:admin\noperator:x:101:bob\nview:x:102:\n");

    accounts.add("eve", "two", "view");
    EXPECT_NE(accounts.find("bob")->hash, accounts.find("eve")->hash) << "salted";
    EXPECT_EQ(allFiles().find("two"), std::string::npos);
    struct stat status = {};
    ASSERT_EQ(stat(folder.path("shadow").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);

    accounts.remove("bob");
    EXPECT_FALSE(accounts.find("bob"));
    EXPECT_EQ(allFiles().find("bob"), std::string::npos);
    EXPECT_TRUE(logsIn("admin", "first"));
    accounts.add("joe", "p", "view");
    EXPECT_NE(readFile(folder.path("passwd")).find("joe:x:1001:"), std::string::npos) << "free again";
}

TEST_F(AccountsTest, RefusedChangeLeavesTheFilesAlone)
{
    const std::string foreign = "broken line\nroot:x:0:0:System:/root:/bin/sh\n";
    replaceFile(folder.path("passwd"), foreign + readFile(folder.path("passwd")), 0644);
    accounts.add("bob", "p", "view");
    const std::string before = allFiles();
    EXPECT_TRUE(before.starts_with(foreign));
    // Blanks part them; V is the group view.
    std::istringstream requests(
        "delete&username=eve delete&username=admin delete&username=root list&username=eve "
        "edit&username=root&userpass=pV "
        "add&username=root&userpass=pV edit&username=admin&userpass=pV add&username=eve&userpass=p&privilege=root "
        "add&username=&userpass=pV add&username=a:b&userpass=pV add&username=bob&userpass=pV "
        "add&username=a\nb&userpass=pV add&username=a,b&userpass=pV edit&username=eve&userpass=pV "
        "edit&username=bob&userpass=V edit&username=bob&userpass=a\nbV add&username=eve&userpass=p "
        "add&username=eve&privilege=view&userpass=p add&username=" +
        std::string(65, 'n') + "&userpass=pV edit&username=bob&userpass=" + std::string(64, 'p') + "V");
    const auto act = [this](const std::string &text) {
        const auto &[method, name, password, group] = parseAccountRequest("method=" + text);
        if (method == AccountRequest::Method::Add)
            accounts.add(name, password, group);
        else if (method == AccountRequest::Method::Edit)
            accounts.edit(name, password, group);
        else
            accounts.remove(name);
    };
    for (std::string request; std::getline(requests, request, ' ');) {
        if (request.ends_with('V'))
            request.replace(request.size() - 1, 1, "&privilege=view");
        EXPECT_THROW(act(request), AccountError) << request;
        EXPECT_EQ(allFiles(), before) << request;
    }
}

TEST(AccountProgram, ExitStatusTellsWhatBecameOfTheRequest)
{
    const TemporaryFolder root;
    std::filesystem::create_directory(root.path("etc"));
    const AccountFiles accounts(root.path("etc"));
    accounts.create("first");
    const auto run = [&](const std::string &query, const std::string &folder) {
        return ChildProcess({KELPA_ACCOUNT_PROGRAM},
                            {.environment = {"KELPA_ROOT=" + folder, "QUERY_STRING=" + query}})
            .wait();
    };
    // The password is all up to the last group.
    EXPECT_EQ(
        run("method=add&username=bob&userpass=a&userpass=b&privilege=admin&c=%41&privilege=view", root.path()), 0);
    ASSERT_TRUE(accounts.find("bob"));
    EXPECT_EQ(accounts.find("bob")->group, "view");
    EXPECT_TRUE(passwordMatches("a&userpass=b&privilege=admin&c=%41", accounts.find("bob")->hash));
    EXPECT_EQ(run("method=delete&username=admin", root.path()), 1);
    EXPECT_EQ(run("", root.path()), 1);
    EXPECT_EQ(run("method=delete&username=bob", "/nonexistent"), 1);
    EXPECT_EQ(run("method=delete&username=bob", root.path()), 0);
    EXPECT_FALSE(accounts.find("bob"));
}

TEST(AuthenticationRules, NeedsOfRequests)
{
    const std::tuple<const char *, const char *, const char *, Need> cases[] = {
        {"GET", "/common/info.cgi", "", Need::AnyAccount},
        {"GET", "/config/camera_info.cgi", "name=Hall", Need::Operator},
        {"GET", "/config/video.cgi", "profileid=1", Need::AnyAccount}, // a selector
        {"POST", "/config/video.cgi", "profileid=1", Need::Operator},
        {"GET", "/config/video.cgi", "profileid=10", Need::Operator},
        {"GET", "/config/network.cgi", "ip=10.0.0.1", Need::Operator}, // as long as a selector, but none
        {"GET", "/video/mjpg.cgi", "profileid=2", Need::AnyAccount},
        {"GET", "/cgi/admin/recorder.cgi", "", Need::Admin},
        {"GET", "/config/user_mod.cgi", "name=a", Need::Admin},
        {"POST", "/config/user_del.cgi", "", Need::Admin},
        {"GET", "/config/system_reboot.cgi", "reboot=go", Need::Admin},
        {"GET", "/camera/state", "", Need::Admin},
        {"DELETE", "/common/info.cgi", "", Need::Operator},
    };
    for (const auto &[method, path, query, need] : cases) {
        EXPECT_EQ(neededFor(HttpHead{method, path, query, 0, false, {}}), need)
            << method << " " << path << "?" << query;
    }
    EXPECT_TRUE(groupSuffices("view", Need::AnyAccount));
    EXPECT_FALSE(groupSuffices("view", Need::Operator));
    EXPECT_TRUE(groupSuffices("operator", Need::Operator));
    EXPECT_FALSE(groupSuffices("operator", Need::Admin));
    EXPECT_TRUE(groupSuffices("admin", Need::Admin));
}

TEST(AuthenticationRules, BasicCredentials)
{
    const std::tuple<const char *, const char *, const char *> cases[] = {
        {"Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==", "Aladdin", "open sesame"}, // the example of RFC 7617
        {"basic  YTpiOmM=", "a", "b:c"},
        {"Basic YTo=", "a", ""}};
    for (const auto &[field, name, password] : cases) {
        const std::optional<Credentials> credentials = parseBasicCredentials(field);
        ASSERT_TRUE(credentials) << field;
        EXPECT_EQ(credentials->name, name);
        EXPECT_EQ(credentials->password, password);
    }
    // No colon, no base64, cut, a NUL byte, and less than that.
    for (const char *bad :
         {"Basic YWI=", "Basic YTpi!", "Basic YTpiY", "Basic AGE6Yg==", "Basic ", "Bearer YTpi", ""})
        EXPECT_FALSE(parseBasicCredentials(bad)) << bad;
}

} // namespace
