#pragma once

#include <cstdint>
#include <string>
#include <vector>

/* WAV files, made piece by piece so that a test can damage each. */

inline std::string littleEndian(uint32_t value, size_t width)
{
    std::string bytes;
    for (size_t i = 0; i < width; ++i)
        bytes += static_cast<char>(value >> 8 * i & 0xFF);
    return bytes;
}

struct WavFormat {
    uint16_t tag = 1;
    uint16_t channels = 1;
    uint32_t sampleRate = 8000;
    uint16_t bits = 16;
    std::string extension = {}; ///< what stands behind the 16 bytes of a PCM format
};

inline std::string wavChunk(const std::string &name, const std::string &content)
{
    return name + littleEndian(static_cast<uint32_t>(content.size()), 4) + content +
           std::string(content.size() % 2, '\0');
}

inline std::string wavFormatChunk(const WavFormat &format)
{
    const uint32_t frame = format.channels * format.bits / 8U;
    return wavChunk("fmt ", littleEndian(format.tag, 2) + littleEndian(format.channels, 2) +
                                littleEndian(format.sampleRate, 4) + littleEndian(format.sampleRate * frame, 4) +
                                littleEndian(frame, 2) + littleEndian(format.bits, 2) + format.extension);
}

inline std::string wavFile(const std::string &chunks)
{
    return "RIFF" + littleEndian(static_cast<uint32_t>(chunks.size() + 4), 4) + "WAVE" + chunks;
}

/** A good file of 16-bit samples. */
inline std::string wavFile(const std::vector<int16_t> &samples)
{
    std::string data;
    for (const int16_t sample : samples)
        data += littleEndian(static_cast<uint16_t>(sample), 2);
    return wavFile(wavFormatChunk({}) + wavChunk("data", data));
}
