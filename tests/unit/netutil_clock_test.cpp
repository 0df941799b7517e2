#include "tests/fakes/fake_clock.h"

#include <array>
#include <gtest/gtest.h>

TEST(Clock, ConvertsTicksInHalves)
{
    // Each half of 16 bits is rounded down by itself; 4294967300 wraps.
    for (const auto &[ticks, perSecond, expected] : {std::array{0xFFFFU, 100U, 655350U},
                                                     {0x10000, 100, 655360},
                                                     {429496729, 100, 4294967290},
                                                     {429496730, 100, 4},
                                                     {0x00030001, 1024, 2 << 16}})
        EXPECT_EQ(NetUtility_TicksToMs(ticks, perSecond), expected) << ticks;
}

TEST(Clock, TimeoutIsMoreThanTheLimitInEitherDirection)
{
    FakeClock clock;
    constexpr auto ms = NetUtility_IsTimeout, seconds = NetUtility_IsTimeoutSec;
    const struct {
        decltype(ms) isTimeout;
        uint32_t start, now, limit;
        int expected;
        uint32_t elapsed;
    } cases[] = {
        {ms, 500, 1500, 1000, 0, 1000},
        {ms, 500, 1501, 1000, 1, 1001},
        {ms, 1501, 500, 1000, 1, 1001},
        {ms, 0xFFFFFF00, 0x10, 8000, 1, 0xFFFFFEF0},
        {seconds, 0, 10000, 10, 0, 10},
        {seconds, 0, 10001, 10, 1, 10},
        {seconds, 0, 1, 0, 1, 0},
        {seconds, 0, 5000, 4294968, 0, 5}, // its milliseconds would wrap to 704
        {seconds, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0, 4294967},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(&c - cases);
        clock.now = c.now;
        uint32_t elapsed = 0xFFFF;
        EXPECT_EQ(c.isTimeout(c.start, c.limit, &elapsed), c.expected);
        EXPECT_EQ(elapsed, c.elapsed);
        EXPECT_EQ(c.isTimeout(c.start, c.limit, nullptr), c.expected);
    }
}
