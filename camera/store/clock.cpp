#include "camera/store/clock.h"

#include "camera/base/number.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace camera
{

using std::chrono::local_days;
using std::chrono::minutes;
using std::chrono::seconds;

namespace
{

/** The factory does not know this key: it is the virtual camera's own. */
constexpr const char *DIFFERENCE_KEY = "camera_clock_difference";

/** The hand-set clock goes no further: the stamp in the picture has four digits for the year. */
constexpr int MIN_YEAR = 1970;
constexpr int MAX_YEAR = 2099;
/** The zone index of 14 hours; no zone is further from UTC. */
constexpr int LAST_ZONE = 560;

/**
 * Reads "2024/5/31" and "08:15:00". Days and times beyond their end run over into what follows, February 30 into
 * March, as on the camera, which takes them.
 */
std::optional<CameraClock::LocalTime> readTime(const std::string &date, const std::string &time)
{
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (sscanf(date.c_str(), "%5d/%2d/%2d", &year, &month, &day) != 3 ||
        sscanf(time.c_str(), "%2d:%2d:%2d", &hour, &minute, &second) != 3)
        return std::nullopt;
    const auto within = [](int value, int lowest, int highest) { return value >= lowest && value <= highest; };
    if (!within(year, MIN_YEAR, MAX_YEAR) || !within(month, 1, 12) || !within(day, 1, 31) || !within(hour, 0, 24) ||
        !within(minute, 0, 60) || !within(second, 0, 60))
        return std::nullopt;
    const std::chrono::year_month_day first(std::chrono::year(year), std::chrono::month(unsigned(month)),
                                            std::chrono::day(1));
    return local_days(first) + std::chrono::days(day - 1) + std::chrono::hours(hour) + minutes(minute) +
           seconds(second);
}

std::string print(const char *format, CameraClock::LocalTime time)
{
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    char text[64];
    snprintf(text, sizeof text, format, int(date.year()), unsigned(date.month()), unsigned(date.day()),
             int(clock.hours().count()), int(clock.minutes().count()), int(clock.seconds().count()));
    return text;
}

} // namespace

CameraClock::CameraClock(Store &store, HostTime hostTime)
    : store_(store), hostTime_(std::move(hostTime)), difference_(0),
      date_(store.watch("system_date", [this](const Setting &) { setByHand(); })),
      time_(store.watch("system_time", [this](const Setting &) { setByHand(); })),
      interval_(store.watch("system_updateinterval", [this](const Setting &) {
          if (synchronised())
              keepDifference(seconds(0));
      }))
{
    const long long kept = parseNumber<long long>(store.text(DIFFERENCE_KEY)).value_or(0);
    // Within what the settings can reach, whatever the file holds.
    const long long most = (MAX_YEAR - MIN_YEAR + 1) * 366LL * 86400;
    if (!synchronised() && kept >= -most && kept <= most)
        difference_ = seconds(kept);
}

CameraClock::LocalTime CameraClock::now() const
{
    const auto utc = std::chrono::floor<seconds>(hostTime_()) + difference_;
    return LocalTime(utc.time_since_epoch() + zone());
}

minutes CameraClock::zone() const
{
    // Ten steps are a quarter of an hour; what is left over tells apart zones of the same offset. Daylight saving
    // is an hour as long as it is switched on: the camera does not know the dates on which a country changes.
    const int index = std::clamp(store_.number("system_timezoneindex"), -LAST_ZONE, LAST_ZONE);
    return minutes(index / 10 * 15 + (store_.isOn("system_daylight_enable") ? 60 : 0));
}

bool CameraClock::synchronised() const
{
    return store_.number("system_updateinterval") > 0;
}

void CameraClock::setByHand()
{
    const std::optional<LocalTime> given = readTime(store_.text("system_date"), store_.text("system_time"));
    if (!given || synchronised())
        return;
    const auto host = std::chrono::floor<seconds>(hostTime_());
    keepDifference(given->time_since_epoch() - zone() - host.time_since_epoch());
}

void CameraClock::keepDifference(seconds difference)
{
    difference_ = difference;
    store_.set(DIFFERENCE_KEY, std::to_string(difference.count()));
}

std::string toText(CameraClock::LocalTime time)
{
    return print("%04d-%02u-%02u %02d:%02d:%02d", time);
}

std::string toFileName(CameraClock::LocalTime time)
{
    return print("%04d%02u%02u-%02d%02d%02d", time);
}

} // namespace camera
