#include "daemon/netutil/dns_message.h"
#include "tests/fakes/dns_bytes.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

namespace
{

constexpr uint16_t ID = 0xA55A;

/** What is made of a packet, which lies in a block of exactly its size, so that a read past its end is seen. */
std::string Outcome(const std::string &packet, uint16_t identifier = ID)
{
    constexpr in_addr_t UNTOUCHED = 0x7B7B7B7B;
    in_addr_t address = UNTOUCHED;
    const std::vector<uint8_t> exact(packet.begin(), packet.end());
    const DNSAnswer answer = NetUtility_DNSParseAnswer(exact, identifier, address);
    if (answer == DNSAnswer::Address)
        return inet_ntoa({address});
    EXPECT_EQ(address, UNTOUCHED);
    return answer == DNSAnswer::NoAddress    ? "none"
           : answer == DNSAnswer::NoSuchName ? "no such name"
           : answer == DNSAnswer::Unusable   ? "unusable"
                                             : "not ours";
}

} // namespace

TEST(DnsQuery, IsMadeForWhatIsAName)
{
    const auto query = [](const std::string &name) {
        uint8_t buffer[DNS_MESSAGE_SIZE];
        const int length = NetUtility_DNSBuildQuery(buffer, ID, name.c_str());
        return std::string(buffer, buffer + std::max(length, 0));
    };
    const std::string label(63, 'a'), dotted = label + "." + label + "." + label + ".", longest(61, 'b');
    for (const std::string &good : {std::string("nas"), "www." + label + ".b", dotted + longest}) {
        EXPECT_EQ(query(good), dnsQuestion(ID, good));
        EXPECT_EQ(query(good + "."), dnsQuestion(ID, good)) << "the root's dot";
    }
    for (const std::string &bad :
         {std::string(), std::string("."), std::string(".."), std::string(".a"), std::string("a.."),
          std::string("a..b"), label + "a.b", dotted + longest + "b", std::string(100000, 'a')})
        EXPECT_EQ(query(bad), "") << bad.substr(0, 300);
}

TEST(DnsAnswer, GivesTheFirstAddress)
{
    const DnsRecord here = dnsA(), other = dnsA("\x09\x09\x09\x09"), alias = dnsCname("b.example.net");
    const std::string address = here.data, root(1, '\0');
    // 0xC1 as a length that stays inside: 193 bytes, the 0 byte, then the record that they hide.
    const std::string c1 = "\xC1" + std::string(193, '\x0C') + root;
    const struct {
        const char *description;
        DnsMessage message;
        const char *expected;
    } cases[] = {
        {"the first of two", {{here, other}}, "10.1.2.3"},
        {"a chain of names", {{alias, dnsCname("c.example"), here}}, "10.1.2.3"},
        {"an owner written out", {{{1, address, dnsLabels("cdn.example.net")}}}, "10.1.2.3"},
        {"an owner that is the root", {{{1, address, root}}}, "10.1.2.3"},
        {"a pointer to itself is not followed", {{{1, address, "\xC0\x13"}}}, "10.1.2.3"},
        {"records of other lengths", {{{1, "abc"}, {1, "abcdefgh"}, here}}, "10.1.2.3"},
        {"KEPT: a pointer begins with C0 alone, C1 is a length", {{{1, address, c1}}}, "10.1.2.3"},
        {"KEPT: which leads out of the packet", {{{1, address, "\xC1\x0C"}}}, "none"},
        {"KEPT: so does FF", {{{1, address, "\xFF\x0C"}}}, "none"},
        {"bytes after the counted records", {.records = {alias, other}, .answers = 1}, "none"},
        {"names alone", {{alias, alias}}, "none"},
        {"another type ends the walk", {{{28, std::string(16, 'x')}, other}}, "none"},
        {"fewer records than counted", {.records = {alias}, .answers = 65535}, "none"},
        {"data past the packet", {{{.type = 5, .data = "x", .dataLength = 65535}}}, "none"},
        {"an address past the packet", {{{.type = 1, .data = "abc", .dataLength = 4}}}, "none"},
        {"no answers counted", {.records = {other}, .answers = 0}, "unusable"},
        {"no question counted", {.records = {other}, .questions = 0}, "unusable"},
        {"two questions counted", {.records = {other}, .questions = 2}, "unusable"},
        {"another question", {.records = {other}, .questionType = 28}, "unusable"},
        {"the server's failure", {.flags = 0x8182}, "unusable"},
        {"no such name", {.records = {other}, .flags = 0x8183}, "no such name"},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(Outcome(c.message.bytes(ID, "a.example")), c.expected) << c.description;
        EXPECT_EQ(Outcome(c.message.bytes(ID, "a.example"), ID ^ 0x0100), "not ours") << c.description;
        EXPECT_EQ(Outcome(c.message.bytes(ID, "a.example"), ID ^ 1), "not ours") << c.description;
    }
    const std::string whole = DnsMessage{{alias, here}}.bytes(ID, "a.example");
    const size_t question = dnsQuestion(ID, "a.example").size();
    for (size_t size = 0; size < whole.size(); ++size)
        EXPECT_EQ(Outcome(whole.substr(0, size)), size < 12         ? "not ours"
                                                  : size < question ? "unusable"
                                                                    : "none")
            << "cut at " << size;
}
