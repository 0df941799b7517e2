#include "camera/talk/wav.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>

namespace talk
{
namespace
{

constexpr uint16_t FORMAT_PCM = 1;
/** The format proper then stands in the first two bytes of the extension's GUID. */
constexpr uint16_t FORMAT_EXTENSIBLE = 0xFFFE;

struct Format {
    uint16_t tag;
    uint16_t channels;
    uint32_t sampleRate;
    uint16_t bits;
};

/** Takes little-endian numbers and pieces off the front of some bytes; throws when there are too few. */
class Reader
{
  public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    [[nodiscard]] size_t Left() const { return m_rest.size(); }
    std::string_view Bytes(size_t count)
    {
        if (count > m_rest.size())
            throw std::runtime_error("a damaged WAV file: it ends in the middle of a header");
        const std::string_view taken = m_rest.substr(0, count);
        m_rest.remove_prefix(count);
        return taken;
    }
    uint16_t Short() { return static_cast<uint16_t>(Number(2)); }
    uint32_t Long() { return Number(4); }

  private:
    uint32_t Number(size_t width)
    {
        uint32_t value = 0;
        const std::string_view bytes = Bytes(width);
        for (size_t i = 0; i < width; ++i)
            value |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[i])) << 8 * i;
        return value;
    }

    std::string_view m_rest;
};

Format ParseFormat(std::string_view chunk)
{
    Reader reader(chunk);
    Format format = {};
    format.tag = reader.Short();
    format.channels = reader.Short();
    format.sampleRate = reader.Long();
    reader.Bytes(6); // bytes a second, bytes a sample frame: both follow from the rest
    format.bits = reader.Short();
    if (format.tag == FORMAT_EXTENSIBLE) {
        reader.Bytes(8); // size of the extension, bits that count, speaker positions
        format.tag = reader.Short();
    }
    return format;
}

void RequireUsable(const Format &format)
{
    if (format.tag != FORMAT_PCM)
        throw std::runtime_error("a WAV file of format " + std::to_string(format.tag) +
                                 "; it has to be uncompressed PCM (format 1)");
    if (format.channels != 1)
        throw std::runtime_error("a WAV file with " + std::to_string(format.channels) +
                                 " channels; it has to be mono");
    if (format.sampleRate != SAMPLE_RATE)
        throw std::runtime_error("a WAV file of " + std::to_string(format.sampleRate) + " Hz; it has to be " +
                                 std::to_string(SAMPLE_RATE) + " Hz");
    if (format.bits != 8 && format.bits != 16)
        throw std::runtime_error("a WAV file of " + std::to_string(format.bits) +
                                 " bits a sample; it has to be 8 or 16");
}

std::vector<int16_t> ParseSamples(std::string_view data, unsigned bits)
{
    std::vector<int16_t> samples(data.size() / (bits / 8));
    Reader reader(data);
    for (int16_t &sample : samples) {
        // Eight bits are unsigned, with silence at 128; sixteen are signed.
        if (bits == 8)
            sample = static_cast<int16_t>((static_cast<uint8_t>(reader.Bytes(1)[0]) - 128) * 256);
        else
            sample = static_cast<int16_t>(reader.Short());
    }
    return samples;
}

} // namespace

std::vector<int16_t> ParseWav(std::string_view file)
{
    Reader reader(file);
    if (reader.Left() < 12 || reader.Bytes(4) != "RIFF")
        throw std::runtime_error("not a WAV file");
    reader.Long(); // the size of what follows, which a recorder that was cut off has not filled in
    if (reader.Bytes(4) != "WAVE")
        throw std::runtime_error("not a WAV file");

    std::optional<Format> format;
    while (reader.Left() > 0) {
        const std::string_view name = reader.Bytes(4);
        const size_t size = reader.Long();
        if (name == "data") {
            if (!format)
                throw std::runtime_error("a damaged WAV file: its data come before their format");
            return ParseSamples(reader.Bytes(std::min(size, reader.Left())), format->bits);
        }
        const std::string_view chunk = reader.Bytes(size);
        if (name == "fmt ") {
            format = ParseFormat(chunk);
            RequireUsable(*format);
        }
        reader.Bytes(std::min(size % 2, reader.Left())); // chunks begin at even places
    }
    throw std::runtime_error("a damaged WAV file: it holds no data");
}

std::vector<int16_t> ReadWavFile(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error(std::strerror(errno));
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (file.bad())
        throw std::runtime_error("cannot be read");
    return ParseWav(bytes);
}

} // namespace talk
