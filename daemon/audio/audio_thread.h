#pragma once

#include "platform/osthread.h"

#include <cstdint>

/** A client's socket on its way to the audio thread. */
struct AudioUpstreamHandOver {
    int32_t iClientSocket; ///< the receiver's from then on
    uint32_t uiConsumed;   ///< bytes of the stream that came with the request and are off the connection
};
static_assert(sizeof(AudioUpstreamHandOver) == OSMSG_SIZE);

/**
 * The audio thread's entry routine, given its AudioUpstreamContext: takes one client after the other off the queue
 * and plays its stream on the audio decoder. Returns, with client and decoder closed, when the thread has to stop.
 */
void AudioUpstream_MainTask(void *pvContext);
