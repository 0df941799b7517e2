#include "talk/mulaw.h"

#include <algorithm>
#include <bit>
#include <cstdlib>

namespace talk
{

uint8_t encodeMuLaw(int16_t sample)
{
    // With 33 (of 14 bits) added to the magnitude, each segment begins at a power of two, so that the segment is
    // the place of the highest bit and the step the four bits behind it. What lies beyond the last segment is
    // clipped.
    constexpr unsigned BIAS = 33 << 2;
    constexpr unsigned LIMIT = (8191 << 2) + 3 - BIAS;
    constexpr int FIRST_SEGMENT_WIDTH = 8;

    const unsigned magnitude = std::min(static_cast<unsigned>(std::abs(int{sample})), LIMIT) + BIAS;
    const int segment = static_cast<int>(std::bit_width(magnitude)) - FIRST_SEGMENT_WIDTH;
    const unsigned step = magnitude >> (segment + 3) & 0xF;
    const unsigned sign = sample < 0 ? 0x80 : 0;
    return static_cast<uint8_t>(~(sign | static_cast<unsigned>(segment) << 4 | step));
}

std::string encodeMuLaw(std::span<const int16_t> samples)
{
    std::string bytes(samples.size(), '\0');
    std::transform(samples.begin(), samples.end(), bytes.begin(),
                   [](int16_t sample) { return static_cast<char>(encodeMuLaw(sample)); });
    return bytes;
}

} // namespace talk
