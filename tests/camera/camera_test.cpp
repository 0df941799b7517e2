#include "camera_process.h"

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

/*
 * The built virtual camera with the built daemon inside, over TCP.
 */

namespace
{

namespace fs = std::filesystem;

/** The descriptors that the camera holds. */
size_t descriptorsOf(const CameraProcess &camera)
{
    return countDescriptors(std::to_string(camera.pid()));
}

/** Whether the camera comes down to that many descriptors: a connection is closed a little after its reply. */
bool comesDownTo(size_t descriptors, const CameraProcess &camera)
{
    return waitFor([&] { return descriptorsOf(camera) <= descriptors; });
}

TEST(Camera, NameIsKeptOverARestartAndACrash)
{
    CameraProcess camera;
    EXPECT_NE(replyBody(camera.get("/common/info.cgi")).find("name=Kelpa Camera\r\n"), std::string::npos);
    EXPECT_EQ(replyBody(camera.get("/config/camera_info.cgi?name=Hall")), "name=Hall\r\n");
    EXPECT_EQ(
        replyBody(camera.exchange("POST /config/timestamp.cgi HTTP/1.1\r\nContent-Length: 10\r\n\r\nlabel=East")),
        "label=East\r\n");
    EXPECT_EQ(camera.stop(SIGTERM), 0);
    camera.start();
    EXPECT_EQ(replyBody(camera.get("/config/camera_info.cgi")), "name=Hall\r\n");
    EXPECT_EQ(replyBody(camera.get("/config/timestamp.cgi")), "label=East\r\n");
    // The daemon ends too: it shares the error output, whose end this waits for.
    EXPECT_EQ(camera.stop(SIGKILL), 128 + SIGKILL);
    camera.start();
    EXPECT_EQ(replyBody(camera.get("/config/camera_info.cgi")), "name=Hall\r\n");
}

TEST(Camera, NotifyStreamShowsWhatTheSideChannelSwitches)
{
    const CameraProcess camera;
    ClientSide stream = camera.send("GET /config/notify_stream.cgi HTTP/1.1\r\n\r\n");
    stream.readUntil("\r\n\r\n");

    EXPECT_EQ(statusOf(camera.post("/camera/input/1?state=on")), 200);
    stream.readUntil("input1=on\r\ninput2=off\r\n");
    EXPECT_EQ(statusOf(camera.post("/camera/motion/2?state=on")), 200);
    stream.readUntil("md2=on\r\n");
    EXPECT_EQ(camera.askStore("get NameValue 99 0\nstatus_di_i0&status_di_i1&"),
              "status_di_i0=1\nstatus_di_i1=0\n");
    EXPECT_EQ(camera.state()["inputs"], nlohmann::json({"on", "off"}));
    EXPECT_EQ(camera.state()["motion"], nlohmann::json({"off", "on", "off"}));

    EXPECT_EQ(statusOf(camera.exchange("POST /camera/input/1 HTTP/1.1\r\nContent-Length: 9\r\n\r\nstate=off")),
              200);
    stream.readUntil("input1=off\r\ninput2=off\r\n");
}

TEST(Camera, SideChannelRefusesClearly)
{
    const CameraProcess camera;
    const std::pair<std::string, int> cases[] = {
        {"POST /camera/input/0?state=on", 404},
        {"POST /camera/input/3?state=on", 404},
        {"POST /camera/input/1x?state=on", 404},
        {"POST /camera/input/?state=on", 404},
        {"POST /camera/input/1/2?state=on", 404},
        {"POST /camera/motion/4?state=on", 404},
        {"POST /camera/input/1?state=ON", 400},
        {"POST /camera/input/1?xstate=on", 400},
        {"POST /camera/input/1", 400},
        {"GET /camera/input/1?state=on", 405},
        {"POST /camera/state", 405},
        {"GET /camera/nothing", 404},
    };
    for (const auto &[request, status] : cases) {
        const std::string reply = camera.exchange(request + " HTTP/1.1\r\n\r\n");
        EXPECT_EQ(statusOf(reply), status) << request;
        EXPECT_TRUE(nlohmann::json::parse(replyBody(reply))["error"].is_string()) << request;
    }
    EXPECT_EQ(camera.state()["inputs"], nlohmann::json({"off", "off"}));
}

TEST(Camera, TwoThousandRequestsOfTwentyFiveClientsAreAllAnsweredWhole)
{
    const CameraProcess camera;
    const pid_t daemon = camera.daemonPid();
    const std::string expected = camera.get("/common/info.cgi");
    const size_t descriptors = descriptorsOf(camera);
    std::atomic<int> whole = 0;
    std::vector<std::jthread> clients;
    for (int client = 0; client < 25; ++client)
        clients.emplace_back([&] {
            for (int request = 0; request < 80; ++request)
                whole += camera.get("/common/info.cgi") == expected ? 1 : 0;
        });
    clients.clear();
    EXPECT_EQ(whole, 2000);
    EXPECT_EQ(camera.daemonPid(), daemon);
    EXPECT_TRUE(comesDownTo(descriptors, camera));
}

TEST(Camera, FullQueueMakesRequestsWait)
{
    const CameraProcess camera;
    const pid_t daemon = camera.daemonPid();
    kill(daemon, SIGSTOP);
    std::vector<ClientSide> clients;
    for (int client = 0; client < 100; ++client)
        clients.push_back(camera.send("GET /common/info.cgi HTTP/1.1\r\n\r\n"));
    // The camera goes on meanwhile; when this is answered it has taken up all of them.
    EXPECT_EQ(statusOf(camera.get("/camera/state")), 200);
    kill(daemon, SIGCONT);
    for (ClientSide &client : clients)
        EXPECT_EQ(statusOf(client.readAll()), 200);
}

TEST(Camera, LimitsAreToldAndNothingElseIsHarmed)
{
    const CameraProcess camera;
    const std::string end = " HTTP/1.1\r\n\r\n", tooMuch(5000, 'b');
    const std::pair<std::string, int> cases[] = {
        {"GET / HTTP/1.1\r\nX: " + std::string(8192 - 23, 'x') + "\r\n\r\n", 200},
        {"GET / HTTP/1.1\r\nX: " + std::string(8193 - 23, 'x') + "\r\n\r\n", 431},
        {std::string(300000, 'x'), 431},
        {"GET /" + std::string(127, 'p') + end, 414},
        {"GET /common/info.cgi?" + std::string(4095, 'q') + end, 400}, // of the daemon
        {"GET /common/info.cgi?" + std::string(4096, 'q') + end, 414},
        {{"\0\1\2\r\n\r\n", 7}, 400},
        {"POST /camera/input/1 HTTP/1.1\r\nContent-Length: 5000\r\n\r\n" + tooMuch, 413},
        {"GET /nothing" + end, 404},
        {"HEAD /common/info.cgi" + end, 500}, // of the daemon
    };
    for (const auto &[request, status] : cases)
        EXPECT_EQ(statusOf(camera.exchange(request)), status) << request.substr(0, 40);
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi")), 200);
}

TEST(Camera, ClientThatDoesNotFinishIsDropped)
{
    const CameraProcess camera;
    const std::string unfinished[] = {
        "",
        "GET /common/info.cgi HTTP/1.1\r\n",
        "POST /config/camera_info.cgi HTTP/1.1\r\nContent-Length: 9\r\n\r\nname",
    };
    std::vector<ClientSide> clients;
    for (const std::string &text : unfinished)
        clients.push_back(camera.send(text));
    for (ClientSide &client : clients)
        EXPECT_EQ(client.readAll(), "");
}

TEST(Camera, DeadDaemonIsStartedAgainAndToldWhatIsActive)
{
    const CameraProcess camera;
    EXPECT_EQ(statusOf(camera.post("/camera/motion/3?state=on")), 200);
    const pid_t first = camera.daemonPid();
    kill(first, SIGKILL);
    EXPECT_NE(camera.daemonPid(first), first);
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi")), 200);
    ClientSide stream = camera.send("GET /config/notify_stream.cgi HTTP/1.1\r\n\r\n");
    stream.readUntil("md3=on\r\n");
}

TEST(Camera, DaemonInheritsStandardStreamsOnly)
{
    const CameraProcess camera;
    // Its own come on top: two endpoints, the decoder's socket when there is a decoder, and events of its threads.
    int sockets = 0;
    for (const fs::directory_entry &entry :
         fs::directory_iterator("/proc/" + std::to_string(camera.daemonPid()) + "/fd")) {
        if (std::stoi(entry.path().filename()) <= STDERR_FILENO)
            continue;
        const std::string target = fs::read_symlink(entry).string();
        sockets += target.starts_with("socket:") ? 1 : 0;
        EXPECT_TRUE(target.starts_with("socket:") || target == "anon_inode:[eventfd]") << target;
    }
    EXPECT_LE(sockets, 3);
}

TEST(Camera, InterruptLeavesNothingBehind)
{
    CameraProcess camera;
    const pid_t daemon = camera.daemonPid();
    ClientSide stream = camera.send("GET /config/notify_stream.cgi HTTP/1.1\r\n\r\n");
    stream.readUntil("\r\n\r\n");
    EXPECT_EQ(camera.stop(SIGINT), 0);
    EXPECT_EQ(kill(daemon, 0), -1);
    for (const char *folder : {"/tmp", "/var"})
        for (const fs::directory_entry &entry : fs::recursive_directory_iterator(camera.root() + folder))
            EXPECT_TRUE(entry.is_directory()) << entry.path();
    for (const fs::directory_entry &entry : fs::directory_iterator(camera.root() + "/etc"))
        EXPECT_TRUE(entry.is_regular_file() && entry.path().filename().string().find('-') == std::string::npos)
            << entry.path();
}

/** Runs the program to its end; returns what it printed. */
std::string runCamera(std::vector<std::string> arguments)
{
    arguments.insert(arguments.begin(), {KELPA_CAMERA_PROGRAM, "--listen", "127.0.0.1:0"});
    ChildProcess program(arguments, {.piped = true});
    return ClientSide(program.takeOutput()).readAll();
}

TEST(Camera, StartThatCannotBeIsExplained)
{
    const CameraProcess camera;
    EXPECT_NE(runCamera({"--root", camera.root()}).find("another virtual camera is running in"), std::string::npos);
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi")), 200) << "the refused one must not harm the running one";
    EXPECT_NE(runCamera({"--root", "/tmp/" + std::string(100, 'x')}).find("too long"), std::string::npos);

    const TemporaryFolder folder;
    std::ofstream(folder.path("mine")) << "something else";
    EXPECT_NE(runCamera({"--root", folder.path()}).find("neither empty nor a camera's"), std::string::npos);
    fs::remove(folder.path("mine"));
    EXPECT_NE(runCamera({"--kelpa", "/nonexistent", "--root", folder.path()}).find("/nonexistent: No such file"),
              std::string::npos);
    EXPECT_NE(runCamera({"--listen", std::to_string(camera.port()), "--root", folder.path()})
                  .find("Address already in use; choose another with --listen\n"),
              std::string::npos);
    fs::create_directory(folder.path("etc"));
    std::ofstream(folder.path("etc/accountmgr.conf")) << "groups=admin\n";
    std::ofstream(folder.path("etc/configer.db")) << "no database at all";
    const std::string said = runCamera({"--root", folder.path()});
    EXPECT_NE(said.find(folder.path() + "/etc/configer.db: "), std::string::npos) << said;
    EXPECT_NE(said.find("remove it"), std::string::npos) << said;
}

TEST(Camera, ADaemonThatCannotStartIsQuoted)
{
    const TemporaryFolder folder;
    const std::string program = folder.path("daemon");
    std::ofstream(program) << "#!/bin/sh\necho these were its last words\nexit 1\n";
    fs::permissions(program, fs::perms::owner_all);
    CameraProcess camera({"--kelpa", program});
    camera.waitForOutput(
        "ended with status 1; it is started again in 100 ms\nIt said last:\nthese were its last words\n");
}

TEST(Camera, AClientTooManyIsToldSo)
{
    const CameraProcess camera({"--kelpa", "/bin/false"});
    std::vector<ClientSide> silent(400);
    for (ClientSide &client : silent)
        client = camera.send("");
    EXPECT_EQ(statusOf(camera.get("/camera/state")), 503);
}

TEST(Camera, StateIsBoundedWhateverTheStoreCounts)
{
    const CameraProcess camera;
    camera.setInStore("capability_ndi=999999999&capability_ndo=-1&capability_nmotion=999999999");
    EXPECT_EQ(camera.state()["inputs"].size(), 32U);
    EXPECT_EQ(camera.state()["outputs"].size(), 0U);
    EXPECT_EQ(camera.state()["motion"].size(), 32U);
}

TEST(Camera, StoreOutlivesHostileClients)
{
    const CameraProcess camera;
    const size_t descriptors = descriptorsOf(camera);
    ClientSide silent = camera.say("/tmp/configer", "");
    EXPECT_EQ(camera.askStore("GET / HTTP/1.1\r\n\r\n"), "");
    EXPECT_EQ(camera.askStore("set NameValue 99 0 0\nlayout_title_text=a\nb&"), "");
    EXPECT_EQ(camera.askStore("get NameValue 99 0\nno_such_key&"), "");
    EXPECT_EQ(camera.askStore("set NameValue 99 0 0\nlayout_title_text=" + std::string(100000, 'x')), "");
    (void)camera.say("/tmp/configer", "set Name");
    EXPECT_EQ(camera.askStore("get NameValue 99 0\nlayout_title_text="), "layout_title_text=Kelpa Camera\n");
    EXPECT_TRUE(comesDownTo(descriptors + 1, camera)) << "the silent client alone is still there";
}

TEST(Camera, RunsTheDaemonInFairModeWhenAsked)
{
    for (const char *mode : {"on", "off"}) {
        const CameraProcess camera({"--fair", mode});
        std::ifstream environment("/proc/" + std::to_string(camera.daemonPid()) + "/environ");
        const std::string text(std::istreambuf_iterator<char>(environment), {});
        EXPECT_NE(text.find(mode == std::string("on") ? "KELPA_FAIR=1" : "KELPA_FAIR=0"), std::string::npos)
            << text;
    }
}

} // namespace
