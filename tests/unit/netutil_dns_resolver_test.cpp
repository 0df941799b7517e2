#include "daemon/netutil/connectivity.h"
#include "daemon/netutil/dns_resolver.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/fake_dns_server.h"
#include "tests/fakes/temp_root.h"

#include <arpa/inet.h>
#include <atomic>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/socket.h>

namespace
{

using Datagrams = std::vector<FakeDnsServer::Datagram>;

constexpr uint32_t LONG_TIMEOUT_SEC = 600;
const DnsRecord HERE = DnsA(10, 1, 2, 3);

std::string Answer(const DnsQuery &query, std::vector<DnsRecord> records)
{
    return DnsMessage{query.identifier, query.name, std::move(records)}.Bytes();
}

std::string Here(const DnsQuery &query)
{
    return Answer(query, {HERE});
}

/** What somebody sends who wants the client elsewhere. */
std::string Elsewhere(const DnsQuery &query)
{
    return Answer(query, {DnsA(6, 6, 6, 6)});
}

std::string Failure(const DnsQuery &query)
{
    return DnsMessage{query.identifier, query.name, {}, 0x8182}.Bytes();
}

std::string NoSuchName(const DnsQuery &query)
{
    return DnsMessage{query.identifier, query.name, {}, 0x8183}.Bytes();
}

using Part = std::function<std::string(const DnsQuery &)>;

/** The part for somebody who has to guess the identifier. */
Part Guessed(const Part &part)
{
    return [part](const DnsQuery &q) { return part({static_cast<uint16_t>(q.identifier ^ 0x8001), q.name}); };
}

/** As much of the server's answer as the bytes that are given. */
Part Cut(size_t size)
{
    return [size](const DnsQuery &query) { return Here(query).substr(0, size); };
}

FakeDnsServer::Script InOrder(std::vector<Part> parts)
{
    return [parts = std::move(parts)](const DnsQuery &query) {
        Datagrams datagrams;
        for (const Part &part : parts)
            datagrams.push_back({part(query)});
        return datagrams;
    };
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
    const auto chain = [](Q q) { return Answer(q, {DnsCname("b.example"), DnsCname("c.example"), HERE}); };
    const auto tooLong = [](Q q) { return Here(q) + std::string(1000, '\xC0'); };
    const auto otherPort = [](Q q) { return Datagrams{{Elsewhere(q), true}, {Here(q)}}; };
    const struct {
        const char *description;
        FakeDnsServer::Script script;
        int32_t result;
    } cases[] = {
        {"a chain of names", InOrder({chain}), 0},
        {"no such name", InOrder({NoSuchName}), NETUTILITY_NO_SUCH_NAME},
        {"the server's failure", InOrder({Failure, Here}), -1},
        {"a wrong identifier", InOrder({Guessed(Elsewhere), Here}), 0},
        {"no such name, from somebody who guesses", InOrder({Guessed(NoSuchName), Here}), 0},
        {"another port that knows the identifier", otherPort, 0},
        {"too short for an identifier or a header", InOrder({Cut(0), Cut(1), Cut(11), Here}), 0},
        {"longer than the buffer", InOrder({tooLong}), 0},
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
        const FakeDnsServer server(InOrder({[&record](const DnsQuery &q) { return Answer(q, {record}); }}));
        const Resolved resolved = Resolve("camera.example.com");
        EXPECT_EQ(resolved.result, 0);
        EXPECT_EQ(resolved.address, "7.7.7.7");
    }
}

TEST(DnsResolve, AnswersCutAtEveryByteEndTheCall)
{
    const size_t question = 12 + DnsLabels("a.example").size() + 4;
    const size_t whole = Here({0, "a.example"}).size();
    for (size_t cut = 0; cut <= whole; ++cut) {
        // What is cut before the identifier can be told is passed over; the failure behind it ends the call.
        const FakeDnsServer server(InOrder({Cut(cut), Failure}));
        const Resolved resolved = Resolve("a.example");
        EXPECT_EQ(resolved.result, cut < question ? -1 : 0) << cut << " bytes";
        EXPECT_EQ(resolved.address, cut < whole ? "7.7.7.7" : "10.1.2.3") << cut << " bytes";
    }
}

TEST(DnsResolve, NeedsNoNetworkForAnAddress)
{
    const FakeDnsServer server(InOrder({}));
    EXPECT_EQ(Resolve("192.168.0.1").result, 0);
    EXPECT_EQ(Resolve("192.168.0.1").address, "192.168.0.1");
    EXPECT_EQ(Resolve("1.2.3.999").address, "255.255.255.255") << "what inet_addr makes of it";
    EXPECT_TRUE(server.Queries().empty());
}

TEST(DnsResolve, RefusesMissingArguments)
{
    const FakeDnsServer server(InOrder({}));
    in_addr_t address = 1;
    const auto refused = [](in_addr_t at, const char *name, uint32_t timeoutSec, in_addr_t *into) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(NetUtility_DNSResolve(at, name, timeoutSec, into), -1);
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(refused(0, "192.168.0.1", 1, &address), "[NetUtility_DNSResolve] Need DNS server IP\r");
    const std::string invalid = "[NetUtility_DNSResolve] Invalid argument\r";
    EXPECT_EQ(refused(server.Address(), nullptr, 1, &address), invalid);
    EXPECT_EQ(refused(server.Address(), "", 1, &address), invalid);
    EXPECT_EQ(refused(server.Address(), "192.168.0.1", 0, &address), invalid);
    EXPECT_EQ(refused(server.Address(), "a.example", 1, nullptr), invalid);
    EXPECT_EQ(refused(server.Address(), "a..example", 1, &address), "");
    EXPECT_EQ(address, 1U);
    EXPECT_TRUE(server.Queries().empty());
}

TEST(DnsResolve, IdentifiersDoNotRepeat)
{
    const FakeDnsServer server(InOrder({NoSuchName}));
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
    std::vector<Part> parts(20, Guessed(Elsewhere));
    parts.emplace_back(Here);
    const FakeDnsServer server(InOrder(parts));
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
    const FakeDnsServer server(InOrder({Guessed(Elsewhere)}));
    const FakeClock clock(LONG_TIMEOUT_SEC * 1000 / 2 - 5);
    EXPECT_EQ(Resolve("a.example").result, -1);
}

TEST(DnsResolve, EndsAtOnceWhereNoServerIs)
{
    const FakeDnsServer restoresThePorts(InOrder({}));
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
    const FakeDnsServer server(InOrder({[](const DnsQuery &q) {
        return q.name == "a.example"      ? Here(q)
               : q.name == "bare.example" ? Answer(q, {DnsCname("b.example")})
                                          : NoSuchName(q);
    }}));
    const RootEnvironment root;
    const auto checked = [&root](const char *name, int32_t expectedStatus, const std::string &file) {
        root.Write("/etc/resolv.conf", file);
        int32_t status = 99;
        testing::internal::CaptureStdout();
        const int valid = NetUtility_IsValidDomainName(name, status);
        EXPECT_EQ(status, expectedStatus);
        return std::to_string(valid) + testing::internal::GetCapturedStdout();
    };
    const std::string good = "nameserver 127.0.0.1\n", failed = "0[NetUtility_IsValidDomainName] ";
    EXPECT_EQ(checked("a.example", 0, good), "1");
    EXPECT_EQ(checked("bare.example", 0, good), "1") << "known without an address";
    EXPECT_EQ(checked("a.example", 0, good + "nameserver 0.0.0.0\n"), "1") << "the first server alone";
    EXPECT_EQ(checked("b.example", NETUTILITY_NO_SUCH_NAME, good), failed + "DNS resolve failed\r");
    EXPECT_EQ(checked("a.example", -1, "nameserver somewhere\n"), failed + "DNS resolve failed\r");
    EXPECT_EQ(checked("a.example", -1, good + "options x\n"), failed + "Get DNS server IP failed\r");
    EXPECT_EQ(checked("", -1, good), failed + "Invalid arguments\r");
    EXPECT_EQ(checked(nullptr, -1, good), failed + "Invalid arguments\r");
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
const DnsRecord LOCAL = DnsA(127, 0, 0, 1);
const DnsRecord NOWHERE = DnsA(255, 255, 255, 255); // connect(2) fails at once
const DnsRecord ALIAS = DnsCname("alias.example");

} // namespace

TEST(Connectivity, IsOneOfThreeWebHosts)
{
    const auto probed = [](const std::vector<DnsRecord> &records) {
        const FakeDnsServer server(InTurn(records));
        const UniqueFd web = BindToLoopback(SOCK_STREAM, g_tRemotePorts.uiHTTP);
        EXPECT_EQ(listen(web.Get(), 8), 0);
        const NoDescriptorLeft check;
        const int32_t result = NetUtility_ConnectToInternet(LONG_TIMEOUT_SEC, server.Address());
        std::set<std::string> names;
        for (const DnsQuery &query : server.Queries())
            names.insert(query.name);
        EXPECT_EQ(names.size(), 3U) << "three different names";
        return result;
    };
    EXPECT_EQ(probed({LOCAL, UNKNOWN, UNKNOWN}), 0);
    EXPECT_EQ(probed({UNKNOWN, LOCAL, NOWHERE}), 0);
    EXPECT_EQ(probed({NOWHERE, NOWHERE, LOCAL}), 0);
    EXPECT_EQ(probed({NOWHERE, NOWHERE, NOWHERE}), -1);
    EXPECT_EQ(probed({UNKNOWN, UNKNOWN, UNKNOWN}), NETUTILITY_NO_PROBE_NAME);
    EXPECT_EQ(probed({ALIAS, ALIAS, ALIAS}), NETUTILITY_NO_PROBE_NAME) << "names without an address";
    EXPECT_EQ(static_cast<uint32_t>(NETUTILITY_NO_PROBE_NAME), 0x810E0001U);
}

TEST(Connectivity, AHostThatRefusesIsReached)
{
    const FakeDnsServer server(InTurn({LOCAL, LOCAL, LOCAL}));
    const UniqueFd bound = BindToLoopback(SOCK_STREAM, g_tRemotePorts.uiHTTP); // and not listening
    EXPECT_EQ(NetUtility_ConnectToInternet(LONG_TIMEOUT_SEC, server.Address()), 0);
}

TEST(Connectivity, GivesUpWhenNoHostAnswersInTime)
{
    // A listener with a full queue: further connections stay unanswered.
    const FakeDnsServer server(InTurn({LOCAL, LOCAL, LOCAL}));
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
