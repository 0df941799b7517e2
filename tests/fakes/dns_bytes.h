#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

/* DNS messages (RFC 1035) byte by byte, written independently of the daemon's own. */

inline std::string dns16(uint32_t value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

/** A name as labels: a length byte before each piece, a 0 byte at the end. */
inline std::string dnsLabels(const std::string &name)
{
    std::string labels;
    for (size_t begin = 0; begin <= name.size();) {
        const size_t end = std::min(name.find('.', begin), name.size());
        labels += static_cast<char>(end - begin) + name.substr(begin, end - begin);
        begin = end + 1;
    }
    return labels + '\0';
}

/** One recursive question for the address of a host. */
inline std::string dnsQuestion(uint16_t identifier, const std::string &name)
{
    return dns16(identifier) + std::string("\1\0\0\1\0\0\0\0\0\0", 10) + dnsLabels(name) +
           std::string("\0\1\0\1", 4);
}

struct DnsRecord {
    uint16_t type;
    std::string data;
    std::string owner = "\xC0\x0C"; ///< a pointer to the question's name, which stands after the header
    int dataLength = -1;            ///< -1: the length of the data

    [[nodiscard]] std::string bytes() const
    {
        const std::string classInAndTimeToLive("\0\1\0\0\1\x2C", 6);
        const auto length = static_cast<uint32_t>(dataLength >= 0 ? dataLength : static_cast<int>(data.size()));
        return owner + dns16(type) + classInAndTimeToLive + dns16(length) + data;
    }
};

/** The address 10.1.2.3, or another one by its bytes. */
inline DnsRecord dnsA(const std::string &bytes = "\x0A\1\2\3")
{
    return {1, bytes};
}
inline DnsRecord dnsCname(const std::string &name)
{
    return {5, dnsLabels(name)};
}

/** An answer; the identifier and the name are the query's where a fake server sends it. */
struct DnsMessage {
    std::vector<DnsRecord> records = {};
    uint16_t flags = 0x8180; ///< an answer, recursion desired and available, response code 0
    uint16_t questions = 1;
    uint16_t questionType = 1;
    int answers = -1; ///< -1: the number of the records

    [[nodiscard]] std::string bytes(uint16_t identifier, const std::string &name) const
    {
        const auto count = static_cast<uint32_t>(answers >= 0 ? answers : static_cast<int>(records.size()));
        std::string bytes = dns16(identifier) + dns16(flags) + dns16(questions) + dns16(count) + dns16(0) +
                            dns16(0) + dnsLabels(name) + dns16(questionType) + dns16(1);
        for (const DnsRecord &record : records)
            bytes += record.bytes();
        return bytes;
    }
};
