#include "daemon/netutil/local_address.h"
#include "daemon/netutil/resolver_file.h"
#include "daemon/netutil/socket_helpers.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/temp_root.h"
#include "tests/fakes/test_support.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

TEST(ResolverFile, GivesTheServersOfAFileOfServers)
{
    const RootEnvironment root;
    const auto servers = [] {
        in_addr primary = {1}, secondary = {1};
        const bool good = NetUtility_GetDNSServer(primary.s_addr, secondary.s_addr) == 0;
        const std::string first = inet_ntoa(primary);
        return first + " " + inet_ntoa(secondary) + (good ? "" : " failed");
    };
    // A comment and then the text, 256 bytes together.
    const auto filled = [](const std::string &text) {
        return "#" + std::string(254 - text.size(), '-') + "\n" + text;
    };
    EXPECT_EQ(servers(), "0.0.0.0 0.0.0.0 failed") << "no file";
    const std::string one = "nameserver 1.1.1.1\n", two = "nameserver 2.2.2.2\n";
    const std::pair<std::string, std::string> cases[] = {
        {one, "1.1.1.1 0.0.0.0"},
        {one + two + "nameserver 3", "1.1.1.1 2.2.2.2"},
        {"search lan\n" + one + "options x\n" + two, "1.1.1.1 2.2.2.2"},
        {one + "options x\n", "1.1.1.1 0.0.0.0 failed"}, // KEPT: other text follows the only server
        {std::string("\0\xFF", 2) + "nameserver fe80::1\n", "255.255.255.255 0.0.0.0"},
        {"", "0.0.0.0 0.0.0.0 failed"},
        {"nameserver 10.1.2.3", "0.0.0.0 0.0.0.0 failed"}, // a line without its end
        {filled(one) + "options x\n", "1.1.1.1 0.0.0.0"},  // the 256th byte ends the line
        {filled("nameserver 10.1.2") + "5.3\n", "0.0.0.0 0.0.0.0 failed"},
    };
    for (const auto &[content, expected] : cases) {
        root.write("/etc/resolv.conf", content);
        EXPECT_EQ(servers(), expected) << content;
    }
    std::filesystem::remove(root.path("/etc/resolv.conf"));
    std::filesystem::create_directory(root.path("/etc/resolv.conf"));
    EXPECT_EQ(servers(), "0.0.0.0 0.0.0.0 failed") << "a folder";
}

TEST(LocalAddress, IsStoredOnlyWhenTheInterfaceHasOne)
{
    for (const int kind : {0, 1, -1, 2}) {
        in_addr_t address = 0;
        testing::internal::CaptureStdout();
        const int result = NetUtility_GetLocalIP(kind, address);
        const char *const failed = kind == 0 || kind == 1
                                       ? "\\[NetUtility_GetLocalIP\\] ioctl failed\\. errno: .*\\([0-9]+\\)\r\n"
                                       : "\\[NetUtility_GetLocalIP\\] Invalid network interface type: -?[0-9]\r\n";
        EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::MatchesRegex(result == 0 ? "" : failed));
        EXPECT_EQ(address != 0, result == 0) << kind;
    }
}

TEST(SocketHelpers, SetTheirOptionsAndCloseOnce)
{
    int32_t sockets[] = {-1, socket(AF_INET, SOCK_STREAM, 0), -2, socket(AF_INET, SOCK_DGRAM, 0)};
    const int first = sockets[1], second = sockets[3];
    EXPECT_EQ(NetUtility_SetReuseAddress(first), 0);
    int on = 0;
    socklen_t length = sizeof on;
    ASSERT_EQ(getsockopt(first, SOL_SOCKET, SO_REUSEADDR, &on, &length), 0);
    EXPECT_EQ(on, 1);
    EXPECT_EQ(NetUtility_SetNonBlocking(first), 0);
    EXPECT_NE(fcntl(first, F_GETFL) & O_NONBLOCK, 0);
    NetUtility_CloseSockets({sockets, 3});
    EXPECT_EQ(fcntl(first, F_GETFD), -1);
    EXPECT_NE(fcntl(second, F_GETFD), -1) << "beyond the given count";
    NetUtility_CloseSockets(sockets);
    EXPECT_EQ(fcntl(second, F_GETFD), -1);
    EXPECT_THAT(sockets, testing::ElementsAre(-1, -1, -2, -1)) << "the two marks of no socket stay";
}

TEST(SocketHelpers, WaitsShareALimitAndSurviveSignals)
{
    const FileDescriptor event(eventfd(0, EFD_CLOEXEC));
    pollfd wait[] = {{-1, POLLIN, 0}, {event.get(), POLLIN, 0}};
    {
        FakeClock clock;
        clock.now = 3600001;
        EXPECT_EQ(NetUtility_WaitSockets(wait, 0, 3600000), 0) << "the limit is over: no wait at all";
        clock.now = 3599990;
        EXPECT_EQ(NetUtility_WaitSockets(wait, 0, 3600000), 0) << "only what is left of the limit";
    }
    struct sigaction action = {};
    action.sa_handler = [](int) {}; // without SA_RESTART
    struct sigaction before;
    ASSERT_EQ(sigaction(SIGUSR2, &action, &before), 0);
    std::thread disturber([waiter = pthread_self(), &event] {
        for (int i = 0; i < 20; ++i) {
            pthread_kill(waiter, SIGUSR2);
            std::this_thread::yield();
        }
        eventfd_write(event.get(), 1);
    });
    EXPECT_EQ(NetUtility_WaitSockets(wait, NetUtility_GetTickMs(), 60000), 1);
    EXPECT_NE(wait[1].revents & POLLIN, 0);
    disturber.join();
    sigaction(SIGUSR2, &before, nullptr);
    EXPECT_EQ(NetUtility_WaitLimitMs(2), 2000U);
    EXPECT_EQ(NetUtility_WaitLimitMs(UINT32_MAX), 2147483000U) << "still a wait that poll can take";
}
