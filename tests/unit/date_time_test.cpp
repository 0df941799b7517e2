#include "tests/fakes/in_process_server.h"

#include <cstdlib>
#include <ctime>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

/* In process, because every change waits two seconds of the daemon's clock. */

namespace
{

const std::string URL = "/config/datetime.cgi";

std::string exchange(InProcessServer &in, const std::string &query)
{
    in.store.clearRequests();
    in.clock.sleeps.clear();
    return in.exchange({.url = URL, .query = query});
}

} // namespace

TEST(DateTime, ChangesAreWrittenInTwoStepsTwoSecondsApart)
{
    const struct {
        const char *query, *zone, *clock;
    } cases[] = {
        {"method=0&timezone=83", "system_timezoneindex=520", "system_updateinterval=0"}, // KEPT: turns NTP off
        {"method=1&timeserver=pool.ntp", "", "system_updateinterval=3600&system_ntp=pool.ntp"},
        {"method=2&date=2024-02-30&time=24:60:60", "",
         "system_updateinterval=0&system_date=2024/02/30&system_time=24:60:60"},
        {"method=2&date=24-12-3&time=1:2&timezone=29&dstenable=yes", "system_timezoneindex=0",
         "system_updateinterval=0&system_date=24/12/03&system_time=01:02:00&system_daylight_enable=1"},
        {"method=7&dstenable=no&date=x", "", "system_updateinterval=0&system_daylight_enable=0"},
    };
    InProcessServer in;
    for (const auto &test : cases) {
        SCOPED_TRACE(test.query);
        EXPECT_NE(exchange(in, test.query).find("HTTP/1.1 200 OK"), std::string::npos);
        EXPECT_EQ(in.store.sets(), (std::vector<std::string>{test.zone, test.clock}));
        EXPECT_EQ(in.clock.sleeps, std::vector<uint32_t>{2000});
    }
}

TEST(DateTime, BadRequestsWriteNothing)
{
    InProcessServer in;
    for (const char *query :
         {"timezone=65", "method=2&date=2024-01-01", "method=2&time=1:2:3", "method=2&date=2024-13-01&time=1:1",
          "method=2&date=2024-01-32&time=1:1", "method=2&date=2024-01-01&time=25:00",
          "method=2&date=2024-01-01&time=1:1:61", "method=2&date=000002024-01-01&time=1:1", "method=1",
          "method=1&timeserver=1234567890123456789012345678901234567890", "method=0&timezone=0",
          "method=0&timezone=84", "method=0&dstenable=Yes"}) {
        SCOPED_TRACE(query);
        EXPECT_EQ(exchange(in, query), BAD_REQUEST);
        EXPECT_TRUE(in.store.requests().empty());
    }
}

TEST(DateTime, AChangeHalfWayIsAFailure)
{
    InProcessServer in;
    in.store.answerNothing(1);
    EXPECT_EQ(exchange(in, "method=0&timezone=1"), INTERNAL_ERROR);
    EXPECT_EQ(in.store.sets().size(), 1U) << "nothing is written after a failing first write";
    in.store.answerNothing(2);
    EXPECT_EQ(exchange(in, "method=0"), INTERNAL_ERROR);
    in.store.answer("system_updateinterval=1\n", 2);
    EXPECT_EQ(exchange(in, "method=0"), INTERNAL_ERROR) << "another interval than the one written";
    in.store.answer("\n", 2);
    EXPECT_EQ(exchange(in, "method=0"), INTERNAL_ERROR) << "no interval";
}

TEST(DateTime, FollowsAChangeOfTheZone)
{
    InProcessServer in(
        {{"system_updateinterval", "0"}, {"system_timezoneindex", "0"}, {"system_daylight_enable", "0"}});
    const auto hourIn = [&](const char *zone) {
        setenv("TZ", zone, 1);
        const std::string reply = exchange(in, "");
        return std::stoi(reply.substr(reply.find("time=") + 5));
    };
    const int hour = hourIn("UTC0");
    EXPECT_THAT((hourIn("UTC-9") - hour + 24) % 24, testing::AnyOf(9, 10)) << "10 when an hour ends just now";
    unsetenv("TZ");
}

TEST(DateTime, IsReadWithTheHostsClock)
{
    InProcessServer in({{"system_updateinterval", "3600"},
                        {"system_ntp", "pool.ntp"},
                        {"system_timezoneindex", "160"},
                        {"system_daylight_enable", "1"}});
    const auto matches = [&](const std::string &method, const std::string &server) {
        time_t at = time(nullptr);
        const std::string reply = exchange(in, "");
        for (; at <= time(nullptr); ++at) {
            char clock[64];
            strftime(clock, sizeof clock, "date=%Y-%m-%d\r\ntime=%H:%M:%S\r\n", localtime(&at));
            if (reply == okReply("method=" + method + "\r\ntimeserver=" + server + "\r\ntimezone=52\r\n" + clock +
                                 "dstenable=yes\r\n"))
                return true;
        }
        return false;
    };
    EXPECT_TRUE(matches("1", "pool.ntp"));
    in.store.set("system_updateinterval", "0");
    EXPECT_TRUE(matches("0", "")) << "by hand the server is not asked for, and the method is 0, not 2";
}
