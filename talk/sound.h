#pragma once

#include <string>

namespace talk
{

/** What a camera plays: samples a second, one channel. */
inline constexpr unsigned SAMPLE_RATE = 8000;

/**
 * Reads a sound in any format that libsndfile knows, of one channel and SAMPLE_RATE, and gives it in G.711 mu-law,
 * one byte per sample. Of a recording that was cut off it gives what is there. Throws std::runtime_error that says
 * what is wrong, or how the file has to be converted.
 */
[[nodiscard]] std::string readSound(const std::string &path);

} // namespace talk
