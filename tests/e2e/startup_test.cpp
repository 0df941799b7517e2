#include "tests/fakes/test_camera.h"

#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>

namespace
{

/** Runs the daemon until it ends; gives its exit status. */
int runToTheEnd(const TestCamera &camera, const std::string &socketPath)
{
    ChildProcess daemon({TestCamera::binary(), socketPath, camera.pidFile()},
                        {.environment = {"KELPA_ROOT=" + camera.root.path(), "KELPA_DEBUG=2"},
                         .outputFile = camera.root.path("/stdout"),
                         .errorFile = camera.root.path("/stderr")});
    return daemon.wait();
}

void remove(const std::string &path)
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
        {"no store", [](TestCamera &c) { c.store.refuse(); }, notify},
        {"a store that drops", [](TestCamera &c) { c.store.closeEarly(); }, notify},
        {"a store of garbage", [](TestCamera &c) { c.store.answer("?"); }, notify},
        {"no input count", [](TestCamera &c) { c.store.remove("capability_ndi"); }, notify},
        {"no window count", [](TestCamera &c) { c.store.remove("capability_nmotion"); }, notify},
        {"a count of eight digits", [](TestCamera &c) { c.store.set("capability_nmotion", "00000003"); }, notify},
        {"no audio output count", [](TestCamera &c) { c.store.remove("capability_naudioout"); }, audio},
        {"no speaker switch", [](TestCamera &c) { c.store.remove("audioout_c0_speaker_enable"); }, audio},
        {"no second answer", [](TestCamera &c) { c.store.answerNothing(2); }, audio},
        {"no account configuration", [](TestCamera &c) { remove(c.root.path("/etc/accountmgr.conf")); }, ""},
        {"a malformed one", [](TestCamera &c) { c.root.write("/etc/accountmgr.conf", "what?\n"); }, ""},
        {"no place for the event endpoint", [](TestCamera &c) { remove(c.root.path("/var/run/eventmgr")); },
         "[KelpaFdServer_Initial]FDCGI_Emkelpa init() failed\n"},
        {"no place for the hand-over endpoint", [](TestCamera &c) { remove(c.root.path("/tmp")); },
         "[KelpaFdServer_Initial]FDCGI_init() failed\n"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        TestCamera camera({.start = false});
        c.prepare(camera);
        EXPECT_EQ(runToTheEnd(camera, camera.socketPath()), 1);
        EXPECT_NE(camera.trace().find(c.trace), std::string::npos) << camera.trace();
        EXPECT_TRUE(camera.log().ends_with("[main]Initial KelpaFdServer failed\n")) << camera.log();
        EXPECT_FALSE(std::filesystem::exists(camera.pidFile()));
    }
    const TestCamera camera({.start = false});
    EXPECT_EQ(runToTheEnd(camera, camera.root.path("/tmp/") + std::string(108, 's')), 1) << "too long a path";
    EXPECT_EQ(runToTheEnd(camera, ""), 1);
}

TEST(StartUp, OpensClosedStandardStreamsBeforeASocketGetsTheirNumbers)
{
    const TestCamera camera({.start = false});
    const ChildProcess daemon({"/bin/sh", "-c", "exec \"$0\" \"$1\" \"$2\" <&- >&- 2>&-", TestCamera::binary(),
                               camera.socketPath(), camera.pidFile()},
                              {.environment = {"KELPA_ROOT=" + camera.root.path()}});
    EXPECT_TRUE(waitFor([&] { return std::filesystem::exists(camera.pidFile()); }));
    for (const char *stream : {"/fd/0", "/fd/1", "/fd/2"})
        EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(daemon.pid()) + stream), "/dev/null");
}

TEST(StartUp, AsksTheStoreForThreeThings)
{
    TestCamera camera;
    EXPECT_EQ(camera.store.requests(),
              (std::vector<std::string>{"get NameValue 99 0\ncapability_ndi&capability_nmotion&",
                                        "get NameValue 99 0\ncapability_naudioout&",
                                        "get NameValue 99 0\naudioout_c0_speaker_enable&"}));
    camera.waitForTrace("[NotifyStream_Initial]iDINum 2, iMotionNum 3\n");
    camera.stop();

    camera.store.set("capability_naudioout", "0");
    camera.store.remove("audioout_c0_speaker_enable");
    camera.store.clearRequests();
    camera.start();
    EXPECT_EQ(camera.store.requests().size(), 2U) << "a camera without audio output has no speaker to ask for";
}

TEST(StartUp, RemovesStaleSockets)
{
    TestCamera camera({.start = false});
    const std::string eventPath = camera.root.path("/var/run/eventmgr/emkelpa");
    camera.root.write("/tmp/kelpa.sock", "");
    camera.root.write("/var/run/eventmgr/emkelpa", "");
    camera.start();
    camera.waitForTrace("[main]Remove previous socket file " + camera.socketPath() + " ok\n");
    camera.waitForTrace("[main]Remove previous socket file " + eventPath + " ok\n");
    EXPECT_TRUE(std::filesystem::is_socket(camera.socketPath()));
    EXPECT_TRUE(std::filesystem::is_socket(eventPath));
    camera.kill();
    camera.start();
    EXPECT_EQ(camera.get("/config/camera_info.cgi"), okReply("name=Entrance\r\n"));
}

TEST(StartUp, DoesWithoutAPidFileAndAPasswordFile)
{
    TestCamera camera({.start = false});
    remove(camera.root.path("/etc/passwd"));
    std::filesystem::create_directory(camera.pidFile());
    camera.start();
    camera.waitForLog("[StashPid]open pid file failed\n");
    EXPECT_EQ(camera.get("/config/camera_info.cgi"), okReply("name=Entrance\r\n"));
    camera.stop();
    EXPECT_TRUE(std::filesystem::exists(camera.pidFile()));
}

TEST(Signals, StopTheDaemon)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        TestCamera camera;
        const ClientSide busy = camera.open({.url = "/config/notify_stream.cgi"});
        camera.signal(signal);
        EXPECT_TRUE(waitFor([&] { return !std::filesystem::exists(camera.pidFile()); })) << signal;
        camera.stop();
    }
}
