#pragma once

#include "camera/store/clock.h"

#include <deque>
#include <string>

namespace camera
{

/** What has happened lately, the latest last. */
class EventLog
{
  public:
    struct Entry {
        std::string time;
        std::string text;
    };

    explicit EventLog(const CameraClock &clock) : clock_(clock) {}

    void add(std::string text)
    {
        if (entries_.size() == MAX_ENTRIES)
            entries_.pop_front();
        entries_.push_back({toText(clock_.now()), std::move(text)});
    }
    [[nodiscard]] const std::deque<Entry> &entries() const { return entries_; }

  private:
    static constexpr size_t MAX_ENTRIES = 100;

    const CameraClock &clock_;
    std::deque<Entry> entries_;
};

} // namespace camera
