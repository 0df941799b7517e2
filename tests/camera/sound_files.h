#pragma once

#include <bit>
#include <cstdint>
#include <sndfile.hh>
#include <string>
#include <vector>

using Samples = std::vector<std::int16_t>;

/** Writes a sound in a format of libsndfile; samples of several channels follow each other. */
inline void writeSound(const std::string &path, const Samples &samples,
                       int format = SF_FORMAT_WAV | SF_FORMAT_PCM_16, int channels = 1, int rate = 8000)
{
    SndfileHandle(path, SFM_WRITE, format, channels, rate).write(samples.data(), std::ssize(samples));
}

/** The bytes of a WAV file of 16 bits, mono, 8000 Hz, whose header claims so many bytes of samples. */
inline std::string wavBytes(const Samples &samples, std::uint32_t claimed)
{
    static_assert(std::endian::native == std::endian::little);
    const auto number = [](std::uint32_t value) { return std::string(reinterpret_cast<char *>(&value), 4); };
    return "RIFF" + number(36 + claimed) + "WAVEfmt " + number(16) + number(0x10001) + number(8000) +
           number(16000) + number(0x100002) + "data" + number(claimed) +
           std::string(reinterpret_cast<const char *>(samples.data()), 2 * samples.size());
}

inline std::string wavBytes(const Samples &samples)
{
    return wavBytes(samples, static_cast<std::uint32_t>(2 * samples.size()));
}
