#include "camera/clip_recorder.h"

namespace camera
{

namespace
{

using Mode = RecordingPlan::Mode;

/** What the pictures from before an event may take of the memory. */
constexpr std::uint64_t MAX_BEFORE_BYTES = 32U << 20;

} // namespace

void ClipRecorder::follow(const RecordingPlan &plan, Time now)
{
    const Mode previous = plan_.mode;
    plan_ = plan;
    switch (plan.mode) {
    case Mode::Off:
        end(now);
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
        if (!recording())
            begin(now);
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
    if (plan_.largest > 0 && clipBytes_ > 0 && clipBytes_ + picture->size() > plan_.largest)
        goOnInAnother(now);
    clipBytes_ += picture->size();
    sink_.addPicture(picture);
}

bool ClipRecorder::wantsPictures() const
{
    return recording() || (plan_.mode == Mode::Armed && plan_.before.count() > 0);
}

void ClipRecorder::forgetOld(Time now)
{
    const bool armed = plan_.mode == Mode::Armed && !recording();
    while (!before_.empty() &&
           (!armed || now - before_.front().time > plan_.before || beforeBytes_ > MAX_BEFORE_BYTES)) {
        beforeBytes_ -= before_.front().picture->size();
        before_.pop_front();
    }
}

void ClipRecorder::begin(Time now)
{
    // Nothing of what came before belongs to a schedule's clip, or to one that goes on.
    while (!before_.empty() && now - before_.front().time > plan_.before)
        before_.pop_front();
    const bool useBefore = plan_.mode == Mode::Event && !before_.empty();
    clipBegin_ = useBefore ? before_.front().time : now;
    clipBytes_ = 0;
    sink_.beginClip(plan_.mode == Mode::Schedule ? Mode::Schedule : Mode::Event);
    if (useBefore)
        for (const Taken &taken : before_) {
            clipBytes_ += taken.picture->size();
            sink_.addPicture(taken.picture);
        }
    before_.clear();
    beforeBytes_ = 0;
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
