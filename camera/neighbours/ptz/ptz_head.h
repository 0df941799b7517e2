#pragma once

#include "camera/neighbours/ptz/ptz_command.h"
#include "camera/picture/view.h"

#include <chrono>

namespace camera
{

/**
 * The mechanism: pan, tilt and zoom move at the speed of motors to where they were sent. It has no clock of its
 * own: everybody says what time it is, and time never goes back.
 */
class PtzHead
{
  public:
    using Time = std::chrono::steady_clock::time_point;

    explicit PtzHead(Time now) : now_(now) {}

    /** Lets the time pass until `now`; returns where the head looks then. */
    const View &advance(Time now);
    [[nodiscard]] bool moving() const;
    [[nodiscard]] bool autoPan() const { return autoPan_; }
    [[nodiscard]] int focus() const { return focus_; }
    [[nodiscard]] int panSpeed() const { return panSpeed_; }
    [[nodiscard]] int tiltSpeed() const { return tiltSpeed_; }
    [[nodiscard]] int zoomSpeed() const { return zoomSpeed_; }

    /** The settings of a command; what it does is up to the functions below. */
    void setSpeeds(const PtzCommand &command);

    /*
     * All of these begin at the time of the last advance(), and end auto pan; zoom and focus leave it on. Targets
     * beyond the ends are cut to them.
     */

    /** A step from where the head is being sent, so that quick steps add up; smaller when zoomed in. */
    void step(PtzMove direction);
    void step(PtzZoom direction);
    void step(PtzFocus direction);
    /** Brings a point of the picture as it is right now to the centre. */
    void centre(const PtzCentre &point);
    void moveTo(const View &target);
    void setAutoPan(PtzAuto action);
    /** Looks home at once: it has been switched off and on. */
    void reset();

  private:
    void advancePan(double seconds);

    Time now_;
    View position_ = {};
    View target_ = {};
    bool autoPan_ = false;
    int focus_ = 50; ///< 0, near, to 100, far
    int panSpeed_ = 0;
    int tiltSpeed_ = 0;
    int zoomSpeed_ = 0;
};

/** The change of pan and tilt that brings the point to the centre of a picture taken at this zoom. */
[[nodiscard]] View centreOffset(const PtzCentre &point, double zoom);

} // namespace camera
