#pragma once

#include "daemon/base/clock.h"

#include <vector>

/** The daemon's clock in the test's hand. One at a time; the real clock comes back at the end. */
class FakeClock
{
  public:
    explicit FakeClock(uint32_t stepMs = 0) : step(stepMs)
    {
        s_self = this;
        g_tClock = {[] { return s_self->now += s_self->step; },
                    [](uint32_t milliseconds) {
                        s_self->sleeps.push_back(milliseconds);
                        s_self->now += milliseconds;
                    }};
    }
    ~FakeClock() { g_tClock = m_real; }
    FakeClock(const FakeClock &) = delete;
    FakeClock &operator=(const FakeClock &) = delete;

    uint32_t now = 1000000;       ///< milliseconds
    uint32_t step;                ///< every reading moves the clock on by this much first
    std::vector<uint32_t> sleeps; ///< what was asked for; a sleep moves the clock on, nobody waits

  private:
    static inline FakeClock *s_self = nullptr;
    NetUtility_Clock m_real = g_tClock;
};
