#include "camera/neighbours/event_engine/clip_recorder.h"

#include <utility>

namespace camera
{

namespace
{

using Mode = RecordingPlan::Mode;

/** What the pictures from before an event may take of the memory. */
constexpr std::uint64_t MAX_BEFORE_BYTES = 32U << 20;
/** A full disk does not become empty from one picture to the next. */
constexpr std::chrono::seconds RECORD_RETRY_TIME(10);

} // namespace

void ClipRecorder::follow(const RecordingPlan &plan, Time now)
{
    const Mode previous = plan_.mode;
    plan_ = plan;
    switch (plan.mode) {
    case Mode::Off:
        end(now);
        retryAt_.reset();
        break;
    case Mode::Armed:
        if (recording() && previous == Mode::Event)
            stopAt_ = now + plan.after;
        else if (previous == Mode::Schedule)
            end(now);
        break;
    case Mode::Event:
    case Mode::Schedule:
        stopAt_.reset();
        if (!recording() && !retryAt_)
            beginWithBefore(now);
        break;
    }
    advance(now);
}

void ClipRecorder::advance(Time now)
{
    if (stopAt_ && now >= *stopAt_)
        end(now);
    // The seconds after an event stay in its clip, however long it becomes: a few seconds in a file of their own
    // would be of no use to anybody.
    if (recording() && !stopAt_ && plan_.longest.count() > 0 && now - *clipBegin_ >= plan_.longest)
        goOnInAnother(now);
    if (retryAt_ && now >= *retryAt_) {
        retryAt_.reset();
        follow(plan_, now);
    }
    forgetOld(now);
}

void ClipRecorder::addPicture(const JpegPicture &picture, Time now)
{
    advance(now);
    if (!wantsPictures())
        return;
    if (!recording()) {
        before_.push_back({picture, now});
        beforeBytes_ += picture->size();
        return;
    }
    record(picture, now);
}

void ClipRecorder::record(const JpegPicture &picture, Time now)
{
    const std::optional<PictureSize> size = jpegSize(*picture);
    const bool full = plan_.largest > 0 && clipBytes_ + picture->size() > plan_.largest;
    if (clipBytes_ > 0 && (full || size != clipSize_))
        goOnInAnother(now);
    clipBytes_ += picture->size();
    clipSize_ = size;
    sink_.addPicture(picture);
}

void ClipRecorder::fail(Time now)
{
    if (!recording())
        return;
    end(now);
    retryAt_ = now + RECORD_RETRY_TIME;
}

bool ClipRecorder::wantsPictures() const
{
    return recording() || retryAt_ || (plan_.mode == Mode::Armed && plan_.before.count() > 0);
}

void ClipRecorder::forgetOld(Time now)
{
    // An event that cannot be recorded for the moment is kept in mind like one that may come.
    const bool useful = !recording() && (plan_.mode == Mode::Armed || plan_.mode == Mode::Event);
    while (!before_.empty() &&
           (!useful || now - before_.front().time > plan_.before || beforeBytes_ > MAX_BEFORE_BYTES)) {
        beforeBytes_ -= before_.front().picture->size();
        before_.pop_front();
    }
}

void ClipRecorder::beginWithBefore(Time now)
{
    forgetOld(now);
    std::deque<Taken> before = std::exchange(before_, {});
    beforeBytes_ = 0;
    begin(before.empty() ? now : before.front().time);
    for (const Taken &taken : before)
        record(taken.picture, taken.time);
}

void ClipRecorder::begin(Time now)
{
    clipBegin_ = now;
    clipBytes_ = 0;
    sink_.beginClip(plan_.mode == Mode::Schedule ? Mode::Schedule : Mode::Event);
}

void ClipRecorder::goOnInAnother(Time now)
{
    const auto stopAt = stopAt_;
    end(now);
    begin(now);
    stopAt_ = stopAt;
}

void ClipRecorder::end(Time now)
{
    stopAt_.reset();
    if (recording())
        sink_.endClip(std::chrono::duration_cast<std::chrono::milliseconds>(now - *clipBegin_));
    clipBegin_.reset();
}

} // namespace camera
