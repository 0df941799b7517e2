#include "netutil/clock.h"
#include "tests/fakes/in_process_server.h"

#include <gtest/gtest.h>

TEST(Clock, ConvertsTicksInHalves)
{
    const struct {
        uint32_t ticks;
        uint32_t ticksPerSecond;
        uint32_t expected;
    } cases[] = {
        {0, 100, 0},
        {1, 100, 10},
        {0xFFFF, 100, 655350},
        {0x10000, 100, 655360},
        {123456789, 100, 1234567890},
        {429496729, 100, 4294967290U},
        {429496730, 100, 4}, // 4294967300 wraps
        {0xFFFFFFFF, 100, 0xFFFFFFF6U},
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
        {"no time", 500, 500, 0, 0, 0},
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

TEST(Clock, OfTheSystemMovesForward)
{
    const uint32_t start = NetUtility_GetTickMs();
    uint32_t elapsed = 0;
    for (int i = 0; i < 1000 && NetUtility_IsTimeout(start, 20, &elapsed) == 0; ++i)
        NetUtility_SleepMs(10);
    EXPECT_GT(elapsed, 20U);
    EXPECT_LT(elapsed, 60000U);
}
