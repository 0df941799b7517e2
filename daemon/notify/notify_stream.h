#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/notify_state.h"
#include "daemon/session/session.h"

/* "/config/notify_stream.cgi": a reply that stays open and says what inputs and motion windows do. */

/** What one open stream has already said. */
struct NotifyStreamResult {
    uint32_t uiLastSentTick;                          ///< of the last line written; 0 = not yet set
    int32_t aiMotionReported[NOTIFY_MAX_MOTIONS];     ///< 1 between a window's "on" line and its "off" line
    uint32_t auiMotionActiveTick[NOTIFY_MAX_MOTIONS]; ///< when the window was last seen active
};

/** Zeroes the state and reads the numbers of inputs and motion windows from the store. Returns 0 or -1 (traced,
 * Start_Fail). */
[[nodiscard]] int NotifyStream_Initial(NotifyState &state);

[[nodiscard]] int MappingGetRoutine_NotifyStream(SessionSlot &slot);

/** Milliseconds until the stream has a keep-alive or the end of a motion to write. */
[[nodiscard]] uint32_t NotifyStream_DueMs(SessionSlot &slot);
/** Takes now as the time at which the windows that are active were last seen so. */
void NotifyStream_BeforeEvent(SessionSlot &slot);
/** Writes what is new since the last call: nothing, event lines, or a keep-alive. */
void Compose_NotifyStream(TextBuilder &body, SessionSlot &slot);
