#pragma once

#include <cstdint>
#include <span>
#include <string_view>

/**
 * Opens a non-blocking datagram socket to the camera's audio decoder. A decoder that is not there is tried five
 * times, 100 ms apart. Returns the descriptor, the caller's to close, or -1.
 */
[[nodiscard]] int AudioUpstream_OpenAdecUnixSocket();

enum class DecoderWrite {
    Sent,
    Blocked, ///< the decoder took nothing for half a second; the message is dropped
    Lost,    ///< the decoder is gone and could not be reached anew
};

/**
 * Sends the pieces as one message. While the decoder blocks it is tried five times, 100 ms apart; one that has
 * gone, as it does when it is restarted, is connected to anew, once. `iDecoderSocket` is then the new socket, or
 * -1.
 */
[[nodiscard]] DecoderWrite DecoderSocket_Write(int32_t &iDecoderSocket, std::span<const std::string_view> pieces);
