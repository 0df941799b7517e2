#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/fake_program.h"
#include "tests/fakes/read_table.h"
#include "tests/fakes/test_camera.h"

#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace
{

constexpr char RECORDER[] = "/cgi/admin/recorder.cgi";

/** More than select(2) could take, and than a start without a list of the open ones looks at. */
constexpr int HIGH = 1040;

/** Leaves descriptors open for every program that this process starts, up to HIGH. */
std::vector<FileDescriptor> leaveDescriptorsOpen()
{
    std::vector<FileDescriptor> open;
    do
        open.emplace_back(checked(dup(STDERR_FILENO), "dup"));
    while (open.back().get() < HIGH);
    return open;
}

} // namespace

TEST(Program, InheritsNothingOfTheDaemonsAndDescriptorsMayHaveAnyNumber)
{
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = HIGH + 200;
    if (limit.rlim_max < limit.rlim_cur)
        GTEST_SKIP() << "the hard limit allows " << limit.rlim_max << " descriptors only";
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    const std::vector<FileDescriptor> open = leaveDescriptorsOpen();

    FakeStore::Settings settings = storedFor(RECORDER);
    settings["capability_nmediastream"] = "4";
    TestCamera camera({.settings = settings, .environment = {"QUERY_STRING=stale"}});
    const FakeProgram accounts(camera.root, "/usr/share/www/cgi-bin/admin/editaccount.cgi");
    const FakeProgram task(camera.root, "/usr/bin/gen_task");
    int sockets = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/" + std::to_string(camera.pid()) + "/fd"))
        sockets += std::stoi(entry.path().filename()) > HIGH && std::filesystem::is_socket(entry.status()) ? 1 : 0;
    EXPECT_GE(sockets, 2) << "both endpoints";

    const std::string add = "name=new&password=c2VjcmV0&group=view";
    EXPECT_EQ(camera.get("/config/user_mod.cgi", add), echoReply(add));
    const std::string change =
        "schedule=1&continuous=0&toUSB=1&toSamba=0&byMotion=0&byIn1=0&byIn2=0&enable=1&prerecord=5";
    EXPECT_EQ(camera.get(RECORDER, change), XML_OK);
    ASSERT_EQ(accounts.runs().size(), 1U);
    ASSERT_EQ(task.runs().size(), 1U);
    EXPECT_EQ(accounts.runs()[0].query, "method=add&username=new&userpass=secret&privilege=view");
    EXPECT_EQ(task.runs()[0].query, "") << "nothing is left of the request before";
    for (const FakeProgram::Run &run : {accounts.runs()[0], task.runs()[0]}) {
        EXPECT_EQ(run.descriptors, "0 1 2");
        EXPECT_EQ(std::stoull(run.ignored, nullptr, 16) >> (SIGPIPE - 1) & 1, 0U) << run.ignored;
    }
}
