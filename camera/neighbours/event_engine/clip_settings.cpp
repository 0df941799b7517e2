#include "camera/neighbours/event_engine/clip_settings.h"

#include <algorithm>

namespace camera
{

namespace
{

using std::chrono::seconds;

constexpr std::uint64_t MEGABYTE = 1U << 20;
/** The virtual card, and the virtual share: some of it is kept free ("recording_i0_reserveamount", in megabytes).
 */
constexpr std::uint64_t CARD_MEGABYTES = 768;
constexpr size_t MAX_CLIPS = 1000;
constexpr std::uint64_t MAX_CLIP_BYTES = 64 * MEGABYTE;
constexpr int MAX_BEFORE = 15;

RecordingPlan readPlan(const Store &store, const char *source)
{
    RecordingPlan plan;
    plan.profile = store.number(source) + 1;
    plan.longest = seconds(std::max(1, store.number("recording_i0_duration")));
    // There has to be room for a whole clip before it begins, and for some on a card that is nearly all kept free.
    plan.largest = std::clamp(readClipLimit(store).bytes / 4, MEGABYTE, MAX_CLIP_BYTES);
    return plan;
}

} // namespace

FolderLimit readClipLimit(const Store &store)
{
    std::uint64_t reserve = 0;
    if (store.isOn("recording_i0_limitsize"))
        reserve = static_cast<std::uint64_t>(std::max(0, store.number("recording_i0_reserveamount")));
    return {.bytes = (CARD_MEGABYTES - std::min(reserve, CARD_MEGABYTES)) * MEGABYTE,
            .files = MAX_CLIPS,
            .removeOldest = store.isOn("recording_i0_cyclic")};
}

RecordingPlan readSchedulePlan(const Store &store)
{
    return readPlan(store, "recording_i0_source");
}

RecordingPlan readEventPlan(const Store &store)
{
    RecordingPlan plan = readPlan(store, "media_i0_videoclip_source");
    const int before = std::clamp(store.number("media_i0_videoclip_preevent"), 0, MAX_BEFORE);
    const int whole = std::clamp(store.number("media_i0_videoclip_maxduration"), before, 3600);
    plan.before = seconds(before);
    plan.after = seconds(whole - before);
    plan.longest = std::max(plan.longest, seconds(whole));
    return plan;
}

} // namespace camera
