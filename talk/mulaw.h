#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace talk
{

/**
 * One sample in G.711 mu-law (ITU-T G.711, Table 2a): sign, three bits of segment, four bits of step, all inverted.
 * The table counts in 14 bits; the two lowest of a 16-bit sample fall away.
 */
[[nodiscard]] uint8_t encodeMuLaw(int16_t sample);

/** The same for a whole sound: one byte per sample. */
[[nodiscard]] std::string encodeMuLaw(std::span<const int16_t> samples);

} // namespace talk
