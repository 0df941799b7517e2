#include "tests/fakes/test_camera.h"

#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace
{

/** Runs the daemon until it ends; gives its exit status. */
int RunToTheEnd(const TestCamera &camera, const std::string &socketPath)
{
    ChildProcess daemon({TestCamera::Binary(), socketPath, camera.PidFile()},
                        {.environment = {"KELPA_ROOT=" + camera.root.Path(), "KELPA_DEBUG=2"},
                         .outputFile = camera.root.Path("/stdout"),
                         .errorFile = camera.root.Path("/stderr")});
    return daemon.Wait();
}

void Remove(const std::string &path)
{
    std::filesystem::remove_all(path);
}

} // namespace

TEST(StartUp, FailsWithAMessage)
{
    const std::string notify = "NotifyStream Initial failed!\n";
    const std::string audio = "[KelpaFdServer_Initial]AudioUpstream_Create failed!\n";
    const struct {
        const char *description;
        std::function<void(TestCamera &)> prepare;
        std::string trace;
    } cases[] = {
        {"no store", [](TestCamera &c) { c.store.Refuse(); }, notify},
        {"a store that drops", [](TestCamera &c) { c.store.CloseEarly(); }, notify},
        {"a store of garbage", [](TestCamera &c) { c.store.Answer("?"); }, notify},
        {"no input count", [](TestCamera &c) { c.store.Remove("capability_ndi"); }, notify},
        {"no window count", [](TestCamera &c) { c.store.Remove("capability_nmotion"); }, notify},
        {"a count of eight digits", [](TestCamera &c) { c.store.Set("capability_nmotion", "00000003"); }, notify},
        {"no audio output count", [](TestCamera &c) { c.store.Remove("capability_naudioout"); }, audio},
        {"no speaker switch", [](TestCamera &c) { c.store.Remove("audioout_c0_speaker_enable"); }, audio},
        {"no second answer", [](TestCamera &c) { c.store.AnswerNothing(2); }, audio},
        {"no account configuration", [](TestCamera &c) { Remove(c.root.Path("/etc/accountmgr.conf")); }, ""},
        {"a malformed one", [](TestCamera &c) { c.root.Write("/etc/accountmgr.conf", "what?\n"); }, ""},
        {"no place for the event endpoint", [](TestCamera &c) { Remove(c.root.Path("/var/run/eventmgr")); },
         "[KelpaFdServer_Initial]FDCGI_Emkelpa init() failed\n"},
        {"no place for the hand-over endpoint", [](TestCamera &c) { Remove(c.root.Path("/tmp")); },
         "[KelpaFdServer_Initial]FDCGI_init() failed\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        TestCamera camera({.start = false});
        c.prepare(camera);
        EXPECT_EQ(RunToTheEnd(camera, camera.SocketPath()), 1);
        EXPECT_NE(camera.Trace().find(c.trace), std::string::npos) << camera.Trace();
        EXPECT_TRUE(camera.Log().ends_with("[main]Initial KelpaFdServer failed\n")) << camera.Log();
        EXPECT_FALSE(std::filesystem::exists(camera.PidFile()));
    }
    const TestCamera camera({.start = false});
    EXPECT_EQ(RunToTheEnd(camera, camera.root.Path("/tmp/") + std::string(108, 's')), 1) << "too long a path";
    EXPECT_EQ(RunToTheEnd(camera, ""), 1);
}

TEST(StartUp, OpensClosedStandardStreamsBeforeASocketGetsTheirNumbers)
{
    const TestCamera camera({.start = false});
    const ChildProcess daemon({"/bin/sh", "-c", "exec \"$0\" \"$1\" \"$2\" <&- >&- 2>&-", TestCamera::Binary(),
                               camera.SocketPath(), camera.PidFile()},
                              {.environment = {"KELPA_ROOT=" + camera.root.Path()}});
    EXPECT_TRUE(WaitFor([&] { return std::filesystem::exists(camera.PidFile()); }));
    for (const char *stream : {"/fd/0", "/fd/1", "/fd/2"})
        EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(daemon.Pid()) + stream), "/dev/null");
}

TEST(StartUp, AsksTheStoreForThreeThings)
{
    TestCamera camera;
    EXPECT_EQ(camera.store.Requests(),
              (std::vector<std::string>{"get NameValue 99 0\ncapability_ndi&capability_nmotion&",
                                        "get NameValue 99 0\ncapability_naudioout&",
                                        "get NameValue 99 0\naudioout_c0_speaker_enable&"}));
    camera.WaitForTrace("[NotifyStream_Initial]iDINum 2, iMotionNum 3\n");
    camera.Stop();

    camera.store.Set("capability_naudioout", "0");
    camera.store.Remove("audioout_c0_speaker_enable");
    camera.store.ClearRequests();
    camera.Start();
    EXPECT_EQ(camera.store.Requests().size(), 2U) << "a camera without audio output has no speaker to ask for";
}

TEST(StartUp, RemovesStaleSockets)
{
    TestCamera camera({.start = false});
    const std::string eventPath = camera.root.Path("/var/run/eventmgr/emkelpa");
    camera.root.Write("/tmp/kelpa.sock", "");
    camera.root.Write("/var/run/eventmgr/emkelpa", "");
    camera.Start();
    camera.WaitForTrace("[main]Remove previous socket file " + camera.SocketPath() + " ok\n");
    camera.WaitForTrace("[main]Remove previous socket file " + eventPath + " ok\n");
    EXPECT_TRUE(std::filesystem::is_socket(camera.SocketPath()));
    EXPECT_TRUE(std::filesystem::is_socket(eventPath));
    camera.Kill();
    camera.Start();
    EXPECT_EQ(camera.Get("/config/camera_info.cgi"), OkReply("name=Entrance\r\n"));
}

TEST(PidFile, IsWrittenAndRemoved)
{
    TestCamera camera;
    EXPECT_EQ(ReadWholeFile(camera.PidFile()), std::to_string(camera.Pid()) + "\n");
    struct stat status = {};
    ASSERT_EQ(stat(camera.PidFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644U);
    camera.Stop();
    EXPECT_FALSE(std::filesystem::exists(camera.PidFile()));
}

TEST(PidFile, OfANewerInstanceIsLeftAlone)
{
    TestCamera camera;
    camera.root.Write("/var/run/kelpa.pid", "1\n");
    camera.Stop();
    EXPECT_EQ(ReadWholeFile(camera.PidFile()), "1\n");
}

TEST(StartUp, DoesWithoutAPidFileAndAPasswordFile)
{
    TestCamera camera({.start = false});
    Remove(camera.root.Path("/etc/passwd"));
    std::filesystem::create_directory(camera.PidFile());
    camera.Start();
    camera.WaitForLog("[StashPid]open pid file failed\n");
    EXPECT_EQ(camera.Get("/config/camera_info.cgi"), OkReply("name=Entrance\r\n"));
    camera.Stop();
    EXPECT_TRUE(std::filesystem::exists(camera.PidFile()));
}

TEST(Signals, StopTheDaemon)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        TestCamera camera;
        const ClientSide busy = camera.Open({.url = "/config/notify_stream.cgi"});
        camera.Signal(signal);
        EXPECT_TRUE(WaitFor([&] { return !std::filesystem::exists(camera.PidFile()); })) << signal;
        camera.Stop();
    }
}
