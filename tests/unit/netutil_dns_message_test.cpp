#include "daemon/netutil/dns_message.h"
#include "tests/fakes/dns_bytes.h"

#include <arpa/inet.h>
#include <cstring>
#include <gtest/gtest.h>

namespace
{

constexpr uint16_t ID = 0xA55A;
constexpr in_addr_t UNTOUCHED = 0x7B7B7B7B;

/** Parses a copy in a block of exactly its size, so that a read behind the packet's end is seen. */
DNSAnswer Parse(const std::string &packet, in_addr_t &address)
{
    const auto exact = std::make_unique<uint8_t[]>(packet.size());
    memcpy(exact.get(), packet.data(), packet.size());
    address = UNTOUCHED;
    return NetUtility_DNSParseAnswer({exact.get(), packet.size()}, ID, address);
}

/** The query without its first two bytes, the identifier; "(refused)" when there is none. */
std::string Query(const std::string &name)
{
    uint8_t buffer[DNS_MESSAGE_SIZE];
    const int length = NetUtility_DNSBuildQuery(buffer, 0x1234, name.c_str());
    if (length < 2)
        return "(refused)";
    EXPECT_EQ(buffer[0], 0x12);
    EXPECT_EQ(buffer[1], 0x34);
    return {buffer + 2, buffer + length};
}

} // namespace

TEST(DnsQuery, IsOneRecursiveQuestionForAnAddress)
{
    const std::string head("\1\0\0\1\0\0\0\0\0\0", 10);
    const std::string tail("\0\0\1\0\1", 5);
    EXPECT_EQ(Query("www.example.com"), head + "\3www\7example\3com" + tail);
    EXPECT_EQ(Query("www.example.com."), head + "\3www\7example\3com" + tail) << "the root's dot";
    EXPECT_EQ(Query("nas"), head + "\3nas" + tail);
}

TEST(DnsQuery, RefusesWhatIsNoName)
{
    const std::string label63(63, 'a');
    const std::string dotted3 = label63 + "." + label63 + "." + label63 + ".";
    EXPECT_NE(Query(label63 + ".b"), "(refused)");
    EXPECT_EQ(Query(label63 + "a.b"), "(refused)") << "a length of 64 would not be a length any more";
    EXPECT_NE(Query(dotted3 + std::string(61, 'b')), "(refused)") << "255 bytes on the wire";
    EXPECT_NE(Query(dotted3 + std::string(61, 'b') + "."), "(refused)");
    EXPECT_EQ(Query(dotted3 + std::string(62, 'b')), "(refused)");
    EXPECT_EQ(Query(std::string(100000, 'a')), "(refused)");
    for (const char *bad : {"", ".", "..", ".a", "a..", "a..b"})
        EXPECT_EQ(Query(bad), "(refused)") << bad;
}

TEST(DnsAnswer, GivesTheFirstAddress)
{
    const auto outcome = [](const DnsMessage &message) -> std::string {
        in_addr_t address;
        const DNSAnswer answer = Parse(message.Bytes(), address);
        if (answer == DNSAnswer::Address)
            return inet_ntoa({address});
        EXPECT_EQ(address, UNTOUCHED);
        return answer == DNSAnswer::NoAddress    ? "none"
               : answer == DNSAnswer::NoSuchName ? "no such name"
               : answer == DNSAnswer::Unusable   ? "unusable"
                                                 : "not ours";
    };
    const DnsRecord address = DnsA(10, 1, 2, 3), other = DnsA(9, 9, 9, 9), alias = DnsCname("b.example.net");
    const std::string bytes = address.data;
    EXPECT_EQ(outcome({ID, "a.example", {address, other}}), "10.1.2.3");
    EXPECT_EQ(outcome({ID, "a.example", {alias, DnsCname("c.example"), address}}), "10.1.2.3");
    EXPECT_EQ(outcome({ID, "a", {{1, bytes, DnsLabels("cdn.example.net")}}}), "10.1.2.3") << "an owner written out";
    EXPECT_EQ(outcome({ID, "a", {{1, bytes, std::string(1, '\0')}}}), "10.1.2.3") << "an owner that is the root";
    EXPECT_EQ(outcome({ID, "a", {{1, bytes, "\xC0\x13"}}}), "10.1.2.3") << "a pointer to itself is not followed";
    EXPECT_EQ(outcome({ID, "a", {{1, "abc"}, {1, "abcdefgh"}, address}}), "10.1.2.3") << "records of other lengths";

    EXPECT_EQ(outcome({ID, "a", {alias, other}, 0x8180, 1, 1, 1}), "none") << "bytes behind the counted records";
    EXPECT_EQ(outcome({ID, "a", {alias, alias}}), "none");
    EXPECT_EQ(outcome({ID, "a", {{28, std::string(16, 'x')}, other}}), "none") << "another type ends the walk";
    EXPECT_EQ(outcome({ID, "a", {alias}, 0x8180, 1, 1, 65535}), "none") << "fewer records than counted";
    EXPECT_EQ(outcome({ID, "a", {{5, "x", DNS_QUESTION_POINTER, 65535}}}), "none") << "data past the packet";
    EXPECT_EQ(outcome({ID, "a", {{1, "abc", DNS_QUESTION_POINTER, 4}}}), "none") << "an address past the packet";

    EXPECT_EQ(outcome({ID, "a", {other}, 0x8180, 1, 1, 0}), "unusable") << "no answers counted";
    EXPECT_EQ(outcome({ID, "a", {other}, 0x8180, 0}), "unusable") << "no question counted";
    EXPECT_EQ(outcome({ID, "a", {other}, 0x8180, 2}), "unusable") << "two questions counted";
    EXPECT_EQ(outcome({ID, "a", {other}, 0x8180, 1, 28}), "unusable") << "another question";
    EXPECT_EQ(outcome({ID, "a", {}, 0x8182}), "unusable") << "the server's failure";
    EXPECT_EQ(outcome({ID, "a", {other}, 0x8183}), "no such name");
    EXPECT_EQ(outcome({ID ^ 0x0100, "a", {other}}), "not ours");
    EXPECT_EQ(outcome({ID ^ 1, "a", {}, 0x8183}), "not ours");
}

TEST(DnsAnswer, KeptPointerBeginsWithC0Alone)
{
    in_addr_t address;
    // The other first bytes of pointers are lengths of labels here, which lead out of the packet.
    for (const char *owner : {"\xC1\x0C", "\xFF\x0C"}) {
        const DnsMessage message{ID, "a.example", {{1, "\x0A\1\2\3", owner}}};
        EXPECT_EQ(Parse(message.Bytes(), address), DNSAnswer::NoAddress);
        EXPECT_EQ(address, UNTOUCHED);
    }
    // 0xC1 as a length that stays inside: 193 bytes, the 0 byte, then the record that they hide.
    const std::string label = "\xC1" + std::string(193, '\x0C') + std::string(1, '\0');
    EXPECT_EQ(Parse(DnsMessage{ID, "a", {{1, "\x0A\1\2\3", label}}}.Bytes(), address), DNSAnswer::Address);
    EXPECT_EQ(address, inet_addr("10.1.2.3"));
}

TEST(DnsAnswer, CutAtEveryByteGivesNoAddress)
{
    const std::string whole =
        DnsMessage{ID, "camera.example.com", {DnsCname("edge.example.net"), DnsA(10, 1, 2, 3)}}.Bytes();
    const size_t question = 12 + DnsLabels("camera.example.com").size() + 4;
    for (size_t size = 0; size < whole.size(); ++size) {
        in_addr_t address;
        const DNSAnswer expected = size < 12         ? DNSAnswer::NotOurs
                                   : size < question ? DNSAnswer::Unusable
                                                     : DNSAnswer::NoAddress;
        EXPECT_EQ(Parse(whole.substr(0, size), address), expected) << size << " bytes";
        EXPECT_EQ(address, UNTOUCHED) << size << " bytes";
    }
    in_addr_t address;
    EXPECT_EQ(Parse(whole, address), DNSAnswer::Address);
}
