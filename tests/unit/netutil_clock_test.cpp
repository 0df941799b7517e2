#include "tests/fakes/fake_clock.h"

#include <gtest/gtest.h>

TEST(Clock, ConvertsTicksInHalves)
{
    const struct {
        uint32_t ticks;
        uint32_t ticksPerSecond;
        uint32_t expected;
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
    const struct {
        const char *description;
        uint32_t start, now, limit;
        int expected;
        uint32_t elapsed;
    } cases[] = {
        {"exactly the limit", 500, 1500, 1000, 0, 1000},
        {"one more", 500, 1501, 1000, 1, 1001},
        {"a start that lies ahead", 1501, 500, 1000, 1, 1001},
        {"a wrapped tick is far away", 0xFFFFFF00, 0x10, 8000, 1, 0xFFFFFEF0},
        {"the whole range", 0, 0xFFFFFFFF, 0xFFFFFFFE, 1, 0xFFFFFFFF},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        clock.now = c.now;
        uint32_t elapsed = 0;
        EXPECT_EQ(NetUtility_IsTimeout(c.start, c.limit, &elapsed), c.expected);
        EXPECT_EQ(elapsed, c.elapsed);
        EXPECT_EQ(NetUtility_IsTimeout(c.start, c.limit), c.expected);
    }
}

TEST(Clock, TimeoutInSecondsComparesMilliseconds)
{
    FakeClock clock;
    const struct {
        const char *description;
        uint32_t now, limitSec;
        int expected;
        uint32_t elapsedSec;
    } cases[] = {
        {"exactly the limit", 10000, 10, 0, 10},
        {"a millisecond more, in the same second", 10001, 10, 1, 10},
        {"no limit", 1, 0, 1, 0},
        {"a limit whose milliseconds would wrap to 704", 5000, 4294968, 0, 5},
        {"a limit that no difference exceeds", 0xFFFFFFFF, 0xFFFFFFFF, 0, 4294967},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        clock.now = c.now;
        uint32_t elapsed = 0xFFFF;
        EXPECT_EQ(NetUtility_IsTimeoutSec(0, c.limitSec, &elapsed), c.expected);
        EXPECT_EQ(elapsed, c.elapsedSec);
        EXPECT_EQ(NetUtility_IsTimeoutSec(0, c.limitSec), c.expected);
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
