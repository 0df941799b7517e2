#include "netutil/connectivity.h"
#include "netutil/dns_resolver.h"
#include "tests/fakes/fake_dns_server.h"
#include "tests/fakes/root_environment.h"
#include "tests/fakes/stepping_clock.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <dirent.h>
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

std::string NoSuchName(const DnsQuery &query)
{
    return DnsMessage{query.identifier, query.name, {}, 0x8183}.Bytes();
}

/** A query's answer with another identifier: what somebody sends who has to guess. */
std::string WrongIdentifier(const DnsQuery &query)
{
    DnsQuery guessed = query;
    guessed.identifier ^= 0x8001;
    return Answer(guessed, {DnsA(6, 6, 6, 6)});
}

/** How many descriptors this process has open. */
long OpenDescriptors()
{
    long count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (folder != nullptr && readdir(folder) != nullptr)
        ++count;
    if (folder != nullptr)
        closedir(folder);
    return count;
}

/** Fails the test when more descriptors are open at its end than at its beginning. */
class NoDescriptorLeft
{
  public:
    NoDescriptorLeft() = default;
    ~NoDescriptorLeft() { EXPECT_EQ(OpenDescriptors(), m_before); }

  private:
    long m_before = OpenDescriptors();
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
    const std::string NOT_STORED = "7.7.7.7";
    const struct {
        const char *description;
        FakeDnsServer::Script script;
        int32_t result;
        std::string address;
    } cases[] = {
        {"an address", [](const DnsQuery &q) { return Datagrams{{Answer(q, {DnsA(10, 1, 2, 3)})}}; }, 0,
         "10.1.2.3"},
        {"a chain of names",
         [](const DnsQuery &q) {
             return Datagrams{{Answer(q, {DnsCname("b.example"), DnsCname("c.example"), DnsA(10, 1, 2, 4)})}};
         },
         0, "10.1.2.4"},
        {"no such name", [](const DnsQuery &q) { return Datagrams{{NoSuchName(q)}}; }, NETUTILITY_NO_SUCH_NAME,
         NOT_STORED},
        {"the server's failure",
         [](const DnsQuery &q) {
             return Datagrams{{DnsMessage{q.identifier, q.name, {}, 0x8182}.Bytes()}, {NoSuchName(q)}};
         },
         -1, NOT_STORED},
        {"a wrong identifier, then the right one",
         [](const DnsQuery &q) {
             return Datagrams{{WrongIdentifier(q)}, {Answer(q, {DnsA(10, 1, 2, 5)})}};
         },
         0, "10.1.2.5"},
        {"no such name, from somebody who guesses",
         [](const DnsQuery &q) {
             return Datagrams{{NoSuchName({static_cast<uint16_t>(q.identifier + 1), q.name})},
                              {Answer(q, {DnsA(10, 1, 2, 6)})}};
         },
         0, "10.1.2.6"},
        {"another port that knows the identifier, then the server",
         [](const DnsQuery &q) {
             return Datagrams{{Answer(q, {DnsA(6, 6, 6, 6)}), true}, {Answer(q, {DnsA(10, 1, 2, 7)})}};
         },
         0, "10.1.2.7"},
        {"datagrams too short for an identifier or a header, then the answer",
         [](const DnsQuery &q) {
             const std::string answer = Answer(q, {DnsA(10, 1, 2, 8)});
             return Datagrams{{""}, {answer.substr(0, 1)}, {answer.substr(0, 11)}, {answer}};
         },
         0, "10.1.2.8"},
        {"an answer longer than the buffer",
         [](const DnsQuery &q) { return Datagrams{{Answer(q, {DnsA(10, 1, 2, 9)}) + std::string(1000, '\xC0')}}; },
         0, "10.1.2.9"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        const FakeDnsServer server(c.script);
        const Resolved resolved = Resolve("camera.example.com");
        EXPECT_EQ(resolved.result, c.result);
        EXPECT_EQ(resolved.address, c.address);
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
        return Datagrams{{whole.substr(0, cut)}, {DnsMessage{query.identifier, query.name, {}, 0x8182}.Bytes()}};
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
        {0, "a.example", 1, &address, needServer},
        {0, "192.168.0.1", 1, &address, needServer},
        {server.Address(), nullptr, 1, &address, invalid},
        {server.Address(), "", 1, &address, invalid},
        {server.Address(), "a.example", 0, &address, invalid},
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
        Datagrams datagrams(20, {WrongIdentifier(query)});
        datagrams.push_back({Answer(query, {DnsA(10, 1, 2, 3)})});
        return datagrams;
    });
    {
        const SteppingClock clock(LONG_TIMEOUT_SEC * 1000 / 10);
        EXPECT_EQ(Resolve("a.example").result, -1) << "the time is over before the twentieth look at the clock";
    }
    const SteppingClock clock(1);
    EXPECT_EQ(Resolve("a.example").address, "10.1.2.3");
}

TEST(DnsResolve, WaitsForTheRestOfItsTimeOnly)
{
    // The first wait finds half of the time left, and a wrong answer; the second finds 10 ms.
    const FakeDnsServer server([](const DnsQuery &query) { return Datagrams{{WrongIdentifier(query)}}; });
    const SteppingClock clock(LONG_TIMEOUT_SEC * 1000 / 2 - 5);
    EXPECT_EQ(Resolve("a.example").result, -1);
}

TEST(DnsResolve, EndsAtOnceWhereNoServerIs)
{
    const FakeDnsServer restoresThePorts([](const DnsQuery &) { return Datagrams{}; });
    // A socket that is connected to itself refuses everybody else, and nobody else can have its port.
    const UniqueFd taken = BindToLoopback(SOCK_DGRAM, g_tRemotePorts.uiDNS);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(g_tRemotePorts.uiDNS);
    address.sin_addr.s_addr = FakeDnsServer::Address();
    ASSERT_EQ(connect(taken.Get(), reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Resolve("a.example").result, -1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[NetUtility_DNSResolve] recvfrom failed (" + std::to_string(ECONNREFUSED) + ")\r\n");
}

TEST(DomainName, IsAskedOfTheResolverFilesFirstServer)
{
    const std::string failed = "[NetUtility_IsValidDomainName] DNS resolve failed\r";
    const std::string noServer = "[NetUtility_IsValidDomainName] Get DNS server IP failed\r";
    const std::string invalid = "[NetUtility_IsValidDomainName] Invalid arguments\r";
    const FakeDnsServer server([](const DnsQuery &q) {
        if (q.name == "bare.example")
            return Datagrams{{Answer(q, {DnsCname("b.example")})}};
        return Datagrams{{q.name == "a.example" ? Answer(q, {DnsA(10, 1, 2, 3)}) : NoSuchName(q)}};
    });
    const struct {
        const char *description;
        const char *file;
        const char *name;
        int expected;
        int32_t status;
        std::string output;
    } cases[] = {
        {"known", "nameserver 127.0.0.1\n", "a.example", 1, 0, ""},
        {"known without an address", "nameserver 127.0.0.1\n", "bare.example", 1, 0, ""},
        {"unknown", "nameserver 127.0.0.1\n", "b.example", 0, NETUTILITY_NO_SUCH_NAME, failed},
        {"the first server alone", "nameserver 127.0.0.1\nnameserver 0.0.0.0\n", "a.example", 1, 0, ""},
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
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.output);
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
        {"all three", {HERE, HERE, HERE}, 0},
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
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(g_tRemotePorts.uiHTTP);
    address.sin_addr.s_addr = server.Address();
    std::vector<UniqueFd> waiting;
    for (int i = 0; i < 4; ++i) {
        waiting.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        const int result = connect(waiting.back().Get(), reinterpret_cast<sockaddr *>(&address), sizeof address);
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
