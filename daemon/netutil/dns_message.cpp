#include "daemon/netutil/dns_message.h"

#include <cstring>
#include <string_view>

namespace
{

// RFC 1035: 2.3.4 (limits), 3.2.2 and 3.2.4 (types and classes), 4.1.1 (header).
constexpr size_t MAX_LABEL = 63;
constexpr size_t MAX_NAME = 255;
constexpr uint16_t FLAG_RECURSION_DESIRED = 0x0100;
constexpr uint16_t RESPONSE_CODE_MASK = 0x000F;
constexpr uint16_t RESPONSE_NO_SUCH_NAME = 3;
constexpr uint16_t TYPE_A = 1;
constexpr uint16_t TYPE_CNAME = 5;
constexpr uint16_t CLASS_IN = 1;
constexpr uint8_t POINTER = 0xC0;

/** Appends to a message that has room: a header, a name of at most MAX_NAME and a question always fit. */
struct Writer {
    std::span<uint8_t, DNS_MESSAGE_SIZE> out;
    size_t length = 0;

    void Put8(size_t value) { out[length++] = static_cast<uint8_t>(value); }
    void Put16(uint16_t uiValue)
    {
        Put8(uiValue >> 8);
        Put8(uiValue & 0xFF);
    }
    void PutText(std::string_view text)
    {
        memcpy(out.data() + length, text.data(), text.size());
        length += text.size();
    }
};

/** Takes a packet apart from front to back. What lies behind its end reads as 0, and a flag that sticks says so. */
struct Reader {
    std::span<const uint8_t> rest;
    bool overrun = false;

    void Skip(size_t count)
    {
        overrun = overrun || count > rest.size();
        rest = overrun ? rest.last(0) : rest.subspan(count);
    }
    uint8_t Peek8() const { return rest.empty() ? 0 : rest.front(); }
    uint8_t Take8()
    {
        const uint8_t uiValue = Peek8();
        Skip(1);
        return uiValue;
    }
    uint16_t Take16()
    {
        const uint8_t uiHigh = Take8();
        return static_cast<uint16_t>(uiHigh << 8 | Take8());
    }

    /** Passes over labels up to their 0 byte; each step takes at least one byte, so this ends with the packet. */
    void SkipLabels()
    {
        while (const uint8_t uiLength = Take8())
            Skip(uiLength);
    }
    void SkipOwner()
    {
        // KEPT: 0xC0 alone begins a pointer. One to offset 256 or more begins with a larger byte and counts as the
        // length of a label; the addresses of such answers have never been found.
        if (Peek8() == POINTER)
            Skip(2);
        else
            SkipLabels();
    }
};

/** Walks the answer section, which `reader` stands before. */
DNSAnswer TakeAddress(Reader &reader, uint16_t uiAnswers, in_addr_t &uiAddress)
{
    for (uint16_t uiAnswer = 0; uiAnswer < uiAnswers; ++uiAnswer) {
        reader.SkipOwner();
        const uint16_t uiType = reader.Take16();
        reader.Skip(2 + 4); // class and time to live
        const uint16_t uiDataLength = reader.Take16();
        if (reader.overrun || (uiType != TYPE_A && uiType != TYPE_CNAME))
            return DNSAnswer::NoAddress;
        if (uiType == TYPE_A && uiDataLength == sizeof uiAddress && reader.rest.size() >= sizeof uiAddress) {
            memcpy(&uiAddress, reader.rest.data(), sizeof uiAddress);
            return DNSAnswer::Address;
        }
        reader.Skip(uiDataLength);
    }
    return DNSAnswer::NoAddress;
}

} // namespace

int NetUtility_DNSBuildQuery(std::span<uint8_t, DNS_MESSAGE_SIZE> out, uint16_t uiIdentifier, const char *pcName)
{
    std::string_view name = pcName;
    if (name.ends_with('.'))
        name.remove_suffix(1);
    // On the wire each dot becomes a length byte; another one stands in front and the 0 byte behind.
    if (name.size() + 2 > MAX_NAME)
        return -1;

    Writer writer{out};
    writer.Put16(uiIdentifier);
    writer.Put16(FLAG_RECURSION_DESIRED);
    writer.Put16(1); // one question
    for (int i = 0; i < 3; ++i)
        writer.Put16(0); // neither answers nor authorities nor additional records
    for (bool more = true; more;) {
        const size_t dot = name.find('.');
        more = dot != std::string_view::npos;
        const std::string_view label(name.data(), more ? dot : name.size());
        if (label.empty() || label.size() > MAX_LABEL)
            return -1;
        writer.Put8(label.size());
        writer.PutText(label);
        name.remove_prefix(label.size() + (more ? 1 : 0));
    }
    writer.Put8(0);
    writer.Put16(TYPE_A);
    writer.Put16(CLASS_IN);
    return static_cast<int>(writer.length);
}

DNSAnswer NetUtility_DNSParseAnswer(std::span<const uint8_t> packet, uint16_t uiIdentifier, in_addr_t &uiAddress)
{
    Reader reader{packet};
    const uint16_t uiGivenIdentifier = reader.Take16();
    const uint16_t uiFlags = reader.Take16();
    const uint16_t uiQuestions = reader.Take16();
    const uint16_t uiAnswers = reader.Take16();
    reader.Skip(2 + 2); // the counts of authorities and additional records
    if (reader.overrun || uiGivenIdentifier != uiIdentifier)
        return DNSAnswer::NotOurs;
    if ((uiFlags & RESPONSE_CODE_MASK) == RESPONSE_NO_SUCH_NAME)
        return DNSAnswer::NoSuchName;
    if (uiQuestions != 1 || uiAnswers == 0)
        return DNSAnswer::Unusable;

    reader.SkipLabels();
    const uint16_t uiType = reader.Take16();
    reader.Skip(2); // class
    if (reader.overrun || uiType != TYPE_A)
        return DNSAnswer::Unusable;
    return TakeAddress(reader, uiAnswers, uiAddress);
}
