#include "daemon/netutil/address.h"
#include "daemon/netutil/connectivity.h"
#include "daemon/netutil/dns_resolver.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/fake_dns_server.h"
#include "tests/fakes/temp_root.h"

#include <arpa/inet.h>
#include <cerrno>
#include <gtest/gtest.h>
#include <set>
#include <sys/socket.h>

namespace
{

constexpr uint32_t LONG_TIMEOUT_SEC = 600;
const DnsDatagram HERE = {{{dnsA()}}}, ELSEWHERE = {{{dnsA("\6\6\6\6")}}}, ALIAS = {{{dnsCname("b.example")}}};
const DnsDatagram FAILURE = {{.flags = 0x8182}}, UNKNOWN = {{.flags = 0x8183}};

/** The datagram of somebody who has to guess the identifier. */
DnsDatagram guessed(DnsDatagram datagram)
{
    datagram.wrongBits = 0x8001;
    return datagram;
}

/** Asks the fake server for a name; gives the result and what is stored, which is 7.7.7.7 before. */
std::pair<int32_t, std::string> resolve(const char *name)
{
    const size_t descriptors = countDescriptors();
    in_addr_t address = inet_addr("7.7.7.7");
    const int32_t result = NetUtility_DNSResolve(FakeDnsServer::address(), name, LONG_TIMEOUT_SEC, &address);
    EXPECT_EQ(countDescriptors(), descriptors);
    return {result, inet_ntoa({address})};
}

/** What is traced by a call that has to give `expected`. */
std::string traced(int32_t expected, const std::function<int32_t()> &call)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(call(), expected);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(DnsResolve, TakesTheServersAnswerInItsTime)
{
    const char *const stored = "10.1.2.3", *const nothing = "7.7.7.7";
    const DnsDatagram chain = {{{dnsCname("b.example"), dnsCname("c.example"), dnsA()}}};
    const DnsDatagram hidden = {{{{1, dnsA().data, "\xC1\x0C"}}}}, tooLong = {HERE.message, 0, 1050};
    const DnsDatagram otherPort = {ELSEWHERE.message, 0, SIZE_MAX, true};
    DnsDatagrams late(20, guessed(ELSEWHERE));
    late.push_back(HERE);
    const struct {
        const char *description;
        DnsDatagrams answers;
        int32_t result;
        const char *address;
        uint32_t stepMs = 0; ///< each look at the clock takes this long
    } cases[] = {
        {"a chain of names", {chain}, 0, stored},
        {"no such name", {UNKNOWN}, NETUTILITY_NO_SUCH_NAME, nothing},
        {"the server's failure", {FAILURE, HERE}, -1, nothing},
        {"KEPT: an answer without an address succeeds and stores none", {ALIAS}, 0, nothing},
        {"KEPT: nor does one that is not found", {hidden}, 0, nothing},
        {"a wrong identifier", {guessed(ELSEWHERE), HERE}, 0, stored},
        {"no such name, from somebody who guesses", {guessed(UNKNOWN), HERE}, 0, stored},
        {"another port that knows the identifier", {otherPort, HERE}, 0, stored},
        {"too short", {{HERE.message, 0, 0}, {HERE.message, 0, 1}, {HERE.message, 0, 11}, HERE}, 0, stored},
        {"longer than the buffer", {tooLong}, 0, stored},
        {"many wrong answers before", late, 0, stored, 1},
        {"the time is over before the last of them", late, -1, nothing, LONG_TIMEOUT_SEC * 1000 / 10},
        {"the second wait has only 10 ms left", {guessed(HERE)}, -1, nothing, LONG_TIMEOUT_SEC * 1000 / 2 - 5},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const FakeDnsServer server(c.answers);
        const FakeClock clock(c.stepMs);
        EXPECT_EQ(resolve("camera.example.com"), std::pair(c.result, std::string(c.address)));
        ASSERT_EQ(server.queries().size(), 1U) << "asked once";
        EXPECT_EQ(server.queries()[0].name, "camera.example.com");
    }
    EXPECT_EQ(static_cast<uint32_t>(NETUTILITY_NO_SUCH_NAME), 0x810E0003U);
}

TEST(DnsResolve, NeedsNoServerForAnAddress)
{
    const FakeDnsServer server;
    EXPECT_EQ(resolve("192.168.0.1"), std::pair(0, std::string("192.168.0.1")));
    EXPECT_EQ(resolve("1.2.3.999"), std::pair(0, std::string("255.255.255.255"))) << "what inet_addr makes of it";
    EXPECT_TRUE(server.queries().empty());
    // A socket that is connected to itself refuses everybody else, and nobody else can have its port.
    const FileDescriptor taken = bindToLoopback(SOCK_DGRAM, g_tRemotePorts.uiDNS);
    const sockaddr_in address = loopbackAddress(g_tRemotePorts.uiDNS);
    ASSERT_EQ(connect(taken.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    EXPECT_EQ(traced(-1, [] { return resolve("a.example").first; }),
              "[NetUtility_DNSResolve] recvfrom failed (" + std::to_string(ECONNREFUSED) + ")\r\n");
}

TEST(DnsResolve, IdentifiersDoNotRepeat)
{
    const FakeDnsServer server({UNKNOWN});
    std::set<uint16_t> identifiers;
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(resolve("a.example").first, NETUTILITY_NO_SUCH_NAME);
    for (const DnsQuery &query : server.queries())
        identifiers.insert(query.identifier);
    // Of 64 random ones, 10 of 65536 coincide less than once in 10^20 runs.
    EXPECT_GT(identifiers.size(), 54U);
}

TEST(NetUtility, RefusesMissingArgumentsAndSaysSo)
{
    const FakeDnsServer server;
    const in_addr_t at = FakeDnsServer::address();
    in_addr_t address = 1;
    const auto resolve = [](in_addr_t from, const char *name, uint32_t timeoutSec, in_addr_t *into) {
        return traced(-1, [&] { return NetUtility_DNSResolve(from, name, timeoutSec, into); });
    };
    EXPECT_EQ(resolve(0, "192.168.0.1", 1, &address), "[NetUtility_DNSResolve] Need DNS server IP\r");
    for (const std::string &trace : {resolve(at, nullptr, 1, &address), resolve(at, "", 1, &address),
                                     resolve(at, "192.168.0.1", 0, &address), resolve(at, "a.example", 1, nullptr)})
        EXPECT_EQ(trace, "[NetUtility_DNSResolve] Invalid argument\r");
    EXPECT_EQ(resolve(at, "a..example", 1, &address), "");
    EXPECT_EQ(address, 1U);
    for (const auto &[timeout, from] : {std::pair{0U, at}, std::pair{1U, 0U}})
        EXPECT_EQ(traced(-1, [&] { return NetUtility_ConnectToInternet(timeout, from); }),
                  "[NetUtility_ConnectToInternet] Invalid arguments\r");
    EXPECT_TRUE(server.queries().empty());
    EXPECT_EQ(traced(0, [] { return NetUtility_IsValidIP(nullptr, 7); }),
              "[NetUtility_IsValidIP] Invalid arguments\r");
    EXPECT_EQ(traced(0, [] { return NetUtility_IsValidMACAddr(nullptr, 12); }),
              "[NetUtility_IsValidMACAddr] Invalid arguments\r");
}

TEST(DomainName, IsAskedOfTheResolverFilesFirstServer)
{
    const FakeDnsServer server([](const std::string &name) {
        return DnsDatagrams{name == "a.example" ? HERE : name == "bare.example" ? ALIAS : UNKNOWN};
    });
    const RootEnvironment root;
    const auto checked = [&root](const char *name, int32_t expectedStatus, const std::string &file) {
        root.write("/etc/resolv.conf", file);
        int32_t status = 99;
        const int expected = expectedStatus == 0 ? 1 : 0;
        const std::string trace = traced(expected, [&] { return NetUtility_IsValidDomainName(name, status); });
        EXPECT_EQ(status, expectedStatus);
        return trace;
    };
    const std::string good = "nameserver 127.0.0.1\n", failed = "[NetUtility_IsValidDomainName] ";
    EXPECT_EQ(checked("a.example", 0, good), "");
    EXPECT_EQ(checked("bare.example", 0, good), "") << "known without an address";
    EXPECT_EQ(checked("a.example", 0, good + "nameserver 0.0.0.0\n"), "") << "the first server alone";
    EXPECT_EQ(checked("b.example", NETUTILITY_NO_SUCH_NAME, good), failed + "DNS resolve failed\r");
    EXPECT_EQ(checked("a.example", -1, "nameserver somewhere\n"), failed + "DNS resolve failed\r");
    EXPECT_EQ(checked("a.example", -1, good + "options x\n"), failed + "Get DNS server IP failed\r");
    EXPECT_EQ(checked("", -1, good), failed + "Invalid arguments\r");
    EXPECT_EQ(checked(nullptr, -1, good), failed + "Invalid arguments\r");
}

TEST(Connectivity, IsOneOfThreeWebHosts)
{
    const DnsDatagram local = {{{dnsA(std::string("\x7F\0\0\1", 4))}}};
    const DnsDatagram nowhere = {{{dnsA("\xFF\xFF\xFF\xFF")}}}; // connect(2) fails at once
    const auto serves = [](int web) { EXPECT_EQ(listen(web, 8), 0); };
    const auto refuses = [](int) {};
    std::vector<FileDescriptor> waiting;
    // A listener with a full queue: further connections stay unanswered.
    const auto isFull = [&waiting](int web) {
        EXPECT_EQ(listen(web, 0), 0);
        const sockaddr_in address = loopbackAddress(g_tRemotePorts.uiHTTP);
        for (int i = 0; i < 4; ++i) {
            waiting.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
            (void)connect(waiting.back().get(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
        }
    };
    const struct {
        const char *description;
        DnsDatagrams answers; ///< to the first query, the second and the third
        std::function<void(int web)> prepare;
        int32_t result;
    } cases[] = {
        {"the first", {local, UNKNOWN, UNKNOWN}, serves, 0},
        {"the second", {UNKNOWN, local, nowhere}, serves, 0},
        {"the third", {nowhere, nowhere, local}, serves, 0},
        {"a host that refuses is reached", {local, local, local}, refuses, 0},
        {"no host answers in time", {local, local, local}, isFull, -1},
        {"none can be connected to", {nowhere, nowhere, nowhere}, serves, -1},
        {"none is known", {UNKNOWN, UNKNOWN, UNKNOWN}, serves, NETUTILITY_NO_PROBE_NAME},
        {"names without an address", {ALIAS, ALIAS, ALIAS}, serves, NETUTILITY_NO_PROBE_NAME},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        size_t next = 0;
        const FakeDnsServer server([&](const std::string &) { return DnsDatagrams{c.answers.at(next++)}; });
        const FileDescriptor web = bindToLoopback(SOCK_STREAM, g_tRemotePorts.uiHTTP);
        c.prepare(web.get());
        const size_t descriptors = countDescriptors();
        const uint32_t timeoutSec = waiting.empty() ? LONG_TIMEOUT_SEC : 1;
        EXPECT_EQ(NetUtility_ConnectToInternet(timeoutSec, FakeDnsServer::address()), c.result);
        EXPECT_EQ(countDescriptors(), descriptors);
        waiting.clear();
        std::set<std::string> names;
        for (const DnsQuery &query : server.queries())
            names.insert(query.name);
        EXPECT_EQ(names.size(), 3U) << "three different names";
    }
    EXPECT_EQ(static_cast<uint32_t>(NETUTILITY_NO_PROBE_NAME), 0x810E0001U);
}
