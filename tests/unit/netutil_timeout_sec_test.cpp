#include "netutil/clock.h"
#include "tests/fakes/stepping_clock.h"

#include <gtest/gtest.h>

TEST(TimeoutSec, ComparesMillisecondsAndReportsSeconds)
{
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
    SteppingClock clock(0);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        clock.Set(c.now);
        uint32_t elapsed = 0xFFFF;
        EXPECT_EQ(NetUtility_IsTimeoutSec(0, c.limitSec, &elapsed), c.expected);
        EXPECT_EQ(elapsed, c.elapsedSec);
        EXPECT_EQ(NetUtility_IsTimeoutSec(0, c.limitSec), c.expected);
    }
}
