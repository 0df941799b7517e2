#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace talk
{

/** What a camera plays: samples a second, one channel. */
inline constexpr unsigned SAMPLE_RATE = 8000;

/**
 * Takes the samples out of a WAV file: uncompressed PCM, one channel, SAMPLE_RATE, 8 or 16 bits (8-bit samples are
 * widened). A data chunk that claims more than is there, as a recording that was cut off or piped does, gives what
 * is there. Throws std::runtime_error that says what is wrong, or of another kind, with the file.
 */
[[nodiscard]] std::vector<int16_t> parseWav(std::string_view file);

/** The same for a file on disk; also throws when it cannot be read. */
[[nodiscard]] std::vector<int16_t> readWavFile(const std::string &path);

} // namespace talk
