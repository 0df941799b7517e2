#include "daemon/netutil/address.h"
#include "daemon/netutil/connectivity.h"
#include "daemon/netutil/dns_message.h"
#include "daemon/netutil/dns_resolver.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/fake_dns_server.h"
#include "tests/fakes/temp_root.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace
{

constexpr uint16_t ID = 0xA55A;
constexpr uint32_t LONG_TIMEOUT_SEC = 600;
const in_addr_t SERVER = htonl(INADDR_LOOPBACK);

/** A name as labels: a length byte before each piece, a 0 byte at the end. */
std::string labels(const std::string &name)
{
    std::string labels;
    std::istringstream pieces(name);
    for (std::string piece; std::getline(pieces, piece, '.');)
        labels += static_cast<char>(piece.size()) + piece;
    return labels + '\0';
}
std::string question(const std::string &name, uint16_t type = 1)
{
    return labels(name) + dns16(type) + dns16(1);
}
std::string query(const std::string &name)
{
    return DnsMessage{"", 0, 0x0100}.bytes(dns16(ID), question(name));
}
/** The owner is a pointer to the question's name unless given. */
std::string record(uint16_t type, const std::string &data, const std::string &owner = "\xC0\x0C")
{
    return owner + dns16(type) + std::string("\0\1\0\0\1\x2C", 6) + dns16(data.size()) + data;
}

const std::string ADDRESS = "\x0A\1\2\3", HERE = record(1, ADDRESS), OTHER = record(1, "\6\6\6\6");
const std::string ALIAS = record(5, labels("b.example"));
const DnsMessage UNKNOWN = {"", 0, 0x8183}, FAILURE = {"", 0, 0x8182};

/** What is made of a packet, which lies in a block of exactly its size, so that a read past its end is seen. */
std::string outcome(const std::string &packet, uint16_t identifier = ID)
{
    constexpr in_addr_t UNTOUCHED = 0x7B7B7B7B;
    in_addr_t address = UNTOUCHED;
    const std::vector<uint8_t> exact(packet.begin(), packet.end());
    const DNSAnswer answer = NetUtility_DNSParseAnswer(exact, identifier, address);
    if (answer == DNSAnswer::Address)
        return inet_ntoa({address});
    EXPECT_EQ(address, UNTOUCHED);
    constexpr const char *WORDS[] = {"", "none", "no such name", "unusable", "not ours"};
    return WORDS[static_cast<size_t>(answer)];
}

/** What is traced by a call that has to give `expected`. */
std::string traced(int32_t expected, const std::function<int32_t()> &call)
{
    testing::internal::CaptureStdout();
    EXPECT_EQ(call(), expected);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(Dns, AQueryIsMadeForWhatIsAName)
{
    const auto built = [](const std::string &name) {
        uint8_t buffer[DNS_MESSAGE_SIZE];
        const int length = NetUtility_DNSBuildQuery(buffer, ID, name.c_str());
        return std::string(buffer, buffer + std::max(length, 0));
    };
    const std::string label(63, 'a'), dotted = label + "." + label + "." + label + ".", longest(61, 'b');
    for (const std::string &good : {std::string("nas"), dotted + longest}) {
        EXPECT_EQ(built(good), query(good));
        EXPECT_EQ(built(good + "."), query(good)) << "the root's dot";
    }
    for (const std::string &bad : {std::string("."), std::string(".a"), std::string("a..b"), label + "a.b",
                                   dotted + longest + "b", std::string(100000, 'a')})
        EXPECT_EQ(built(bad), "") << bad.substr(0, 300);
}

TEST(Dns, AnAnswerGivesItsFirstAddress)
{
    const std::string root(1, '\0');
    // 0xC1 as a length that stays inside: 193 bytes, the 0 byte, then the record that they hide.
    const std::string c1 = "\xC1" + std::string(193, '\x0C') + root;
    const std::pair<DnsMessage, const char *> cases[] = {
        {{ALIAS + record(1, "abc") + HERE + OTHER, 4}, "10.1.2.3"},
        {{record(1, ADDRESS, labels("cdn.example.net"))}, "10.1.2.3"},
        {{record(1, ADDRESS, root)}, "10.1.2.3"},
        {{record(1, ADDRESS, c1)}, "10.1.2.3"},     // KEPT: a pointer begins with C0 alone, C1 is a length,
        {{record(1, ADDRESS, "\xC1\x0C")}, "none"}, // KEPT: which leads out of the packet
        {{ALIAS + OTHER}, "none"},                  // bytes after the counted records
        {{record(28, std::string(16, 'x')) + OTHER, 2}, "none"},
        {{ALIAS, 65535}, "none"},
        {{OTHER, 0}, "unusable"},
        {{OTHER, 1, 0x8180, 2}, "unusable"},
        {FAILURE, "unusable"},
        {{OTHER, 1, 0x8183}, "no such name"},
    };
    for (const auto &[message, expected] : cases) {
        const std::string bytes = message.bytes(dns16(ID), question("a.example"));
        EXPECT_EQ(outcome(bytes), expected);
        EXPECT_EQ(outcome(bytes, ID ^ 0x0100) + outcome(bytes, ID ^ 1), "not oursnot ours");
    }
    EXPECT_EQ(outcome(DnsMessage{HERE}.bytes(dns16(ID), question("a.example", 28))), "unusable");
    const std::string whole = DnsMessage{ALIAS + HERE, 2}.bytes(dns16(ID), question("a.example"));
    for (size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(outcome(whole.substr(0, size)), size < 12                          ? "not ours"
                                                  : size < query("a.example").size() ? "unusable"
                                                                                     : "none")
            << "cut at " << size;
}

TEST(Dns, ResolvingTakesTheServersAnswerInItsTime)
{
    const DnsMessage here = {HERE}, guess = {OTHER, 1, 0x8180, 1, 0x8001}, guessedUnknown = {"", 0, 0x8183, 1, 1};
    FakeDnsServer::Messages late(20, guess);
    late.push_back(here);
    const struct {
        FakeDnsServer::Messages answers;
        int32_t result;
        const char *address; ///< 7.7.7.7: none is stored
        uint32_t stepMs = 0; ///< each look at the clock takes this long
    } cases[] = {
        {{here}, 0, "10.1.2.3"},
        {{UNKNOWN}, NETUTILITY_NO_SUCH_NAME, "7.7.7.7"},
        {{FAILURE, here}, -1, "7.7.7.7"},
        {{{ALIAS}}, 0, "7.7.7.7"}, // KEPT: an answer without an address succeeds
        {{guessedUnknown, here}, 0, "10.1.2.3"},
        {late, 0, "10.1.2.3", 1},
        {late, -1, "7.7.7.7", LONG_TIMEOUT_SEC * 1000 / 10}, // the time is over before the last of them
    };
    std::set<std::string> identifiers;
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        const FakeDnsServer server({c.answers});
        const FakeClock clock(c.stepMs);
        const size_t descriptors = countDescriptors();
        in_addr_t address = inet_addr("7.7.7.7");
        EXPECT_EQ(NetUtility_DNSResolve(SERVER, "camera.example.com", LONG_TIMEOUT_SEC, &address), c.result);
        EXPECT_STREQ(inet_ntoa({address}), c.address);
        EXPECT_EQ(countDescriptors(), descriptors);
        ASSERT_EQ(server.queries().size(), 1U) << "asked once";
        EXPECT_EQ(server.queries()[0].substr(2), query("camera.example.com").substr(2));
        identifiers.insert(server.queries()[0].substr(0, 2));
    }
    EXPECT_GT(identifiers.size(), 4U) << "nobody can foresee them";
}

TEST(Dns, MissingArgumentsAreRefusedAndAddressesNotAskedFor)
{
    const FakeDnsServer server(std::vector<FakeDnsServer::Messages>(1));
    const std::string invalid = "[NetUtility_DNSResolve] Invalid argument\r";
    in_addr_t address = 1;
    const auto resolve = [](in_addr_t from, const char *name, uint32_t timeoutSec, in_addr_t *into) {
        return traced(-1, [&] { return NetUtility_DNSResolve(from, name, timeoutSec, into); });
    };
    EXPECT_EQ(resolve(0, "192.168.0.1", 1, &address), "[NetUtility_DNSResolve] Need DNS server IP\r");
    EXPECT_EQ(resolve(SERVER, nullptr, 1, &address), invalid);
    EXPECT_EQ(resolve(SERVER, "a.example", 0, &address), invalid);
    EXPECT_EQ(resolve(SERVER, "a.example", 1, nullptr), invalid);
    EXPECT_EQ(resolve(SERVER, "a..example", 1, &address), "");
    EXPECT_EQ(traced(-1, [] { return NetUtility_ConnectToInternet(0, SERVER); }),
              "[NetUtility_ConnectToInternet] Invalid arguments\r");
    EXPECT_EQ(address, 1U);
    EXPECT_EQ(NetUtility_DNSResolve(SERVER, "192.168.0.1", 1, &address), 0);
    EXPECT_EQ(address, inet_addr("192.168.0.1"));
    EXPECT_TRUE(server.queries().empty());
}

TEST(Dns, ADomainNameIsAskedOfTheResolverFilesFirstServer)
{
    const RootEnvironment root;
    const struct {
        const char *name;
        DnsMessage answer;
        std::string file;
        int32_t status;
        std::string trace;
    } cases[] = {
        {"a.example", {ALIAS}, "nameserver 127.0.0.1\nnameserver 0.0.0.0\n", 0, ""},
        {"a.example", UNKNOWN, "nameserver 127.0.0.1\n", NETUTILITY_NO_SUCH_NAME, "DNS resolve failed\r"},
        {"a.example", {HERE}, "nameserver 127.0.0.1\noptions x\n", -1, "Get DNS server IP failed\r"},
        {"", {HERE}, "nameserver 127.0.0.1\n", -1, "Invalid arguments\r"},
    };
    for (const auto &c : cases) {
        const FakeDnsServer server({{c.answer}});
        root.write("/etc/resolv.conf", c.file);
        int32_t status = 99;
        EXPECT_EQ(traced(c.status == 0 ? 1 : 0, [&] { return NetUtility_IsValidDomainName(c.name, status); }),
                  (c.trace.empty() ? "" : "[NetUtility_IsValidDomainName] ") + c.trace);
        EXPECT_EQ(status, c.status);
    }
}

TEST(Connectivity, IsOneOfThreeWebHosts)
{
    const DnsMessage local = {record(1, std::string("\x7F\0\0\1", 4))};
    const DnsMessage nowhere = {record(1, "\xFF\xFF\xFF\xFF")}; // connect(2) fails at once
    const struct {
        DnsMessage answers[3];
        int32_t result;
        int backlog = 8; ///< of the web host; -1: it refuses, 0: it is full and never answers
    } cases[] = {
        {{local, UNKNOWN, UNKNOWN}, 0},
        {{nowhere, nowhere, local}, 0},
        {{local, local, local}, 0, -1}, // a host that refuses is reached
        {{local, local, local}, -1, 0},
        {{nowhere, nowhere, nowhere}, -1},
        {{UNKNOWN, UNKNOWN, {ALIAS}}, NETUTILITY_NO_PROBE_NAME},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        const FakeDnsServer server({{c.answers[0]}, {c.answers[1]}, {c.answers[2]}});
        const FileDescriptor web = bindToLoopback(SOCK_STREAM, g_tRemotePorts.uiHTTP);
        if (c.backlog >= 0)
            checked(listen(web.get(), c.backlog), "listen");
        std::vector<FileDescriptor> waiting;
        sockaddr address;
        socklen_t length = sizeof address;
        checked(getsockname(web.get(), &address, &length), "web");
        for (int i = 0; c.backlog == 0 && i < 4; ++i) {
            waiting.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
            (void)connect(waiting.back().get(), &address, length);
        }
        const size_t descriptors = countDescriptors();
        EXPECT_EQ(NetUtility_ConnectToInternet(c.backlog == 0 ? 1 : LONG_TIMEOUT_SEC, SERVER), c.result);
        EXPECT_EQ(countDescriptors(), descriptors);
        std::set<std::string> names;
        for (const std::string &query : server.queries())
            names.insert(query.substr(12));
        EXPECT_EQ(names.size(), 3U) << "three different names";
    }
}
