#include "tests/fakes/test_camera.h"

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <thread>

TEST(Signals, ReloadThePasswordFileAThousandTimesWhileRequestsAreServed)
{
    TestCamera camera;
    ClientSide stream = camera.open({.url = "/config/notify_stream.cgi"});
    std::atomic<bool> done = false;
    std::thread sender([&] {
        for (int i = 0; i < 1000; ++i) {
            camera.signal(SIGUSR1);
            if (i % 100 == 0)
                camera.root.write("/etc/passwd", "user" + std::to_string(i) + ":x:1:100:::\n");
            std::this_thread::yield();
        }
        done = true;
    });
    for (int requests = 0; !done || requests < 100; ++requests) {
        const std::string name = std::to_string(requests);
        ASSERT_EQ(camera.get("/config/camera_info.cgi", "name=" + name), okReply("name=" + name + "\r\n"));
        ASSERT_EQ(camera.get("/config/camera_info.cgi"), okReply("name=" + name + "\r\n"));
    }
    sender.join();
    camera.waitForTrace("[KELPA]reload password file");
    camera.sendEvents({{0, 0, 1, 2, 0}});
    EXPECT_EQ(stream.readUntil("input2=off\r\n"), NOTIFY_HEADER + "input1=on\r\ninput2=off\r\n");
}
