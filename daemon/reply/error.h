#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

#include <string_view>

/** Begins every reply that carries a body of known length; the five blanks leave room for it. */
inline constexpr std::string_view OK_HEADER =
    "HTTP/1.1 200 OK\r\nContent-Length:     \r\nContent-Type: text/plain\r\n"
    "Connection: close\r\n\r\n";

/**
 * Writes the digits of a body's length (at most four) over the blanks of the OK header at the start of `reply`, one
 * blank behind the colon; blanks that are not needed stay.
 */
void Reply_PatchLength(std::span<char> reply, size_t bodyLength);

/** Writes the whole reply of a status kind other than Ok into an empty builder; unknown kinds are a bad request. */
void Compose_ErrorMessage(TextBuilder &reply, StatusKind reason);
