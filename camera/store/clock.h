#pragma once

#include "camera/store/store.h"

#include <chrono>
#include <functional>
#include <string>

namespace camera
{

/**
 * The camera's clock, in the camera's time zone. It runs with the host's clock, which stays as it is, and keeps the
 * difference to it.
 *
 * It follows the settings: "system_date" with "system_time" set it, in the zone and daylight saving of that moment;
 * "system_timezoneindex" and "system_daylight_enable" shift what it shows; with "system_updateinterval" above 0 it
 * is synchronised, and shows the host's time. The difference is kept over a restart, as by a battery.
 */
class CameraClock
{
  public:
    using LocalTime = std::chrono::local_seconds;
    using HostTime = std::function<std::chrono::system_clock::time_point()>;

    explicit CameraClock(Store &store, HostTime hostTime = std::chrono::system_clock::now);
    CameraClock(const CameraClock &) = delete;
    CameraClock &operator=(const CameraClock &) = delete;

    [[nodiscard]] LocalTime now() const;
    /** How far the zone and daylight saving are ahead of UTC. */
    [[nodiscard]] std::chrono::minutes zone() const;
    /** Whether the clock is kept by a time server. */
    [[nodiscard]] bool synchronised() const;

  private:
    void setByHand();
    void keepDifference(std::chrono::seconds difference);

    Store &store_;
    HostTime hostTime_;
    std::chrono::seconds difference_{0}; ///< how far this clock is ahead of the host's
    Subscription date_;
    Subscription time_;
    Subscription interval_;
};

/** "2024-05-31 08:15:00". */
[[nodiscard]] std::string toText(CameraClock::LocalTime time);
/** "20240531-081500", for the names of files. */
[[nodiscard]] std::string toFileName(CameraClock::LocalTime time);

} // namespace camera
