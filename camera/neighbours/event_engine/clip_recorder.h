#pragma once

#include "camera/picture/jpeg.h"
#include "camera/picture/picture_source.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>

namespace camera
{

/** What the recorder is to do, as the settings and the events of this moment have it. */
struct RecordingPlan {
    enum class Mode {
        Off,
        Armed,    ///< waits for an event, with the pictures from before it at hand
        Event,    ///< the event goes on
        Schedule, ///< records all the time
    };

    Mode mode = Mode::Off;
    int profile = 1;
    std::chrono::seconds before{0};  ///< of an event's clip, before the event
    std::chrono::seconds after{0};   ///< after its end
    std::chrono::seconds longest{0}; ///< a longer one goes on in another clip; 0: no limit
    std::uint64_t largest = 0;       ///< bytes, likewise
};

/** Takes the clips of a ClipRecorder. */
class ClipSink
{
  public:
    virtual ~ClipSink() = default;
    /** Event or Schedule is what the clip is recorded for. */
    virtual void beginClip(RecordingPlan::Mode cause) = 0;
    virtual void addPicture(const JpegPicture &picture) = 0;
    virtual void endClip(std::chrono::milliseconds duration) = 0;
};

/**
 * Decides which pictures make up which clip. It has no clock of its own: everybody says what time it is.
 */
class ClipRecorder
{
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit ClipRecorder(ClipSink &sink) : sink_(sink) {}

    /** Does from now on what the plan says. */
    void follow(const RecordingPlan &plan, Time now);
    /** A picture of another size than the one before goes into another clip: a clip has one size. */
    void addPicture(const JpegPicture &picture, Time now);
    /** The sink could not write: ends the clip, and begins another one after a while when there is still reason. */
    void fail(Time now);
    /** Ends what has to end by now, and begins what has to begin, even when no more pictures come. */
    void advance(Time now);

    [[nodiscard]] bool recording() const { return clipBegin_.has_value(); }
    /** Whether pictures are of use at all. */
    [[nodiscard]] bool wantsPictures() const;

  private:
    void begin(Time now);
    void record(const JpegPicture &picture, Time now);
    void beginWithBefore(Time now);
    void end(Time now);
    void goOnInAnother(Time now);
    void forgetOld(Time now);

    struct Taken {
        JpegPicture picture;
        Time time;
    };

    ClipSink &sink_;
    RecordingPlan plan_;
    std::deque<Taken> before_; ///< while nothing is recorded
    std::uint64_t beforeBytes_ = 0;
    std::optional<Time> clipBegin_;
    std::optional<Time> stopAt_; ///< of a recording whose event is over
    std::uint64_t clipBytes_ = 0;
    std::optional<PictureSize> clipSize_; ///< of its last picture
    std::optional<Time> retryAt_;         ///< after a failure
};

} // namespace camera
