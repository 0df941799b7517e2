// A datagram that the resolver takes for an answer to its query 0xA55A. Input: the datagram.

#include "daemon/netutil/dns_message.h"
#include "fuzz/environment.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr in_addr_t UNTOUCHED = 0x7B7B7B7B;
    in_addr_t address = UNTOUCHED;
    const DNSAnswer outcome = NetUtility_DNSParseAnswer({data, std::min(size, DNS_MESSAGE_SIZE)}, 0xA55A, address);
    // The address may only be touched by an outcome that says so, and is four bytes of the packet then.
    const std::string_view packet(reinterpret_cast<const char *>(data), size);
    const std::string_view taken(reinterpret_cast<const char *>(&address), sizeof address);
    require(outcome == DNSAnswer::Address ? packet.find(taken, 12) != packet.npos : address == UNTOUCHED);
    return 0;
}
