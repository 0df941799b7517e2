#include "camera/neighbours/ptz/ptz_head.h"

#include <algorithm>
#include <cmath>

namespace camera
{

namespace
{

/** Motors: from end to end in four seconds, from bottom to top in two, from wide to tele in three. */
constexpr double PAN_PER_SECOND = 0.5;
constexpr double TILT_PER_SECOND = 1;
const double ZOOM_PER_SECOND = std::log(MAX_ZOOM) / 3;
/** Auto pan at speed 0. */
constexpr double AUTO_PAN_PER_SECOND = 0.08;

/** Steps at speed 0. */
constexpr double PAN_STEP = 0.12;
constexpr double TILT_STEP = 0.24;
constexpr double ZOOM_STEP = 1.3;
constexpr int FOCUS_STEP = 5;

constexpr double SLOWEST_SHARE = MAX_PTZ_SPEED + 1;

/** A sixth at the slowest speed, nearly double at the fastest. */
double share(int speed)
{
    return (speed + SLOWEST_SHARE) / SLOWEST_SHARE;
}

double approach(double from, double to, double way)
{
    return from < to ? std::min(from + way, to) : std::max(from - way, to);
}

View clamped(const View &view)
{
    return {.pan = std::clamp(view.pan, -1.0, 1.0),
            .tilt = std::clamp(view.tilt, -1.0, 1.0),
            .zoom = std::clamp(view.zoom, 1.0, MAX_ZOOM)};
}

} // namespace

View centreOffset(const PtzCentre &point, double zoom)
{
    // Parts of the picture, from its centre, to the right and up.
    const double right = static_cast<double>(point.x) / point.width - 0.5;
    const double up = 0.5 - static_cast<double>(point.y) / point.height;
    const double width = static_cast<double>(point.width) / point.height;
    // At the ends of pan and tilt the widest picture reaches the edge of the scene. A picture as wide as the scene
    // leaves nothing to pan to.
    const double panWay = std::max(SCENE_WIDTH - width, 0.01) / 2;
    const double tiltWay = (SCENE_HEIGHT - 1) / 2;
    return {.pan = right * width / zoom / panWay, .tilt = up / zoom / tiltWay, .zoom = 0};
}

const View &PtzHead::advance(Time now)
{
    const double seconds = std::max(0.0, std::chrono::duration<double>(now - now_).count());
    now_ = std::max(now_, now);
    advancePan(seconds);
    position_.tilt = approach(position_.tilt, target_.tilt, TILT_PER_SECOND * seconds);
    // Zoom grows by the same factor in the same time. The end is taken over as it is, not rounded.
    const double zoom = approach(std::log(position_.zoom), std::log(target_.zoom), ZOOM_PER_SECOND * seconds);
    position_.zoom = zoom == std::log(target_.zoom) ? target_.zoom : std::exp(zoom);
    return position_;
}

void PtzHead::advancePan(double seconds)
{
    if (!autoPan_) {
        position_.pan = approach(position_.pan, target_.pan, PAN_PER_SECOND * seconds);
        return;
    }
    double way = std::fmod(AUTO_PAN_PER_SECOND * share(panSpeed_) * seconds, 4); // there and back is 4
    while (way > 0) {
        const double before = position_.pan;
        position_.pan = approach(before, target_.pan, way);
        way -= std::abs(position_.pan - before);
        if (position_.pan != target_.pan)
            break;
        target_.pan = target_.pan < 0 ? 1 : -1;
    }
}

bool PtzHead::moving() const
{
    return autoPan_ || position_.pan != target_.pan || position_.tilt != target_.tilt ||
           position_.zoom != target_.zoom;
}

void PtzHead::setSpeeds(const PtzCommand &command)
{
    panSpeed_ = command.panSpeed.value_or(panSpeed_);
    tiltSpeed_ = command.tiltSpeed.value_or(tiltSpeed_);
    zoomSpeed_ = command.zoomSpeed.value_or(zoomSpeed_);
}

void PtzHead::step(PtzMove direction)
{
    if (direction == PtzMove::Home)
        return moveTo({});
    setAutoPan(PtzAuto::Stop);
    View target = target_;
    const double pan = PAN_STEP * share(panSpeed_) / target.zoom;
    const double tilt = TILT_STEP * share(tiltSpeed_) / target.zoom;
    if (direction == PtzMove::Left || direction == PtzMove::Right)
        target.pan += direction == PtzMove::Left ? -pan : pan;
    else
        target.tilt += direction == PtzMove::Down ? -tilt : tilt;
    target_ = clamped(target);
}

void PtzHead::step(PtzZoom direction)
{
    const double factor = std::pow(ZOOM_STEP, share(zoomSpeed_));
    target_.zoom *= direction == PtzZoom::Tele ? factor : 1 / factor;
    target_ = clamped(target_);
}

void PtzHead::step(PtzFocus direction)
{
    focus_ = std::clamp(focus_ + (direction == PtzFocus::Far ? FOCUS_STEP : -FOCUS_STEP), 0, 100);
}

void PtzHead::centre(const PtzCentre &point)
{
    setAutoPan(PtzAuto::Stop);
    const View offset = centreOffset(point, position_.zoom);
    target_ =
        clamped({.pan = position_.pan + offset.pan, .tilt = position_.tilt + offset.tilt, .zoom = target_.zoom});
}

void PtzHead::moveTo(const View &target)
{
    autoPan_ = false;
    target_ = clamped(target);
}

void PtzHead::setAutoPan(PtzAuto action)
{
    if (action == PtzAuto::Pan && !autoPan_)
        target_.pan = 1;
    else if (action == PtzAuto::Stop && autoPan_)
        target_.pan = position_.pan;
    autoPan_ = action == PtzAuto::Pan;
}

void PtzHead::reset()
{
    *this = PtzHead(now_);
}

} // namespace camera
