#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/session.h"

/* "/video/mjpg.cgi": hands the client's socket to the web server, which pushes the pictures. */

/** Begins as the record of a video profile does; mask and H.264 are of no use here. */
struct MjpgStreamResult {
    uint32_t uiSetMask;
    int32_t iStreamCount;
    int32_t iH264;
    int32_t iProfileID;
    char acCodec[8];
};

/** On success the client's socket is the web server's and the slot has none any more. */
[[nodiscard]] int MappingGetRoutine_MjpgStream(SessionSlot &slot);
/** Used only if a session goes on after its socket was handed over. */
void Compose_MjpgStream(TextBuilder &body, SessionSlot &slot);
