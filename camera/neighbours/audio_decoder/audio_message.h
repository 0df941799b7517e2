#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace camera
{

/*
 * The datagrams that the audio decoder takes. Numbers are little-endian.
 *
 *   configuration, 64 bytes:   0: 0, 4: "CONF", 8: "G711", 44: "ULAW", 48, 52, 56 and 60: 1
 *   frame:                     0: the datagram's length, 4: "G711", 44: one sample per byte
 */

inline constexpr size_t AUDIO_CONFIGURATION_SIZE = 64;
inline constexpr size_t AUDIO_FRAME_HEAD = 44;
/** The longest datagram of a frame: the daemon's limit for a client's frame is below it. */
inline constexpr size_t AUDIO_MAX_MESSAGE = 16384;

/** Announces the codec of the frames that follow. */
struct AudioConfiguration {
};
/** A piece of sound. */
struct AudioFrame {
    std::string_view samples; ///< G.711 mu-law; lies in the datagram
};
/** Neither of the two. */
struct AudioMalformed {
};

/** Reads a datagram. Bytes that no side has given a meaning are not looked at. */
[[nodiscard]] std::variant<AudioConfiguration, AudioFrame, AudioMalformed>
parseAudioMessage(std::string_view datagram);

/** The linear values of G.711 mu-law samples, at the scale of 16-bit audio. */
[[nodiscard]] std::vector<std::int16_t> decodeMuLaw(std::string_view samples);

/** The level of samples in dBFS: 0 is the loudest sine that fits, -100 stands for silence. */
[[nodiscard]] double levelOf(std::span<const std::int16_t> samples);

} // namespace camera
