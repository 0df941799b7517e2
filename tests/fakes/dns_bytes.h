#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

/* DNS messages (RFC 1035) byte by byte, written independently of the daemon's own. */

inline std::string Dns16(uint32_t value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

/** A name as labels: a length byte before each piece, a 0 byte at the end. */
inline std::string DnsLabels(const std::string &name)
{
    std::string labels;
    for (size_t begin = 0; begin <= name.size();) {
        const size_t end = std::min(name.find('.', begin), name.size());
        labels += static_cast<char>(end - begin);
        labels += name.substr(begin, end - begin);
        begin = end + 1;
    }
    return labels + '\0';
}

/** The owner name of most records: a pointer to the question's name, which stands behind the header. */
inline const std::string DNS_QUESTION_POINTER("\xC0\x0C", 2);

struct DnsRecord {
    uint16_t type;
    std::string data;
    std::string owner = DNS_QUESTION_POINTER;
    int dataLength = -1; ///< -1: the length of the data

    [[nodiscard]] std::string Bytes() const
    {
        const std::string classInAndTimeToLive("\0\1\0\0\1\x2C", 6);
        const auto length = static_cast<uint32_t>(dataLength >= 0 ? dataLength : static_cast<int>(data.size()));
        return owner + Dns16(type) + classInAndTimeToLive + Dns16(length) + data;
    }
};

inline DnsRecord DnsA(uint8_t a, uint8_t b, uint8_t c, uint8_t d)
{
    return {1, {static_cast<char>(a), static_cast<char>(b), static_cast<char>(c), static_cast<char>(d)}};
}
inline DnsRecord DnsCname(const std::string &name)
{
    return {5, DnsLabels(name)};
}

struct DnsMessage {
    uint16_t identifier = 0;
    std::string name = "camera.example.com";
    std::vector<DnsRecord> records = {};
    uint16_t flags = 0x8180; ///< an answer, recursion desired and available, response code 0
    uint16_t questions = 1;
    uint16_t questionType = 1;
    int answers = -1; ///< -1: the number of the records

    [[nodiscard]] std::string Bytes() const
    {
        const auto count = static_cast<uint32_t>(answers >= 0 ? answers : static_cast<int>(records.size()));
        std::string bytes = Dns16(identifier) + Dns16(flags) + Dns16(questions) + Dns16(count) + Dns16(0) +
                            Dns16(0) + DnsLabels(name) + Dns16(questionType) + Dns16(1);
        for (const DnsRecord &record : records)
            bytes += record.Bytes();
        return bytes;
    }
};
