#include "camera/accounts/account_request.h"
#include "camera/accounts/accounts.h"
#include "camera/base/files.h"
#include "camera/web/authentication.h"
#include "temporary_folder.h"
#include "tests/fakes/child_process.h"

#include <gtest/gtest.h>
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

    accounts.remove("bob");
    EXPECT_FALSE(accounts.find("bob"));
    EXPECT_EQ(allFiles().find("bob"), std::string::npos);
    EXPECT_TRUE(logsIn("admin", "first"));
}

TEST_F(AccountsTest, PasswordsAreSaltedAndForTheOwnerOnly)
{
    accounts.add("bob", "same", "view");
    accounts.add("eve", "same", "view");
    EXPECT_NE(accounts.find("bob")->hash, accounts.find("eve")->hash);
    EXPECT_EQ(allFiles().find("same"), std::string::npos);
    struct stat status = {};
    ASSERT_EQ(stat(folder.path("shadow").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    accounts.remove("bob");
    accounts.add("joe", "p", "view");
    EXPECT_NE(readFile(folder.path("passwd")).find("joe:x:1001:"), std::string::npos)
        << "a number that is free again";
}

TEST_F(AccountsTest, LinesOfOthersStayAsTheyAre)
{
    const std::string foreign = "broken line\nroot:x:0:0:System:/root:/bin/sh\n";
    replaceFile(folder.path("passwd"), foreign + readFile(folder.path("passwd")), 0644);
    accounts.add("bob", "p", "view");
    EXPECT_TRUE(readFile(folder.path("passwd")).starts_with(foreign));
    EXPECT_THROW(accounts.add("root", "p", "admin"), AccountError);
    EXPECT_THROW(accounts.edit("root", "p", "admin"), AccountError);
    EXPECT_THROW(accounts.remove("root"), AccountError);
}

TEST_F(AccountsTest, RefusedChangeLeavesTheFilesAlone)
{
    accounts.add("bob", "p", "view");
    const std::string before = allFiles();
    const std::string longest(64, 'n');
    const std::string requests[] = {
        "method=add&username=bob&userpass=p&privilege=view",
        "method=edit&username=eve&userpass=p&privilege=view",
        "method=delete&username=eve",
        "method=delete&username=admin",
        "method=edit&username=admin&userpass=p&privilege=view",
        "method=add&username=eve&userpass=p&privilege=root",
        "method=add&username=eve&userpass=p&privilege=",
        "method=add&username=&userpass=p&privilege=view",
        "method=add&username=a:b&userpass=p&privilege=view",
        "method=add&username=a\nb&userpass=p&privilege=view",
        "method=add&username=a,b&userpass=p&privilege=view",
        "method=add&username=" + longest + "n&userpass=p&privilege=view",
        "method=edit&username=bob&userpass=&privilege=view",
        "method=edit&username=bob&userpass=" + longest + "&privilege=view",
        "method=edit&username=bob&userpass=a\nb&privilege=view",
        "method=add&username=eve&userpass=p",
        "method=add&username=eve&privilege=view&userpass=p",
        "method=list&username=eve",
        "",
    };
    const auto act = [this](const std::string &text) {
        const AccountRequest request = parseAccountRequest(text);
        if (request.method == AccountRequest::Method::Add)
            accounts.add(request.name, request.password, request.group);
        else if (request.method == AccountRequest::Method::Edit)
            accounts.edit(request.name, request.password, request.group);
        else
            accounts.remove(request.name);
    };
    for (const std::string &request : requests) {
        EXPECT_THROW(act(request), AccountError) << request;
        EXPECT_EQ(allFiles(), before) << request;
    }
}

TEST(AccountRequestTest, PasswordHoldsEverythingUpToTheLastGroup)
{
    const AccountRequest request =
        parseAccountRequest("method=add&username=bob&userpass=a&userpass=b&privilege=admin&c=%41&privilege=view");
    EXPECT_EQ(request.name, "bob");
    EXPECT_EQ(request.password, "a&userpass=b&privilege=admin&c=%41");
    EXPECT_EQ(request.group, "view");
}

/** Runs the built account program in the folder above "etc"; returns its exit status. */
int runProgram(const std::string &root, const std::string &query)
{
    return ChildProcess({KELPA_ACCOUNT_PROGRAM}, {.environment = {"KELPA_ROOT=" + root, "QUERY_STRING=" + query}})
        .wait();
}

TEST(AccountProgram, ExitStatusTellsWhatBecameOfTheRequest)
{
    const TemporaryFolder root;
    std::filesystem::create_directory(root.path("etc"));
    const AccountFiles accounts(root.path("etc"));
    accounts.create("first");
    EXPECT_EQ(runProgram(root.path(), "method=add&username=bob&userpass=a&b=c&privilege=operator"), 0);
    ASSERT_TRUE(accounts.find("bob"));
    EXPECT_TRUE(passwordMatches("a&b=c", accounts.find("bob")->hash));
    EXPECT_EQ(runProgram(root.path(), "method=delete&username=admin"), 1);
    EXPECT_EQ(runProgram(root.path(), ""), 1);
    EXPECT_EQ(runProgram("/nonexistent", "method=delete&username=bob"), 1);
    EXPECT_EQ(runProgram(root.path(), "method=delete&username=bob"), 0);
    EXPECT_FALSE(accounts.find("bob"));
}

TEST(AuthenticationRules, NeedsOfRequests)
{
    const std::tuple<const char *, const char *, const char *, Need> cases[] = {
        {"GET", "/common/info.cgi", "", Need::AnyAccount},
        {"GET", "/", "", Need::AnyAccount},
        {"GET", "/config/camera_info.cgi", "name=Hall", Need::Operator},
        {"POST", "/config/camera_info.cgi", "", Need::Operator},
        {"GET", "/config/video.cgi", "profileid=1", Need::AnyAccount}, // a selector
        {"POST", "/config/video.cgi", "profileid=1", Need::Operator},
        {"GET", "/config/video.cgi", "profileid=10", Need::Operator},
        {"GET", "/config/network.cgi", "ip=10.0.0.1", Need::Operator}, // as long as a selector, but none
        {"GET", "/video/mjpg.cgi", "profileid=2", Need::AnyAccount},
        {"GET", "/cgi/admin/recorder.cgi", "", Need::Admin},
        {"GET", "/config/user_mod.cgi", "name=a", Need::Admin},
        {"POST", "/config/user_del.cgi", "", Need::Admin},
        {"GET", "/config/system_reboot.cgi", "reboot=go", Need::Admin},
        {"GET", "/config/scheduled_reboot.cgi", "enable=on", Need::Admin},
        {"GET", "/camera/state", "", Need::Admin},
        {"DELETE", "/common/info.cgi", "", Need::Operator},
    };
    for (const auto &[method, path, query, need] : cases) {
        HttpHead head;
        head.method = method;
        head.path = path;
        head.query = query;
        EXPECT_EQ(neededFor(head), need) << method << " " << path << "?" << query;
    }
    EXPECT_TRUE(groupSuffices("view", Need::AnyAccount));
    EXPECT_FALSE(groupSuffices("view", Need::Operator));
    EXPECT_TRUE(groupSuffices("operator", Need::Operator));
    EXPECT_FALSE(groupSuffices("operator", Need::Admin));
    EXPECT_TRUE(groupSuffices("admin", Need::Admin));
}

TEST(AuthenticationRules, BasicCredentials)
{
    const auto expect = [](const char *field, const char *name, const char *password) {
        const std::optional<Credentials> credentials = parseBasicCredentials(field);
        ASSERT_TRUE(credentials) << field;
        EXPECT_EQ(credentials->name, name);
        EXPECT_EQ(credentials->password, password);
    };
    expect("Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==", "Aladdin", "open sesame"); // the example of RFC 7617
    expect("basic  YTpiOmM=", "a", "b:c");
    expect("Basic YTo=", "a", "");
    // No colon, no base64, cut, a NUL byte, and less than that.
    for (const char *bad :
         {"Basic YWI=", "Basic YTpi!", "Basic YTpiY", "Basic AGE6Yg==", "Basic ", "Bearer YTpi", ""})
        EXPECT_FALSE(parseBasicCredentials(bad)) << bad;
}

} // namespace
