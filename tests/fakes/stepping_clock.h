#pragma once

#include "netutil/clock.h"

#include <atomic>

/**
 * A tick clock that starts at 0 and moves by a step each time it is looked at: it makes a wait short, or long, by
 * the number of looks. Sleeping takes no time. Replaces the process's clock as long as it lives.
 */
class SteppingClock
{
  public:
    explicit SteppingClock(uint32_t stepMs) : m_real(g_tClock)
    {
        s_now = 0;
        s_step = stepMs;
        g_tClock = {[] { return s_now.fetch_add(s_step); }, [](uint32_t) {}};
    }
    ~SteppingClock() { g_tClock = m_real; }
    SteppingClock(const SteppingClock &) = delete;
    SteppingClock &operator=(const SteppingClock &) = delete;

    /** What the next look will see. */
    static void Set(uint32_t nowMs) { s_now = nowMs; }

  private:
    static inline std::atomic<uint32_t> s_now = 0;
    static inline std::atomic<uint32_t> s_step = 0;
    NetUtility_Clock m_real;
};
