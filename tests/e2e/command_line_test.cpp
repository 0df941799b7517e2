#include "tests/fakes/test_camera.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>

namespace
{

const std::string USAGE = "Usage:\n"
                          "    kelpa [-h] [-v] unixsocket_path pid_file\n"
                          "Options:\n"
                          "    -d    Run as daemon. Must set the file name for saving pid.\n"
                          "    -v    Get program version.\n"
                          "    -h    This help.\n";
const std::string VERSION = "KelpafdServer version: 1.0.0.32\n";

struct Outcome {
    int status;
    std::string output;
    std::string error;
};

/** Runs the daemon with these arguments in an empty camera, where it could not start. */
Outcome runKelpa(const std::vector<std::string> &arguments, const std::string &debugLevel = "")
{
    const TempRoot root;
    std::vector<std::string> command = {TestCamera::binary()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    for (std::string &argument : command)
        if (argument == "SOCKET" || argument == "PID")
            argument.insert(0, root.path() + "/");
    ChildProcess daemon(command, {.environment = {"KELPA_ROOT=" + root.path(), "KELPA_DEBUG=" + debugLevel},
                                  .outputFile = root.path("/out"),
                                  .errorFile = root.path("/err")});
    const int status = daemon.wait();
    EXPECT_FALSE(std::filesystem::exists(root.path("/SOCKET")) && status == 0) << "no socket is opened";
    return {status, readWholeFile(root.path("/out")), readWholeFile(root.path("/err"))};
}

} // namespace

TEST(CommandLine, PrintsUsageAndFailsUnlessThereAreTwoArguments)
{
    const struct {
        std::vector<std::string> arguments;
        bool counted; ///< they are options' worth until their number is wrong
    } cases[] = {{{}, true},      {{"SOCKET"}, true}, {{"SOCKET", "PID", "more"}, true},
                 {{"-x"}, false}, {{"-hv"}, false},   {{"-h", "SOCKET", "PID"}, false},
                 {{"--"}, true}};
    for (const auto &[arguments, counted] : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = runKelpa(arguments, "2");
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(outcome.output.ends_with(USAGE)) << outcome.output;
        EXPECT_EQ(outcome.error.ends_with("[main]Wrong number of arguments\n"), counted);
    }
    EXPECT_EQ(runKelpa({}).output, USAGE);
}

TEST(CommandLine, PrintsTheVersionBeforeAnythingElse)
{
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"-v"}, {"SOCKET", "PID", "-v"}, {"-vh"}, {"-v", "-x"}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = runKelpa(arguments);
        EXPECT_EQ(outcome.status, 0);
        ASSERT_TRUE(outcome.output.starts_with(VERSION)) << outcome.output;
        EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 2) << "one more line";
    }
}

TEST(CommandLine, DetachesBeforeItGoesOnAndReturnsWhatComesOfIt)
{
    const struct {
        std::vector<std::string> arguments;
        int status;
        std::string error;
    } cases[] = {{{"-d", "-v"}, 0, ""},
                 {{"-dd", "-v"}, 0, ""},
                 {{"-d", "-h"}, 1, ""},
                 {{"-d", "SOCKET"}, 1, "[main]Wrong number of arguments\n"}};
    for (const auto &[arguments, status, error] : cases) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = runKelpa(arguments);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.output, "run as daemon mode") << "the rest goes to the detached process's output";
        EXPECT_EQ(outcome.error, error);
    }
}

TEST(CommandLine, ReturnsWithTheDetachedProcessThatIsKilled)
{
    TestCamera camera({.start = false});
    std::atomic<pid_t> parent = 0;
    camera.store.before([&] {
        parent.wait(0);
        const std::string pid = std::to_string(parent);
        if (const int child = atoi(readWholeFile("/proc/" + pid + "/task/" + pid + "/children").c_str()); child > 0)
            kill(child, SIGKILL);
    });
    ChildProcess foreground(
        {TestCamera::binary(), "-d", camera.socketPath(), camera.pidFile()},
        {.environment = {"KELPA_ROOT=" + camera.root.path()}, .errorFile = camera.root.path("/stderr")});
    parent = foreground.pid();
    parent.notify_all();
    EXPECT_EQ(foreground.wait(), 1);
    EXPECT_EQ(camera.log(), "[main]the daemon was ended by signal 9 (Killed) before it served\n");
}

TEST(CommandLine, DebugLevelIsPrinted)
{
    EXPECT_TRUE(runKelpa({"-v"}, "1").output.starts_with("Debug Init:level = 1\r\n" + VERSION));
}

TEST(CommandLine, RunsAsADaemon)
{
    TestCamera camera({.start = false});
    ChildProcess foreground({TestCamera::binary(), "-d", camera.socketPath(), camera.pidFile()},
                            {.environment = {"KELPA_ROOT=" + camera.root.path()}});
    EXPECT_EQ(foreground.wait(), 0);
    ASSERT_TRUE(readWholeFile(camera.pidFile()).ends_with('\n')) << "it serves by then";
    const std::string pid = std::to_string(std::stoi(readWholeFile(camera.pidFile())));
    EXPECT_NE(pid, std::to_string(foreground.pid()));
    const std::filesystem::path process = "/proc/" + pid;
    EXPECT_EQ(std::filesystem::read_symlink(process / "cwd"), "/");
    for (const char *stream : {"0", "1", "2"})
        EXPECT_EQ(std::filesystem::read_symlink(process / "fd" / stream), "/dev/null");
    ASSERT_EQ(kill(std::stoi(pid), SIGTERM), 0);
    EXPECT_TRUE(waitFor([&] { return !std::filesystem::exists(camera.pidFile()); }));
}
