#pragma once

#include "daemon/base/clock.h"

#include <algorithm>
#include <poll.h>
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
                    },
                    [](pollfd *descriptors, uint32_t count, int timeout) {
                        const bool patient = timeout < 0 || timeout > s_self->patienceMs;
                        const int ready = poll(descriptors, count, patient ? s_self->patienceMs : timeout);
                        if (ready == 0)
                            s_self->now += static_cast<uint32_t>(std::max(timeout, 0));
                        return ready == 0 && timeout < 0 ? -1 : ready;
                    },
                    [](pollfd *descriptors, uint32_t count, int timeout) {
                        s_self->rests.push_back(timeout);
                        return poll(descriptors, count, 0);
                    }};
    }
    ~FakeClock() { g_tClock = real_; }
    FakeClock(const FakeClock &) = delete;
    FakeClock &operator=(const FakeClock &) = delete;

    uint32_t now = 1000000;       ///< milliseconds
    uint32_t step;                ///< every reading moves the clock on by this much first
    std::vector<uint32_t> sleeps; ///< what was asked for; a sleep moves the clock on, nobody waits
    std::vector<int> rests; ///< how long the main loop would have rested at most, -1 without limit; it never does
    int patienceMs = 5000;  ///< how long a wait for a neighbour really takes before the clock moves on

  private:
    static inline FakeClock *s_self = nullptr;
    NetUtility_Clock real_ = g_tClock;
};
