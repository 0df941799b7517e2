#include "tests/fakes/test_camera.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{

constexpr char URL[] = "/config/camera_info.cgi";

/** How often the daemon's threads have been woken so far. */
long wakeUps(pid_t pid)
{
    long sum = 0;
    for (const auto &task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string name; status >> name;) {
            long count = 0;
            if (name == "voluntary_ctxt_switches:" && status >> count)
                sum += count;
        }
    }
    return sum;
}

} // namespace

TEST(AtRest, TheDaemonSleeps)
{
    TestCamera camera;
    camera.waitForTrace("AudioUpstream_OpenUnixSocket failed\n"); // the audio thread's last attempt
    std::vector<ClientSide> streams(29);
    for (ClientSide &stream : streams) {
        stream = camera.open({.url = "/config/notify_stream.cgi"});
        EXPECT_EQ(stream.readUntil("\r\n\r\n"), NOTIFY_HEADER);
    }
    camera.sendEvents({{0, 0, 1, 2, 0}});
    for (ClientSide &stream : streams)
        EXPECT_EQ(stream.readUntil("input2=off\r\n"), "input1=on\r\ninput2=off\r\n");
    EXPECT_TRUE(waitFor([&] {
        const long before = wakeUps(camera.pid());
        std::this_thread::sleep_for(1s);
        return wakeUps(camera.pid()) - before <= 2;
    }));
}

TEST(Stop, IsNotHeldUpByASilentStore)
{
    TestCamera camera;
    std::atomic<bool> asked = false;
    std::atomic<bool> released = false;
    camera.store.before([&] {
        asked = true;
        released.wait(false);
    });
    ClientSide client = camera.open({.url = URL});
    EXPECT_TRUE(waitFor([&] { return asked.load(); }));
    const auto begin = std::chrono::steady_clock::now();
    camera.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1500ms) << "half a second, and what a busy machine adds";
    EXPECT_EQ(client.readAll(), INTERNAL_ERROR);
    EXPECT_NE(access(camera.pidFile().c_str(), F_OK), 0);
    released = true;
    released.notify_all();
}

TEST(Stop, LetsAnAnswerThatIsOnItsWayArrive)
{
    TestCamera camera;
    std::atomic<bool> asked = false;
    camera.store.before([&] {
        asked = true;
        std::this_thread::sleep_for(200ms);
    });
    ClientSide client = camera.open({.url = URL});
    EXPECT_TRUE(waitFor([&] { return asked.load(); }));
    camera.stop();
    EXPECT_EQ(client.readAll(), okReply("name=Entrance\r\n"));
}

TEST(Stop, ComesWithTheEndOfTheTerminalUnlessThatIsIgnored)
{
    TestCamera camera;
    camera.signal(SIGHUP);
    camera.stop(); // a second request does no harm
    EXPECT_NE(access(camera.pidFile().c_str(), F_OK), 0);

    signal(SIGHUP, SIG_IGN); // which the daemon inherits, as from nohup(1)
    camera.start();
    signal(SIGHUP, SIG_DFL);
    camera.signal(SIGHUP);
    EXPECT_EQ(camera.get(URL), okReply("name=Entrance\r\n"));
}
