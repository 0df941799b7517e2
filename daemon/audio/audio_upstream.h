#pragma once

#include "daemon/session/audio_upstream_context.h"
#include "daemon/session/session.h"

/*
 * "/dev/speaker.cgi": a client registers a name with a request without a body, then sends a request of the same
 * name whose body is its audio stream. The stream's socket goes to the audio thread (audio_thread.h), and nobody
 * answers.
 */

struct AudioUpstreamParam {
    char acClientName[AUDIO_CLIENT_NAME_SIZE];
};

/**
 * Reads the speaker's switch from the store and starts the audio thread; on a camera without an audio output
 * nothing is started. Returns 0, or -1 (traced, Start_Fail) with nothing left running. The context must not move
 * while the thread lives.
 */
[[nodiscard]] int AudioUpstream_Initial(AudioUpstreamContext &context);

/** Ends the audio thread, a client's session included, at once, and zeroes the context. */
void AudioUpstream_Release(AudioUpstreamContext &context);

[[nodiscard]] int Parser_AudioUpstream_Set(SessionSlot &slot);

/**
 * Registers the name of a request without a body; hands the socket of one with a body over when its name is the
 * registered one and nobody talks; the slot then no longer owns it. A socket that is not handed over stays the
 * slot's, to be closed with it. Fails only while the speaker is switched off.
 */
[[nodiscard]] int MappingSetRoutine_AudioUpstream(SessionSlot &slot);
