#include "netutil/local_address.h"
#include "netutil/resolver_file.h"
#include "netutil/socket_helpers.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/temp_root.h"
#include "tests/fakes/unique_fd.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <optional>
#include <string>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace
{

bool IsOpen(int fd)
{
    return fcntl(fd, F_GETFD) >= 0;
}

/** The interface's first IPv4 address as the C library lists it. */
std::optional<in_addr_t> ListedAddress(const std::string &interface)
{
    std::optional<in_addr_t> found;
    ifaddrs *list = nullptr;
    if (getifaddrs(&list) != 0)
        return found;
    for (const ifaddrs *entry = list; entry != nullptr && !found; entry = entry->ifa_next)
        if (interface == entry->ifa_name && entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET)
            found = reinterpret_cast<const sockaddr_in *>(entry->ifa_addr)->sin_addr.s_addr;
    freeifaddrs(list);
    return found;
}

} // namespace

TEST(ResolverFile, GivesTheServersOfAFileOfServers)
{
    const RootEnvironment root;
    // A comment and then the text, 256 bytes together.
    const auto filled = [](const std::string &text) {
        return "#" + std::string(254 - text.size(), '-') + "\n" + text;
    };
    const struct {
        const char *description;
        std::string content;
        int expected;
        const char *primary;
        const char *secondary;
    } cases[] = {
        {"one server", "nameserver 10.1.2.3\n", 0, "10.1.2.3", "0.0.0.0"},
        {"two", "nameserver 10.1.2.3\nnameserver 10.1.2.4\n", 0, "10.1.2.3", "10.1.2.4"},
        {"a third is not looked at", "nameserver 1.1.1.1\nnameserver 2.2.2.2\nnameserver 3", 0, "1.1.1.1",
         "2.2.2.2"},
        {"text before and between", "search lan\nnameserver 1.1.1.1\noptions x\nnameserver 2.2.2.2\n", 0, "1.1.1.1",
         "2.2.2.2"},
        {"not an address", "nameserver fe80::1\n", 0, "255.255.255.255", "0.0.0.0"},
        {"KEPT: other text follows the only server, which is stored all the same",
         "nameserver 10.1.2.3\noptions x\n", -1, "10.1.2.3", "0.0.0.0"},
        {"empty file", "", -1, "0.0.0.0", "0.0.0.0"},
        {"another blank", "nameserver\t10.1.2.3\n", -1, "0.0.0.0", "0.0.0.0"},
        {"line without its end", "nameserver 10.1.2.3", -1, "0.0.0.0", "0.0.0.0"},
        {"second line without its end", "nameserver 1.1.1.1\nnameserver 2.2.2.2", -1, "1.1.1.1", "0.0.0.0"},
        {"the 256th byte ends the line", filled("nameserver 10.1.2.3\n") + "options x\n", 0, "10.1.2.3", "0.0.0.0"},
        {"cut inside the address", filled("nameserver 10.1.2") + "5.3\n", -1, "0.0.0.0", "0.0.0.0"},
        {"binary", std::string("\0\xFF", 2) + "nameserver 1.1.1.1\n", 0, "1.1.1.1", "0.0.0.0"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        root.Write("/etc/resolv.conf", c.content);
        in_addr_t primary = 1;
        in_addr_t secondary = 1;
        EXPECT_EQ(NetUtility_GetDNSServer(primary, secondary), c.expected);
        EXPECT_EQ(primary, inet_addr(c.primary));
        EXPECT_EQ(secondary, inet_addr(c.secondary));
    }
}

TEST(ResolverFile, FailsWithoutAReadableFile)
{
    const RootEnvironment root;
    in_addr_t primary = 1, secondary = 1;
    EXPECT_EQ(NetUtility_GetDNSServer(primary, secondary), -1);
    EXPECT_EQ(primary + secondary, 0U);
    std::filesystem::create_directory(root.Path("/etc/resolv.conf"));
    EXPECT_EQ(NetUtility_GetDNSServer(primary, secondary), -1);
}

TEST(LocalAddress, IsTheInterfacesOrNone)
{
    const std::string unknown = "\\[NetUtility_GetLocalIP\\] Invalid network interface type: ";
    const struct {
        int32_t kind;
        const char *name;
        std::string output; ///< without an address
    } cases[] = {{0, "eth0", "\\[NetUtility_GetLocalIP\\] ioctl failed\\. errno: [A-Za-z ]+\\([0-9]+\\)\r\n"},
                 {1, "wlan0", "\\[NetUtility_GetLocalIP\\] ioctl failed\\. errno: [A-Za-z ]+\\([0-9]+\\)\r\n"},
                 {-1, "", unknown + "-1\r\n"},
                 {2, "", unknown + "2\r\n"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.kind);
        in_addr_t address = 0x01020304;
        testing::internal::CaptureStdout();
        const int result = NetUtility_GetLocalIP(c.kind, address);
        const std::string output = testing::internal::GetCapturedStdout();
        const auto listed = ListedAddress(c.name);
        EXPECT_EQ(result, listed ? 0 : -1);
        EXPECT_EQ(address, listed.value_or(0x01020304)) << "nothing is stored without one";
        EXPECT_THAT(output, testing::MatchesRegex(listed ? "" : c.output));
    }
}

TEST(SocketHelpers, CloseOnceAndLeaveTheMarksOfNoSocket)
{
    int32_t sockets[] = {-1, socket(AF_INET, SOCK_STREAM, 0), -2, socket(AF_INET, SOCK_DGRAM, 0)};
    const int first = sockets[1];
    const int second = sockets[3];
    ASSERT_TRUE(IsOpen(first) && IsOpen(second));
    NetUtility_CloseSockets({sockets, 3});
    EXPECT_FALSE(IsOpen(first));
    EXPECT_TRUE(IsOpen(second)) << "beyond the given count";
    NetUtility_CloseSockets(sockets);
    EXPECT_FALSE(IsOpen(second));
    EXPECT_THAT(sockets, testing::ElementsAre(-1, -1, -2, -1));
}

TEST(SocketHelpers, SetTheirOptions)
{
    const UniqueFd tcp(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(NetUtility_SetReuseAddress(tcp.Get()), 0);
    int on = 0;
    socklen_t length = sizeof on;
    ASSERT_EQ(getsockopt(tcp.Get(), SOL_SOCKET, SO_REUSEADDR, &on, &length), 0);
    EXPECT_EQ(on, 1);
    EXPECT_EQ(NetUtility_SetNonBlocking(tcp.Get()), 0);
    EXPECT_NE(fcntl(tcp.Get(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(NetUtility_SetReuseAddress(-1), -1);
    EXPECT_EQ(NetUtility_SetNonBlocking(-1), -1);
}

TEST(SocketHelpers, WaitsShareALimitAndSurviveSignals)
{
    const UniqueFd event(eventfd(0, EFD_CLOEXEC));
    pollfd wait[] = {{-1, POLLIN, 0}, {event.Get(), POLLIN, 0}};
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
        eventfd_write(event.Get(), 1);
    });
    EXPECT_EQ(NetUtility_WaitSockets(wait, NetUtility_GetTickMs(), 60000), 1);
    EXPECT_NE(wait[1].revents & POLLIN, 0);
    disturber.join();
    sigaction(SIGUSR2, &before, nullptr);
    EXPECT_EQ(NetUtility_WaitLimitMs(2), 2000U);
    EXPECT_EQ(NetUtility_WaitLimitMs(UINT32_MAX), 2147483000U) << "still a wait that poll can take";
}
