#include "camera/neighbours/audio_decoder/audio_message.h"

#include <algorithm>
#include <cmath>

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

std::int16_t decodeMuLaw(std::uint8_t sample)
{
    // Sent inverted: a sign, three bits of segment, four bits within it. A segment is twice as wide as the one
    // before; the bias makes the first begin at zero.
    constexpr int BIAS = 132;
    const int bits = ~sample & 0xff;
    const int magnitude = ((((bits & 0x0f) << 3) + BIAS) << ((bits & 0x70) >> 4)) - BIAS;
    return static_cast<std::int16_t>((bits & 0x80) != 0 ? -magnitude : magnitude);
}

std::vector<std::int16_t> decodeMuLaw(std::string_view samples)
{
    std::vector<std::int16_t> decoded(samples.size());
    std::ranges::transform(samples, decoded.begin(),
                           [](char sample) { return decodeMuLaw(static_cast<std::uint8_t>(sample)); });
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
