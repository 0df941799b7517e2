#pragma once

#include "talk/connection.h"

#include <cstddef>
#include <string>
#include <string_view>

/*
 * How a client talks through a camera's speaker.
 *
 * 1. It registers a name of its own choice, at most 15 characters: GET /dev/speaker.cgi?client=NAME. The camera
 *    answers with the one line "HTTP/1.1 200 OK" and closes; 401 means that the speaker is switched off or, with a
 *    WWW-Authenticate header, that the camera wants name and password.
 * 2. On a second connection it sends POST /dev/speaker.cgi?client=NAME with a Content-Length that is larger than
 *    anything it will send. There is no reply; the body is the audio stream.
 * 3. The stream begins with four random bytes. Then come frames: a header of 40 bytes and G.711 audio, as much as
 *    9959 bytes. A frame is sent when its time has come: 8000 bytes are one second.
 * 4. It closes the connection when it has nothing more to say. When the camera closes it first, somebody else is
 *    talking or has registered meanwhile, the speaker was switched off, or a frame was wrong. A client that
 *    sends nothing for 60 seconds is disconnected.
 */

namespace talk
{

/** The audio of one frame: 40 ms. */
inline constexpr size_t FRAME_AUDIO_BYTES = 320;

/** One frame of the stream: header and audio in G.711 mu-law. */
[[nodiscard]] std::string makeFrame(std::string_view audio);

/** A camera's speaker, and who may use it. */
struct Speaker {
    Address address;
    std::string credentials; ///< "NAME:PASSWORD", empty without
};

/** Registers a client's name. Throws std::runtime_error when the camera refuses. */
void registerClient(const Speaker &speaker, const std::string &name);

/**
 * Streams mu-law audio in real time and returns when it has been said. Throws std::runtime_error when the camera
 * ends the connection before that.
 */
void talk(const Speaker &speaker, const std::string &name, std::string_view audio);

} // namespace talk
