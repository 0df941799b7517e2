#include "tests/fakes/fake_clock.h"

#include <gtest/gtest.h>

TEST(Clock, ConvertsTicksInHalves)
{
    const struct {
        uint32_t ticks, ticksPerSecond, expected;
    } cases[] = {
        {1, 100, 10},
        {0xFFFF, 100, 655350},
        {0x10000, 100, 655360},
        {429496729, 100, 4294967290U},
        {429496730, 100, 4}, // 4294967300 wraps
        {0xFFFFFFFF, 1000, 0xFFFFFFFFU},
        {0x00030001, 1024, 2U << 16}, // each half is rounded down by itself
    };
    for (const auto &c : cases)
        EXPECT_EQ(NetUtility_TicksToMs(c.ticks, c.ticksPerSecond), c.expected) << c.ticks;
}

TEST(Clock, TimeoutIsMoreThanTheLimitInEitherDirection)
{
    FakeClock clock;
    constexpr auto ms = NetUtility_IsTimeout, seconds = NetUtility_IsTimeoutSec;
    const struct {
        const char *description;
        decltype(ms) isTimeout;
        uint32_t start, now, limit;
        int expected;
        uint32_t elapsed;
    } cases[] = {
        {"exactly the limit", ms, 500, 1500, 1000, 0, 1000},
        {"one more", ms, 500, 1501, 1000, 1, 1001},
        {"a start that lies ahead", ms, 1501, 500, 1000, 1, 1001},
        {"a wrapped tick is far away", ms, 0xFFFFFF00, 0x10, 8000, 1, 0xFFFFFEF0},
        {"the whole range", ms, 0, 0xFFFFFFFF, 0xFFFFFFFE, 1, 0xFFFFFFFF},
        {"exactly the limit in seconds", seconds, 0, 10000, 10, 0, 10},
        {"a millisecond more, in the same second", seconds, 0, 10001, 10, 1, 10},
        {"no limit", seconds, 0, 1, 0, 1, 0},
        {"a limit whose milliseconds would wrap to 704", seconds, 0, 5000, 4294968, 0, 5},
        {"a limit that no difference exceeds", seconds, 0, 0xFFFFFFFF, 0xFFFFFFFF, 0, 4294967},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        clock.now = c.now;
        uint32_t elapsed = 0xFFFF;
        EXPECT_EQ(c.isTimeout(c.start, c.limit, &elapsed), c.expected);
        EXPECT_EQ(elapsed, c.elapsed);
        EXPECT_EQ(c.isTimeout(c.start, c.limit, nullptr), c.expected);
    }
}

TEST(Clock, OfTheSystemMovesForward)
{
    const uint32_t start = NetUtility_GetTickMs();
    uint32_t elapsed = 0;
    for (int i = 0; i < 1000 && NetUtility_IsTimeout(start, 20, &elapsed) == 0; ++i)
        NetUtility_SleepMs(10);
    EXPECT_GT(elapsed, 20U);
    EXPECT_LT(elapsed, 60000U);
}
