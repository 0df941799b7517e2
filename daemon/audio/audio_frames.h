#pragma once

#include <cstddef>
#include <cstdint>

/*
 * The stream of a talking client, all numbers little-endian: four bytes of any value, then frames, each a header of
 * 40 bytes and ulDataLength bytes of G.711 audio.
 *
 *   offset  width
 *        0      4  ulHdrID        0xF6010000
 *        4      4  ulHdrLength    40
 *        8      4  ulDataLength   bytes behind the header
 *       28      2  usFormat       1 or 2
 *       30      2  usChannels     1
 *       32      2  usSampleRate   8000
 *       34      2  usSampleBits   8
 *
 * The other bytes of the header may be anything. A frame of more than AUDIO_MAX_FRAME_SIZE bytes, header included,
 * is passed over.
 */

inline constexpr uint32_t AUDIO_FRAME_HEADER_SIZE = 40;
inline constexpr uint32_t AUDIO_MAX_FRAME_SIZE = 9999;

/** What the audio thread knows of the session that it serves. */
struct AudioUpstreamState {
    int32_t iClientSocket;  ///< -1 when idle
    char acBuf[10000];      ///< received; larger than any frame that is played
    uint32_t uiReadOffset;  ///< bytes of it that are done with
    uint32_t uiFill;        ///< bytes of it in all
    uint32_t uiSkip;        ///< bytes still to come that are to be thrown away
    uint16_t usLastFormat;  ///< the usFormat last announced to the decoder; 0 = none in this session
    int32_t iDecoderSocket; ///< -1 when closed; the one field that outlives a session
};

/** Throws received bytes away, as many as uiSkip asks for and the buffer holds. */
void AudioUpstream_SkipData(AudioUpstreamState &state);

/**
 * Sends every whole frame in the buffer to the decoder and moves what is left to the buffer's start, so that a full
 * frame always has room. Frames that a busy decoder does not take are dropped. Returns 0; or -1 (logged) when a
 * header is wrong or the decoder is lost, and the session has to end.
 */
[[nodiscard]] int AudioUpstream_Play(AudioUpstreamState &state);
