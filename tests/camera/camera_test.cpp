#include "camera/base/files.h"
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
    const auto name = [&](const std::string &query) {
        return replyBody(camera.get("/config/camera_info.cgi" + query));
    };
    EXPECT_EQ(name("?name=Hall"), "name=Hall\r\n");
    EXPECT_EQ(camera.stop(SIGTERM), 0);
    camera.start();
    EXPECT_EQ(name(""), "name=Hall\r\n");
    EXPECT_EQ(name("?name=Yard"), "name=Yard\r\n");
    // The daemon ends too: it shares the error output, whose end this waits for.
    EXPECT_EQ(camera.stop(SIGKILL), 128 + SIGKILL);
    camera.start();
    EXPECT_EQ(name(""), "name=Yard\r\n");
}

TEST(Camera, SideChannelSwitchesAndRefusesClearly)
{
    const CameraProcess camera;
    ClientSide stream = camera.send("GET /config/notify_stream.cgi HTTP/1.1\r\n\r\n");
    stream.readUntil("\r\n\r\n");
    EXPECT_EQ(statusOf(camera.post("/camera/input/1?state=on")), 200);
    stream.readUntil("input1=on\r\ninput2=off\r\n");
    EXPECT_EQ(statusOf(camera.post("/camera/motion/2?state=on")), 200);
    stream.readUntil("md2=on\r\n");

    const std::pair<std::string, int> cases[] = {
        {"POST /camera/input/0?state=off", 404},
        {"POST /camera/input/3?state=on", 404},
        {"POST /camera/input/1x?state=off", 404},
        {"POST /camera/input/1/2?state=on", 404},
        {"POST /camera/motion/4?state=on", 404},
        {"POST /camera/input/1?state=OFF", 400},
        {"POST /camera/input/1?xstate=off", 400},
        {"POST /camera/input/1", 400},
        {"GET /camera/input/1?state=off", 405},
        {"POST /camera/state", 405},
        {"GET /camera/nothing", 404},
    };
    for (const auto &[request, status] : cases) {
        const std::string reply = camera.exchange(request + " HTTP/1.1\r\n\r\n");
        EXPECT_EQ(statusOf(reply), status) << request;
        EXPECT_TRUE(nlohmann::json::parse(replyBody(reply))["error"].is_string()) << request;
    }
    EXPECT_EQ(camera.state()["inputs"], nlohmann::json({"on", "off"}));
    EXPECT_EQ(camera.state()["motion"], nlohmann::json({"off", "on", "off"}));
    EXPECT_EQ(statusOf(camera.exchange("POST /camera/input/1 HTTP/1.1\r\nContent-Length: 9\r\n\r\nstate=off")),
              200);
    stream.readUntil("input1=off\r\ninput2=off\r\n");

    const pid_t first = camera.daemonPid();
    kill(first, SIGKILL);
    EXPECT_NE(camera.daemonPid(first), first);
    stream = camera.send("GET /config/notify_stream.cgi HTTP/1.1\r\n\r\n");
    stream.readUntil("md2=on\r\n"); // the one that is started instead is told
}

TEST(Camera, TwoThousandRequestsOfTwentyFiveClientsAreAllAnsweredWhole)
{
    const CameraProcess camera;
    const pid_t daemon = camera.daemonPid();
    const std::string expected = camera.get("/common/info.cgi");
    const size_t descriptors = descriptorsOf(camera);
    kill(daemon, SIGSTOP); // what comes meanwhile waits
    std::vector<ClientSide> waiting(100);
    for (ClientSide &client : waiting)
        client = camera.send("GET /common/info.cgi HTTP/1.1\r\n\r\n");
    EXPECT_EQ(statusOf(camera.get("/camera/state")), 200);
    kill(daemon, SIGCONT);
    for (ClientSide &client : waiting)
        EXPECT_EQ(client.readAll(), expected);
    waiting.clear();
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

TEST(Camera, LimitsAreToldAndNothingElseIsHarmed)
{
    const CameraProcess camera;
    const std::string end = " HTTP/1.1\r\n\r\n";
    const std::pair<std::string, int> cases[] = {
        {"GET / HTTP/1.1\r\nX: " + std::string(8192 - 23, 'x') + "\r\n\r\n", 200},
        {"GET / HTTP/1.1\r\nX: " + std::string(8193 - 23, 'x') + "\r\n\r\n", 431},
        {std::string(300000, 'x'), 431},
        {"GET /common/info.cgi?" + std::string(4095, 'q') + end, 400}, // of the daemon
        {{"\0\1\2\r\n\r\n", 7}, 400},
        {"POST /camera/input/1 HTTP/1.1\r\nContent-Length: 5000\r\n\r\n" + std::string(5000, 'b'), 413},
        {"HEAD /common/info.cgi" + end, 500}, // of the daemon
        {"", 0},                              // dropped some time later
        {"GET / HTTP/1.1\r\n", 0},
        {"POST / HTTP/1.1\r\nContent-Length: 9\r\n\r\nname", 0},
    };
    for (const auto &[request, status] : cases)
        EXPECT_EQ(statusOf(camera.exchange(request)), status) << request.substr(0, 40);
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi")), 200);
}

TEST(Camera, DaemonInheritsStandardStreamsOnlyAndItsMode)
{
    const CameraProcess camera({"--fair", "on"});
    const std::string process = "/proc/" + std::to_string(camera.daemonPid());
    EXPECT_NE(camera::readFile(process + "/environ").find("KELPA_FAIR=1"), std::string::npos);
    // Its own come on top: two endpoints, the decoder's socket when there is a decoder, and events of its threads.
    int sockets = 0;
    for (const fs::directory_entry &entry : fs::directory_iterator(process + "/fd")) {
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

TEST(Camera, StartThatCannotBeIsExplained)
{
    const CameraProcess camera;
    const TemporaryFolder folder;
    const auto expect = [&](const std::string &sign, std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(),
                         {KELPA_CAMERA_PROGRAM, "--listen=127.0.0.1:0", "--root=" + folder.path()});
        ChildProcess program(arguments, {.piped = true});
        const std::string said = ClientSide(program.takeOutput()).readAll();
        EXPECT_NE(said.find(sign), std::string::npos) << said;
    };
    expect("another virtual camera is running in", {"--root", camera.root()});
    EXPECT_EQ(statusOf(camera.get("/common/info.cgi")), 200) << "the refused one must not harm the running one";
    expect("too long", {"--root", "/tmp/" + std::string(100, 'x')});
    std::ofstream(folder.path("mine")) << "something else";
    expect("neither empty nor a camera's", {});
    fs::remove(folder.path("mine"));
    expect("/nonexistent: No such file", {"--kelpa", "/nonexistent"});
    expect("Address already in use; choose another with --listen\n", {"--listen", std::to_string(camera.port())});
    fs::create_directory(folder.path("etc"));
    std::ofstream(folder.path("etc/accountmgr.conf")) << "groups=admin\n";
    std::ofstream(folder.path("etc/configer.db")) << "no database at all";
    expect(folder.path() + "/etc/configer.db: ", {});
}

TEST(Camera, ADaemonThatCannotStartIsQuotedAndAClientTooManyIsToldSo)
{
    const TemporaryFolder folder;
    const std::string program = folder.path("daemon");
    std::ofstream(program) << "#!/bin/sh\necho these were its last words\nexit 1\n";
    fs::permissions(program, fs::perms::owner_all);
    CameraProcess camera({"--kelpa", program});
    camera.waitForOutput(
        "ended with status 1; it is started again in 100 ms\nIt said last:\nthese were its last words\n");
    camera.setInStore("capability_ndi=999999999&capability_ndo=-1");
    EXPECT_EQ(camera.state()["inputs"].size(), 32U) << "bounded whatever the store counts";
    EXPECT_EQ(camera.state()["outputs"].size(), 0U);
    std::vector<ClientSide> silent(400);
    for (ClientSide &client : silent)
        client = camera.send("");
    EXPECT_EQ(statusOf(camera.get("/camera/state")), 503);
}

TEST(Camera, StoreOutlivesHostileClients)
{
    const CameraProcess camera;
    const size_t descriptors = descriptorsOf(camera);
    ClientSide silent = camera.say("/tmp/configer", "");
    EXPECT_EQ(camera.askStore("GET / HTTP/1.1\r\n\r\n"), "");
    EXPECT_EQ(camera.askStore("set NameValue 99 0 0\nlayout_title_text=" + std::string(100000, 'x')), "");
    (void)camera.say("/tmp/configer", "set Name");
    EXPECT_EQ(camera.askStore("get NameValue 99 0\nlayout_title_text="), "layout_title_text=Kelpa Camera\n");
    EXPECT_TRUE(comesDownTo(descriptors + 1, camera)) << "the silent client alone is still there";
}

} // namespace
