#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/* A talking client's stream and what the audio decoder gets of it, written down independently of the daemon. */

/** What a stream begins with. */
inline const std::string RANDOM_4CC = "\x5A\x5B\x5C\x5D";

/** The fields of a frame's header that the daemon looks at; good as they stand. */
struct AudioHeader {
    uint32_t id = 0xF6010000;
    uint32_t length = 40;
    uint32_t dataLength = 0;
    uint16_t format = 1;
    uint16_t channels = 1;
    uint16_t sampleRate = 8000;
    uint16_t sampleBits = 8;
    char unused = '\xEE'; ///< fills the bytes that nobody looks at
};

inline std::string audioHeaderBytes(const AudioHeader &header)
{
    std::string bytes(40, header.unused);
    const auto put = [&bytes](size_t at, size_t width, uint32_t value) {
        for (size_t i = 0; i < width; ++i)
            bytes[at + i] = static_cast<char>(value >> 8 * i & 0xFF);
    };
    put(0, 4, header.id);
    put(4, 4, header.length);
    put(8, 4, header.dataLength);
    put(28, 2, header.format);
    put(30, 2, header.channels);
    put(32, 2, header.sampleRate);
    put(34, 2, header.sampleBits);
    return bytes;
}

/** A good frame. */
inline std::string audioFrame(std::string_view payload, uint16_t format = 1)
{
    return audioHeaderBytes({.dataLength = static_cast<uint32_t>(payload.size()), .format = format}) +
           std::string(payload);
}

/** The decoder's configuration message. */
inline const std::string DECODER_CONFIG = std::string("\0\0\0\0CONFG711", 12) + std::string(32, '\0') + "ULAW" +
                                          std::string("\1\0\0\0\1\0\0\0\1\0\0\0\1\0\0\0", 16);

/** The decoder's message for a frame with this payload. */
inline std::string decoderFrame(std::string_view payload)
{
    const size_t length = payload.size() + 44;
    std::string message = {static_cast<char>(length & 0xFF), static_cast<char>(length >> 8), '\0', '\0'};
    message += "G711";
    message.append(36, '\0');
    return message.append(payload);
}

/** Bytes that differ from place to place, so that none can be lost or moved unseen. */
inline std::string audioPayload(size_t size, unsigned seed = 0)
{
    std::string payload(size, '\0');
    for (size_t i = 0; i < size; ++i)
        payload[i] = static_cast<char>((i * 7 + i / 251 + seed * 31) & 0xFF);
    return payload;
}
