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
#include <ifaddrs.h>
#include <optional>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace
{

/** The interface's first IPv4 address as the C library lists it. */
std::optional<in_addr_t> listedAddress(const std::string &interface)
{
    ifaddrs *list = nullptr;
    EXPECT_EQ(getifaddrs(&list), 0);
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    for (const ifaddrs *entry = list; entry != nullptr; entry = entry->ifa_next)
        if (interface == entry->ifa_name && entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET)
            return reinterpret_cast<const sockaddr_in *>(entry->ifa_addr)->sin_addr.s_addr;
    return {};
}

} // namespace

TEST(ResolverFile, GivesTheServersOfAFileOfServers)
{
    const RootEnvironment root;
    const auto servers = [] {
        in_addr primary = {1}, secondary = {1};
        const bool good = NetUtility_GetDNSServer(primary.s_addr, secondary.s_addr) == 0;
        const std::string first = inet_ntoa(primary);
        return first + " " + inet_ntoa(secondary) + (good ? "" : " failed");
    };
    const auto of = [&](const std::string &content) {
        root.write("/etc/resolv.conf", content);
        return servers();
    };
    // A comment and then the text, 256 bytes together.
    const auto filled = [](const std::string &text) {
        return "#" + std::string(254 - text.size(), '-') + "\n" + text;
    };
    EXPECT_EQ(servers(), "0.0.0.0 0.0.0.0 failed") << "no file";
    const std::string one = "nameserver 1.1.1.1\n", two = "nameserver 2.2.2.2\n";
    EXPECT_EQ(of(one), "1.1.1.1 0.0.0.0");
    EXPECT_EQ(of(one + two), "1.1.1.1 2.2.2.2");
    EXPECT_EQ(of(one + two + "nameserver 3"), "1.1.1.1 2.2.2.2") << "a third is not looked at";
    EXPECT_EQ(of("search lan\n" + one + "options x\n" + two), "1.1.1.1 2.2.2.2");
    EXPECT_EQ(of(one + "options x\n"), "1.1.1.1 0.0.0.0 failed") << "KEPT: other text follows the only server";
    EXPECT_EQ(of("nameserver fe80::1\n"), "255.255.255.255 0.0.0.0");
    EXPECT_EQ(of(std::string("\0\xFF", 2) + one), "1.1.1.1 0.0.0.0");
    EXPECT_EQ(of(""), "0.0.0.0 0.0.0.0 failed");
    EXPECT_EQ(of("nameserver\t10.1.2.3\n"), "0.0.0.0 0.0.0.0 failed") << "another blank";
    EXPECT_EQ(of("nameserver 10.1.2.3"), "0.0.0.0 0.0.0.0 failed") << "a line without its end";
    EXPECT_EQ(of(one + "nameserver 2.2.2.2"), "1.1.1.1 0.0.0.0 failed");
    EXPECT_EQ(of(filled(one) + "options x\n"), "1.1.1.1 0.0.0.0") << "the 256th byte ends the line";
    EXPECT_EQ(of(filled("nameserver 10.1.2") + "5.3\n"), "0.0.0.0 0.0.0.0 failed") << "cut inside the address";
    std::filesystem::remove(root.path("/etc/resolv.conf"));
    std::filesystem::create_directory(root.path("/etc/resolv.conf"));
    EXPECT_EQ(servers(), "0.0.0.0 0.0.0.0 failed") << "a folder";
}

TEST(LocalAddress, IsTheInterfacesOrNone)
{
    const std::string failed = "\\[NetUtility_GetLocalIP\\] ioctl failed\\. errno: [A-Za-z ]+\\([0-9]+\\)\r\n";
    const std::string invalid = "\\[NetUtility_GetLocalIP\\] Invalid network interface type: ";
    const struct {
        int32_t kind;
        const char *name;
        std::string trace; ///< when it has no address
    } cases[] = {
        {0, "eth0", failed}, {1, "wlan0", failed}, {-1, "", invalid + "-1\r\n"}, {2, "", invalid + "2\r\n"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.kind);
        in_addr_t address = 0x01020304;
        const auto listed = listedAddress(c.name);
        testing::internal::CaptureStdout();
        EXPECT_EQ(NetUtility_GetLocalIP(c.kind, address), listed ? 0 : -1);
        EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::MatchesRegex(listed ? "" : c.trace));
        EXPECT_EQ(address, listed.value_or(0x01020304)) << "nothing is stored without one";
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
    EXPECT_EQ(NetUtility_SetReuseAddress(-1), -1);
    EXPECT_EQ(NetUtility_SetNonBlocking(-1), -1);
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
