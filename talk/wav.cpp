#include "talk/wav.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
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
    explicit Reader(std::string_view bytes) : rest_(bytes) {}

    [[nodiscard]] size_t left() const { return rest_.size(); }
    std::string_view take(size_t count)
    {
        if (count > rest_.size())
            throw std::runtime_error("a damaged WAV file: it ends in the middle of a header");
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return taken;
    }
    uint16_t number16() { return static_cast<uint16_t>(number(2)); }
    uint32_t number32() { return number(4); }

  private:
    uint32_t number(size_t width)
    {
        uint32_t value = 0;
        const std::string_view bytes = take(width);
        for (size_t i = 0; i < width; ++i)
            value |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[i])) << 8 * i;
        return value;
    }

    std::string_view rest_;
};

Format parseFormat(std::string_view chunk)
{
    Reader reader(chunk);
    Format format = {};
    format.tag = reader.number16();
    format.channels = reader.number16();
    format.sampleRate = reader.number32();
    reader.take(6); // bytes a second, bytes a sample frame: both follow from the rest
    format.bits = reader.number16();
    if (format.tag == FORMAT_EXTENSIBLE) {
        reader.take(8); // size of the extension, bits that count, speaker positions
        format.tag = reader.number16();
    }
    return format;
}

void requireUsable(const Format &format)
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

std::vector<int16_t> parseSamples(std::string_view data, unsigned bits)
{
    std::vector<int16_t> samples(data.size() / (bits / 8));
    Reader reader(data);
    for (int16_t &sample : samples) {
        // Eight bits are unsigned, with silence at 128; sixteen are signed.
        if (bits == 8)
            sample = static_cast<int16_t>((static_cast<uint8_t>(reader.take(1)[0]) - 128) * 256);
        else
            sample = static_cast<int16_t>(reader.number16());
    }
    return samples;
}

} // namespace

std::vector<int16_t> parseWav(std::string_view file)
{
    Reader reader(file);
    if (reader.left() < 12 || reader.take(4) != "RIFF")
        throw std::runtime_error("not a WAV file");
    reader.number32(); // the size of what follows, which a recorder that was cut off has not filled in
    if (reader.take(4) != "WAVE")
        throw std::runtime_error("not a WAV file");

    std::optional<Format> format;
    while (reader.left() > 0) {
        const std::string_view name = reader.take(4);
        const size_t size = reader.number32();
        if (name == "data") {
            if (!format)
                throw std::runtime_error("a damaged WAV file: its data come before their format");
            std::vector<int16_t> samples = parseSamples(reader.take(std::min(size, reader.left())), format->bits);
            if (samples.empty())
                throw std::runtime_error("a WAV file without any samples");
            return samples;
        }
        const std::string_view chunk = reader.take(size);
        if (name == "fmt ") {
            format = parseFormat(chunk);
            requireUsable(*format);
        }
        reader.take(std::min(size % 2, reader.left())); // chunks begin at even places
    }
    throw std::runtime_error("a damaged WAV file: it holds no data");
}

std::vector<int16_t> readWavFile(const std::string &path)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE *)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    std::string bytes;
    char piece[65536];
    while (const size_t got = file ? std::fread(piece, 1, sizeof piece, file.get()) : 0)
        bytes.append(piece, got);
    if (!file || std::ferror(file.get()) != 0)
        throw std::runtime_error(std::strerror(errno));
    return parseWav(bytes);
}

} // namespace talk
