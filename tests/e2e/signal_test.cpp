#include "tests/fakes/test_camera.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

TEST(Signals, ReloadThePasswordFileAThousandTimesWhileRequestsAreServed)
{
    TestCamera camera;
    ClientSide stream = camera.Open({.url = "/config/notify_stream.cgi"});
    std::atomic<bool> done = false;
    std::thread sender([&] {
        for (int i = 0; i < 1000; ++i) {
            camera.Signal(SIGUSR1);
            if (i % 100 == 0)
                camera.root.Write("/etc/passwd", "user" + std::to_string(i) + ":x:1:100:::\n");
            std::this_thread::yield();
        }
        done = true;
    });
    for (int requests = 0; !done || requests < 100; ++requests) {
        const std::string name = std::to_string(requests);
        ASSERT_EQ(camera.Get("/config/camera_info.cgi", "name=" + name), OkReply("name=" + name + "\r\n"));
        ASSERT_EQ(camera.Get("/config/camera_info.cgi"), OkReply("name=" + name + "\r\n"));
    }
    sender.join();
    camera.WaitForTrace("[KELPA]reload password file");
    camera.SendEvents({{0, 0, 1, 2, 0}});
    EXPECT_EQ(stream.ReadUntil("input2=off\r\n"), NOTIFY_HEADER + "input1=on\r\ninput2=off\r\n");
}
