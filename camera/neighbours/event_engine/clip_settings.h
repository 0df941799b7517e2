#pragma once

#include "camera/base/bounded_folder.h"
#include "camera/neighbours/event_engine/clip_recorder.h"
#include "camera/store/store.h"

/*
 * What the settings say about clips. Whether one is recorded right now is not theirs to say: the plans are Off.
 */

namespace camera
{

/** How much of the virtual card, or of the virtual share, all clips may take together. */
[[nodiscard]] FolderLimit readClipLimit(const Store &store);

/** How the recording slot records. */
[[nodiscard]] RecordingPlan readSchedulePlan(const Store &store);

/** How an event is recorded: all of it in one clip, as long as a file of the recording slot may be. */
[[nodiscard]] RecordingPlan readEventPlan(const Store &store);

} // namespace camera
