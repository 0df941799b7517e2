#include "netutil/connectivity.h"
#include "netutil/dns_resolver.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/fake_dns_server.h"
#include "tests/fakes/temp_root.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <sys/socket.h>

namespace
{

using Datagrams = std::vector<FakeDnsServer::Datagram>;

constexpr uint32_t LONG_TIMEOUT_SEC = 600;

std::string Answer(const DnsQuery &query, std::vector<DnsRecord> records)
{
    return DnsMessage{query.identifier, query.name, std::move(records)}.Bytes();
}

std::string Here(const DnsQuery &query)
{
    return Answer(query, {DnsA(10, 1, 2, 3)});
}

/** What somebody sends who wants the client elsewhere. */
std::string Elsewhere(const DnsQuery &query)
{
    return Answer(query, {DnsA(6, 6, 6, 6)});
}

std::string Error(const DnsQuery &query, uint16_t code)
{
    return DnsMessage{query.identifier, query.name, {}, static_cast<uint16_t>(0x8180 | code)}.Bytes();
}

std::string NoSuchName(const DnsQuery &query)
{
    return Error(query, 3);
}

/** The query as somebody knows it who has to guess its identifier. */
DnsQuery Guessed(const DnsQuery &query)
{
    return {static_cast<uint16_t>(query.identifier ^ 0x8001), query.name};
}

/** Fails the test when more descriptors are open at its end than at its beginning. */
class NoDescriptorLeft
{
  public:
    NoDescriptorLeft() = default;
    ~NoDescriptorLeft() { EXPECT_EQ(CountDescriptors(), m_before); }

  private:
    size_t m_before = CountDescriptors();
};

struct Resolved {
    int32_t result;
    std::string address;
};

Resolved Resolve(const char *name, uint32_t timeoutSec = LONG_TIMEOUT_SEC)
{
    const NoDescriptorLeft check;
    in_addr_t address = inet_addr("7.7.7.7");
    const int32_t result = NetUtility_DNSResolve(FakeDnsServer::Address(), name, timeoutSec, &address);
    return {result, inet_ntoa({address})};
}

} // namespace

TEST(DnsResolve, TakesTheServersAnswer)
{
    using Q = const DnsQuery &;
    const struct {
        const char *description;
        FakeDnsServer::Script script;
        int32_t result;
    } cases[] = {
        {"a chain of names",
         [](Q q) {
             return Datagrams{{Answer(q, {DnsCname("b"), DnsCname("c"), DnsA(10, 1, 2, 3)})}};
         },
         0},
        {"no such name", [](Q q) { return Datagrams{{NoSuchName(q)}}; }, NETUTILITY_NO_SUCH_NAME},
        {"the server's failure",
         [](Q q) {
             return Datagrams{{Error(q, 2)}, {Here(q)}};
         },
         -1},
        {"a wrong identifier",
         [](Q q) {
             return Datagrams{{Elsewhere(Guessed(q))}, {Here(q)}};
         },
         0},
        {"no such name, from somebody who guesses",
         [](Q q) {
             return Datagrams{{NoSuchName(Guessed(q))}, {Here(q)}};
         },
         0},
        {"another port that knows the identifier",
         [](Q q) {
             return Datagrams{{Elsewhere(q), true}, {Here(q)}};
         },
         0},
        {"datagrams too short for an identifier or a header",
         [](Q q) {
             return Datagrams{{""}, {Here(q).substr(0, 1)}, {Here(q).substr(0, 11)}, {Here(q)}};
         },
         0},
        {"longer than the buffer", [](Q q) { return Datagrams{{Here(q) + std::string(1000, '\xC0')}}; }, 0},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const FakeDnsServer server(c.script);
        const Resolved resolved = Resolve("camera.example.com");
        EXPECT_EQ(resolved.result, c.result);
        EXPECT_EQ(resolved.address, c.result == 0 ? "10.1.2.3" : "7.7.7.7");
        ASSERT_EQ(server.Queries().size(), 1U) << "asked once";
        EXPECT_EQ(server.Queries()[0].name, "camera.example.com");
    }
    EXPECT_EQ(static_cast<uint32_t>(NETUTILITY_NO_SUCH_NAME), 0x810E0003U);
}

TEST(DnsResolve, KeptAnAnswerWithoutAnAddressSucceedsAndStoresNone)
{
    const DnsRecord records[] = {DnsCname("b.example"), {1, "\x0A\1\2\3", "\xC1\x0C"}};
    for (const DnsRecord &record : records) {
        const FakeDnsServer server([&record](const DnsQuery &q) { return Datagrams{{Answer(q, {record})}}; });
        const Resolved resolved = Resolve("camera.example.com");
        EXPECT_EQ(resolved.result, 0);
        EXPECT_EQ(resolved.address, "7.7.7.7");
    }
}

TEST(DnsResolve, AnswersCutAtEveryByteEndTheCall)
{
    std::atomic<size_t> cut = 0;
    const FakeDnsServer server([&cut](const DnsQuery &query) {
        const std::string whole = Answer(query, {DnsCname("b.example"), DnsA(10, 1, 2, 3)});
        // What is cut before the identifier can be told is passed over; the failure behind it ends the call.
        return Datagrams{{whole.substr(0, cut)}, {Error(query, 2)}};
    });
    const size_t question = 12 + DnsLabels("a.example").size() + 4;
    const size_t whole = Answer({0, "a.example"}, {DnsCname("b.example"), DnsA(10, 1, 2, 3)}).size();
    for (cut = 0; cut <= whole; ++cut) {
        const Resolved resolved = Resolve("a.example");
        EXPECT_EQ(resolved.result, cut < question ? -1 : 0) << cut << " bytes";
        EXPECT_EQ(resolved.address, cut < whole ? "7.7.7.7" : "10.1.2.3") << cut << " bytes";
    }
}

TEST(DnsResolve, NeedsNoNetworkForAnAddress)
{
    const FakeDnsServer server([](const DnsQuery &) { return Datagrams{}; });
    EXPECT_EQ(Resolve("192.168.0.1").result, 0);
    EXPECT_EQ(Resolve("192.168.0.1").address, "192.168.0.1");
    EXPECT_EQ(Resolve("1.2.3.999").address, "255.255.255.255") << "what inet_addr makes of it";
    EXPECT_TRUE(server.Queries().empty());
}

TEST(DnsResolve, RefusesMissingArguments)
{
    const FakeDnsServer server([](const DnsQuery &) { return Datagrams{}; });
    const std::string needServer = "[NetUtility_DNSResolve] Need DNS server IP\r";
    const std::string invalid = "[NetUtility_DNSResolve] Invalid argument\r";
    in_addr_t address = 1;
    const struct {
        in_addr_t server;
        const char *name;
        uint32_t timeoutSec;
        in_addr_t *address;
        std::string output;
    } cases[] = {
        {0, "192.168.0.1", 1, &address, needServer},
        {server.Address(), nullptr, 1, &address, invalid},
        {server.Address(), "", 1, &address, invalid},
        {server.Address(), "192.168.0.1", 0, &address, invalid},
        {server.Address(), "a.example", 1, nullptr, invalid},
        {server.Address(), "a..example", 1, &address, ""},
    };
    for (const auto &c : cases) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(NetUtility_DNSResolve(c.server, c.name, c.timeoutSec, c.address), -1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.output);
    }
    EXPECT_EQ(address, 1U);
    EXPECT_TRUE(server.Queries().empty());
}

TEST(DnsResolve, IdentifiersDoNotRepeat)
{
    const FakeDnsServer server([](const DnsQuery &q) { return Datagrams{{NoSuchName(q)}}; });
    std::set<uint16_t> identifiers;
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(Resolve("a.example").result, NETUTILITY_NO_SUCH_NAME);
    for (const DnsQuery &query : server.Queries())
        identifiers.insert(query.identifier);
    // Of 64 random ones, 10 of 65536 coincide less than once in 10^20 runs.
    EXPECT_GT(identifiers.size(), 54U);
}

TEST(DnsResolve, TimesOutInTotalHoweverManyWrongAnswersCome)
{
    const FakeDnsServer server([](const DnsQuery &query) {
        Datagrams datagrams(20, {Elsewhere(Guessed(query))});
        datagrams.push_back({Here(query)});
        return datagrams;
    });
    {
        const FakeClock clock(LONG_TIMEOUT_SEC * 1000 / 10);
        EXPECT_EQ(Resolve("a.example").result, -1) << "the time is over before the twentieth look at the clock";
    }
    const FakeClock clock(1);
    EXPECT_EQ(Resolve("a.example").address, "10.1.2.3");
}

TEST(DnsResolve, WaitsForTheRestOfItsTimeOnly)
{
    // The first wait finds half of the time left, and a wrong answer; the second finds 10 ms.
    const FakeDnsServer server([](const DnsQuery &query) { return Datagrams{{Elsewhere(Guessed(query))}}; });
    const FakeClock clock(LONG_TIMEOUT_SEC * 1000 / 2 - 5);
    EXPECT_EQ(Resolve("a.example").result, -1);
}

TEST(DnsResolve, EndsAtOnceWhereNoServerIs)
{
    const FakeDnsServer restoresThePorts([](const DnsQuery &) { return Datagrams{}; });
    // A socket that is connected to itself refuses everybody else, and nobody else can have its port.
    const UniqueFd taken = BindToLoopback(SOCK_DGRAM, g_tRemotePorts.uiDNS);
    const sockaddr_in address = LoopbackAddress(g_tRemotePorts.uiDNS);
    ASSERT_EQ(connect(taken.Get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Resolve("a.example").result, -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[NetUtility_DNSResolve] recvfrom failed (" + std::to_string(ECONNREFUSED) + ")\r\n");
}

TEST(DomainName, IsAskedOfTheResolverFilesFirstServer)
{
    const char *failed = "DNS resolve failed\r";
    const char *noServer = "Get DNS server IP failed\r";
    const char *invalid = "Invalid arguments\r";
    const FakeDnsServer server([](const DnsQuery &q) {
        if (q.name == "bare.example")
            return Datagrams{{Answer(q, {DnsCname("b.example")})}};
        return Datagrams{{q.name == "a.example" ? Here(q) : NoSuchName(q)}};
    });
    const struct {
        const char *description;
        const char *file;
        const char *name;
        int expected;
        int32_t status;
        std::string output = {};
    } cases[] = {
        {"known", "nameserver 127.0.0.1\n", "a.example", 1, 0},
        {"known without an address", "nameserver 127.0.0.1\n", "bare.example", 1, 0},
        {"unknown", "nameserver 127.0.0.1\n", "b.example", 0, NETUTILITY_NO_SUCH_NAME, failed},
        {"the first server alone", "nameserver 127.0.0.1\nnameserver 0.0.0.0\n", "a.example", 1, 0},
        {"a server that is none", "nameserver somewhere\n", "a.example", 0, -1, failed},
        {"an unusable file", "nameserver 127.0.0.1\noptions x\n", "a.example", 0, -1, noServer},
        {"no name", "nameserver 127.0.0.1\n", "", 0, -1, invalid},
        {"not even an empty one", "nameserver 127.0.0.1\n", nullptr, 0, -1, invalid},
    };
    const RootEnvironment root;
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        root.Write("/etc/resolv.conf", c.file);
        int32_t status = 99;
        testing::internal::CaptureStdout();
        EXPECT_EQ(NetUtility_IsValidDomainName(c.name, status), c.expected);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  c.output.empty() ? "" : "[NetUtility_IsValidDomainName] " + c.output);
        EXPECT_EQ(status, c.status);
    }
}

namespace
{

/** Answers the nth query with the nth record, or that there is no such name where its data is empty. */
FakeDnsServer::Script InTurn(std::vector<DnsRecord> records)
{
    return [records, next = size_t{0}](const DnsQuery &query) mutable {
        const DnsRecord &record = records.at(next++);
        return Datagrams{{record.data.empty() ? NoSuchName(query) : Answer(query, {record})}};
    };
}

const DnsRecord UNKNOWN = {1, ""};
const DnsRecord HERE = DnsA(127, 0, 0, 1);
const DnsRecord NOWHERE = DnsA(255, 255, 255, 255); // connect(2) fails at once
const DnsRecord ALIAS = DnsCname("alias.example");

} // namespace

TEST(Connectivity, IsOneOfThreeWebHosts)
{
    const struct {
        const char *description;
        std::vector<DnsRecord> records;
        int32_t expected;
    } cases[] = {
        {"the first alone", {HERE, UNKNOWN, UNKNOWN}, 0},
        {"the second alone", {UNKNOWN, HERE, NOWHERE}, 0},
        {"the third alone", {NOWHERE, NOWHERE, HERE}, 0},
        {"none can be connected to", {NOWHERE, NOWHERE, NOWHERE}, -1},
        {"no name is known", {UNKNOWN, UNKNOWN, UNKNOWN}, NETUTILITY_NO_PROBE_NAME},
        {"no name has an address", {ALIAS, ALIAS, ALIAS}, NETUTILITY_NO_PROBE_NAME},
    };
    EXPECT_EQ(static_cast<uint32_t>(NETUTILITY_NO_PROBE_NAME), 0x810E0001U);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const FakeDnsServer server(InTurn(c.records));
        const UniqueFd web = BindToLoopback(SOCK_STREAM, g_tRemotePorts.uiHTTP);
        ASSERT_EQ(listen(web.Get(), 8), 0);
        {
            const NoDescriptorLeft check;
            EXPECT_EQ(NetUtility_ConnectToInternet(LONG_TIMEOUT_SEC, server.Address()), c.expected);
        }
        std::set<std::string> names;
        for (const DnsQuery &query : server.Queries())
            names.insert(query.name);
        EXPECT_EQ(names.size(), 3U) << "three different names";
    }
}

TEST(Connectivity, AHostThatRefusesIsReached)
{
    const FakeDnsServer server(InTurn({HERE, HERE, HERE}));
    const UniqueFd bound = BindToLoopback(SOCK_STREAM, g_tRemotePorts.uiHTTP); // and not listening
    EXPECT_EQ(NetUtility_ConnectToInternet(LONG_TIMEOUT_SEC, server.Address()), 0);
}

TEST(Connectivity, GivesUpWhenNoHostAnswersInTime)
{
    // A listener with a full queue: further connections stay unanswered.
    const FakeDnsServer server(InTurn({HERE, HERE, HERE}));
    const UniqueFd web = BindToLoopback(SOCK_STREAM, g_tRemotePorts.uiHTTP);
    ASSERT_EQ(listen(web.Get(), 0), 0);
    const sockaddr_in address = LoopbackAddress(g_tRemotePorts.uiHTTP);
    std::vector<UniqueFd> waiting;
    for (int i = 0; i < 4; ++i) {
        waiting.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        const int result =
            connect(waiting.back().Get(), reinterpret_cast<const sockaddr *>(&address), sizeof address);
        ASSERT_TRUE(result == 0 || errno == EINPROGRESS);
    }
    EXPECT_EQ(NetUtility_ConnectToInternet(1, server.Address()), -1);
}

TEST(Connectivity, NeedsBothArguments)
{
    for (const auto &[timeout, server] : {std::pair{0U, 0x0100007FU}, std::pair{1U, 0U}}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(NetUtility_ConnectToInternet(timeout, server), -1);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "[NetUtility_ConnectToInternet] Invalid arguments\r");
    }
}
