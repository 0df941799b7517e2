#include "tests/fakes/test_camera.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <regex>

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

/** Puts a file in the place of a folder. */
void block(const std::string &path)
{
    remove(path);
    std::ofstream(path).flush();
}

std::string without(const std::string &part, std::string text)
{
    for (size_t at = 0; (at = text.find(part)) != std::string::npos;)
        text.erase(at, part.size());
    return text;
}

/** Stops a daemon that was started with -d. */
void stopDetached(const std::string &pidFile)
{
    EXPECT_EQ(kill(std::stoi(readWholeFile(pidFile)), SIGTERM), 0);
    EXPECT_TRUE(waitFor([&] { return !std::filesystem::exists(pidFile); }));
}

/** A row of the document's first table: what a start needs, and what is said without it. */
struct Need {
    std::string piece;
    std::string complaint;
};

std::vector<Need> needsInDocument()
{
    std::vector<Need> needs;
    const std::regex row("\\| `([^`]+)` .*`(\\[Start_Fail\\][^`]+)` \\|");
    std::ifstream document(PORTING_DOCUMENT);
    std::smatch match;
    for (std::string line; std::getline(document, line);)
        if (std::regex_match(line, match, row))
            needs.push_back({match[1], match[2]});
    return needs;
}

/** Starts the daemon with -d where only these pieces are; gives what it says, empty when it serves. */
std::string startWith(const std::vector<std::string> &pieces)
{
    const TempRoot folder;
    const std::string root = folder.path("/camera");
    const std::string pidFile = folder.path("/pid");
    std::filesystem::create_directory(root);
    FakeStore::Settings settings;
    std::optional<FakeStore> store;
    for (const std::string &piece : pieces) {
        const std::string path = root + (piece == "unixsocket_path" ? "/web/unixsocket_path" : piece);
        if (path.rfind('/') > root.size())
            std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        if (piece == "/tmp/configer")
            store.emplace(path, settings);
        else if (piece.starts_with("/etc/"))
            std::ofstream(path).flush();
        else if (piece.find('/') == std::string::npos)
            settings[piece] = "1";
    }
    if (store)
        store->set(settings);
    ChildProcess command({TestCamera::binary(), "-d", root + "/web/unixsocket_path", pidFile},
                         {.environment = {"KELPA_ROOT=" + root}, .errorFile = folder.path("/error")});
    const int status = command.wait();
    if (status == 0)
        stopDetached(pidFile);
    const std::string error = readWholeFile(folder.path("/error"));
    EXPECT_EQ(status, error.empty() ? 0 : 1);
    return without(root, error);
}

} // namespace

TEST(StartUp, NeedsWhatTheDocumentSaysAndNothingElse)
{
    const std::vector<Need> needs = needsInDocument();
    ASSERT_EQ(needs.size(), 8U);
    std::vector<std::string> all;
    for (const Need &need : needs)
        all.push_back(need.piece);
    EXPECT_EQ(startWith(all), "");
    for (const Need &need : needs) {
        std::vector<std::string> others = all;
        std::erase(others, need.piece);
        EXPECT_EQ(without("/web/", startWith(others)), need.complaint + "\n");
    }
}

TEST(StartUp, FailsWithAMessage)
{
    const std::string notify = "[NotifyStream_Initial]NotifyStream Initial failed!\n";
    const std::string audio = "[KelpaFdServer_Initial]AudioUpstream_Create failed!\n";
    const std::string handOver = "[KelpaFdServer_Initial]FDCGI_init() failed\n";
    const std::string event = "[KelpaFdServer_Initial]FDCGI_Emkelpa init() failed\n";
    const std::string tooLong = "/" + std::string(108, 's');
    const struct {
        const char *description;
        std::function<void(TestCamera &)> prepare;
        std::string trace;
        std::string cause;
        std::optional<std::string> socketPath = {};
    } cases[] = {
        {"a store that drops", [](TestCamera &c) { c.store.closeEarly(); }, notify,
         "capability_ndi from configuration store /tmp/configer: "},
        {"a store of garbage", [](TestCamera &c) { c.store.answer("?"); }, notify,
         "no usable capability_ndi from configuration store /tmp/configer"},
        {"a count of eight digits", [](TestCamera &c) { c.store.set("capability_nmotion", "00000003"); }, notify,
         "no usable capability_nmotion from configuration store /tmp/configer\n"},
        {"no second answer", [](TestCamera &c) { c.store.answerNothing(2); }, audio,
         "capability_naudioout from configuration store /tmp/configer: No data available"},
        {"no third answer", [](TestCamera &c) { c.store.answerNothing(3); }, audio,
         "audioout_c0_speaker_enable from configuration store /tmp/configer: No data available"},
        {"a malformed account configuration",
         [](TestCamera &c) { c.root.write("/etc/accountmgr.conf", "what?\n"); }, "",
         "malformed account configuration /etc/accountmgr.conf"},
        {"one that is too large",
         [](TestCamera &c) { c.root.write("/etc/accountmgr.conf", std::string(65536, '#')); }, "",
         "account configuration /etc/accountmgr.conf: File too large"},
        {"a file in the event manager's place", [](TestCamera &c) { block(c.root.path("/var/run/eventmgr")); },
         event, "event socket /var/run/eventmgr/emkelpa: Not a directory"},
        {"a folder in the hand-over socket's place",
         [](TestCamera &c) { std::filesystem::create_directory(c.socketPath()); }, handOver,
         "hand-over socket /tmp/kelpa.sock: Address already in use"},
        {"no path", [](TestCamera &) {}, handOver, "hand-over socket: No such file or directory\n", ""},
        {"too long a path", [](TestCamera &) {}, handOver, "hand-over socket " + tooLong + ": File name too long\n",
         tooLong},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        TestCamera camera({.start = false});
        c.prepare(camera);
        EXPECT_EQ(runToTheEnd(camera, c.socketPath.value_or(camera.socketPath())), 1);
        EXPECT_NE(camera.trace().find(c.trace), std::string::npos) << camera.trace();
        const std::string log = without(camera.root.path(), camera.log());
        EXPECT_NE(log.find("[Start_Fail]" + c.cause), std::string::npos) << log;
        EXPECT_TRUE(log.ends_with("[main]Initial KelpaFdServer failed\n")) << log;
        EXPECT_FALSE(std::filesystem::exists(camera.pidFile()));
    }
}

TEST(StartUp, SaysThatDescriptorsAreUsedUpWhereverItMeetsThat)
{
    const TestCamera camera({.start = false});
    bool serves = false;
    for (int limit = 4; !serves; ++limit) {
        ASSERT_LT(limit, 30);
        ChildProcess daemon({"/bin/sh", "-c", "ulimit -n $0; exec \"$@\"", std::to_string(limit),
                             TestCamera::binary(), camera.socketPath(), camera.pidFile()},
                            {.environment = {"KELPA_ROOT=" + camera.root.path(), "KELPA_DEBUG=2"},
                             .errorFile = camera.root.path("/stderr")});
        EXPECT_TRUE(waitFor([&] {
            return daemon.ended() || (serves = camera.log().find("Start KelpaFdServer\n") != std::string::npos);
        }));
        constexpr int NOT_LOADED = 127; // what starts a program needs descriptors, too
        if (!serves && daemon.wait() != NOT_LOADED) {
            EXPECT_EQ(daemon.wait(), 1);
            EXPECT_NE(camera.log().find(": Too many open files\n"), std::string::npos) << limit << camera.log();
        }
    }
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
