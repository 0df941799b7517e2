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
long WakeUps(pid_t pid)
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
    camera.WaitForTrace("AudioUpstream_OpenUnixSocket failed\n"); // the audio thread's last attempt
    std::vector<ClientSide> streams(29);
    for (ClientSide &stream : streams) {
        stream = camera.Open({.url = "/config/notify_stream.cgi"});
        EXPECT_EQ(stream.ReadUntil("\r\n\r\n"), NOTIFY_HEADER);
    }
    camera.SendEvents({{0, 0, 1, 2, 0}});
    for (ClientSide &stream : streams)
        EXPECT_EQ(stream.ReadUntil("input2=off\r\n"), "input1=on\r\ninput2=off\r\n");
    EXPECT_TRUE(WaitFor([&] {
        const long before = WakeUps(camera.Pid());
        std::this_thread::sleep_for(1s);
        return WakeUps(camera.Pid()) - before <= 2;
    }));
}

TEST(Stop, IsNotHeldUpByASilentStore)
{
    TestCamera camera;
    std::atomic<bool> asked = false;
    std::atomic<bool> released = false;
    camera.store.Before([&] {
        asked = true;
        released.wait(false);
    });
    ClientSide client = camera.Open({.url = URL});
    EXPECT_TRUE(WaitFor([&] { return asked.load(); }));
    const auto begin = std::chrono::steady_clock::now();
    camera.Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1500ms) << "half a second, and what a busy machine adds";
    EXPECT_EQ(client.ReadAll(), INTERNAL_ERROR);
    EXPECT_NE(access(camera.PidFile().c_str(), F_OK), 0);
    released = true;
    released.notify_all();
}

TEST(Stop, LetsAnAnswerThatIsOnItsWayArrive)
{
    TestCamera camera;
    std::atomic<bool> asked = false;
    camera.store.Before([&] {
        asked = true;
        std::this_thread::sleep_for(200ms);
    });
    ClientSide client = camera.Open({.url = URL});
    EXPECT_TRUE(WaitFor([&] { return asked.load(); }));
    camera.Stop();
    EXPECT_EQ(client.ReadAll(), OkReply("name=Entrance\r\n"));
}

TEST(Stop, ComesWithTheEndOfTheTerminalUnlessThatIsIgnored)
{
    TestCamera camera;
    camera.Signal(SIGHUP);
    camera.Stop(); // a second request does no harm
    EXPECT_NE(access(camera.PidFile().c_str(), F_OK), 0);

    signal(SIGHUP, SIG_IGN); // which the daemon inherits, as from nohup(1)
    camera.Start();
    signal(SIGHUP, SIG_DFL);
    camera.Signal(SIGHUP);
    EXPECT_EQ(camera.Get(URL), OkReply("name=Entrance\r\n"));
}
