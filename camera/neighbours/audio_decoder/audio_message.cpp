#include "camera/neighbours/audio_decoder/audio_message.h"

#include <algorithm>
#include <cmath>
#include <sndfile.hh>

namespace camera
{

namespace
{

std::uint32_t numberAt(std::string_view text, size_t at)
{
    std::uint32_t number = 0;
    for (size_t i = 4; i-- > 0;)
        number = number << 8U | static_cast<std::uint8_t>(text[at + i]);
    return number;
}

/** Bytes that libsndfile reads in a file's place. Raw audio is read from the beginning, without going back. */
struct RawFile {
    std::string_view bytes;
    size_t at = 0;

    static SF_VIRTUAL_IO functions()
    {
        return {.get_filelen = [](void *file) { return std::ssize(self(file).bytes); },
                .seek = [](sf_count_t offset, int, void *) { return offset; },
                .read =
                    [](void *into, sf_count_t count, void *file) {
                        const size_t copied = self(file).bytes.copy(static_cast<char *>(into),
                                                                    static_cast<size_t>(count), self(file).at);
                        self(file).at += copied;
                        return static_cast<sf_count_t>(copied);
                    },
                .write = nullptr,
                .tell = [](void *file) { return static_cast<sf_count_t>(self(file).at); }};
    }
    static RawFile &self(void *file) { return *static_cast<RawFile *>(file); }
};

bool isConfiguration(std::string_view datagram)
{
    if (datagram.size() != AUDIO_CONFIGURATION_SIZE || numberAt(datagram, 0) != 0 ||
        datagram.substr(4, 8) != "CONFG711" || datagram.substr(44, 4) != "ULAW")
        return false;
    return std::ranges::all_of(std::initializer_list<size_t>{48, 52, 56, 60},
                               [&](size_t at) { return numberAt(datagram, at) == 1; });
}

} // namespace

std::variant<AudioConfiguration, AudioFrame, AudioMalformed> parseAudioMessage(std::string_view datagram)
{
    if (isConfiguration(datagram))
        return AudioConfiguration{};
    if (datagram.size() < AUDIO_FRAME_HEAD || numberAt(datagram, 0) != datagram.size() ||
        datagram.substr(4, 4) != "G711")
        return AudioMalformed{};
    return AudioFrame{datagram.substr(AUDIO_FRAME_HEAD)};
}

std::vector<std::int16_t> decodeMuLaw(std::string_view samples)
{
    SF_VIRTUAL_IO io = RawFile::functions();
    RawFile file = {samples};
    std::vector<std::int16_t> decoded(samples.size());
    SndfileHandle(io, &file, SFM_READ, SF_FORMAT_RAW | SF_FORMAT_ULAW, 1, 8000)
        .read(decoded.data(), static_cast<sf_count_t>(decoded.size()));
    return decoded;
}

double levelOf(std::span<const std::int16_t> samples)
{
    constexpr double SILENCE = -100;
    double power = 0;
    for (const std::int16_t sample : samples)
        power += static_cast<double>(sample) * sample;
    if (power == 0)
        return SILENCE;
    // The power of the loudest sine is half the square of its peak.
    const double full = 32768.0 * 32768.0 / 2;
    return std::max(SILENCE, 10 * std::log10(power / static_cast<double>(samples.size()) / full));
}

} // namespace camera
