#include "daemon/families/events/recorder_share.h"
#include "tests/fakes/fake_clock.h"
#include "tests/fakes/fake_store.h"
#include "tests/fakes/poisoned.h"
#include "tests/fakes/temp_root.h"

#include <gtest/gtest.h>

namespace
{

using Texts = std::vector<std::string>;

const std::string STOP = "event_i0_enable=0&recording_i0_enable=0&";

class RecorderShare : public testing::Test
{
  protected:
    /** Changes the share; a null part is not given. */
    int change(const char *server, const char *folder)
    {
        store.clearRequests();
        clock.sleeps.clear();
        return Recorder_SetShareLocation(server, folder);
    }

    RootEnvironment root;
    FakeStore store{
        root.path("/tmp/configer"),
        {{"event_i0_enable", "0"}, {"recording_i0_enable", "1"}, {"server_i0_ns_location", "\\\\old\\video"}}};
    FakeClock clock;
};

} // namespace

TEST(UncSplitter, TakesServerAndShare)
{
    /** As much of both as fits into 8 bytes. */
    const auto parts = [](const char *unc) {
        PoisonedBuffer<8> server, share;
        GetServerFromUNC(unc, server.span());
        GetShareFromUNC(unc, share.span());
        EXPECT_TRUE(server.intact() && share.intact()) << unc;
        return std::string(server.text()) + " + " + share.text();
    };
    const std::pair<const char *, const char *> cases[] = {{R"(\\nas\)", "nas + "},
                                                           {R"(\\nas\video\2024)", R"(nas + video\2)"},
                                                           {R"(smb:\\nas\video)", "nas + video"},
                                                           {R"(\\\nas\video)", R"( + nas\vid)"},
                                                           {R"(\\)", " + "},
                                                           {R"(\nas\video)", " + "},
                                                           {R"(\\1234567\1234567)", "1234567 + 1234567"},
                                                           {R"(\\12345678\12345678)", "1234567 + 1234567"}};
    for (const auto &[unc, expected] : cases)
        EXPECT_EQ(parts(unc), expected) << unc;
}

TEST_F(RecorderShare, RecordingStopsWhileItChanges)
{
    const struct {
        const char *server, *folder, *location;
    } cases[] = {{"nas1", nullptr, R"(\\nas1\video)"}, {nullptr, "clips", R"(\\old\clips)"}, {"", "", R"(\\\)"}};
    for (const auto &c : cases) {
        store.set("server_i0_ns_location", R"(\\old\video)");
        EXPECT_EQ(change(c.server, c.folder), 0);
        EXPECT_EQ(store.sets(), (Texts{STOP, "server_i0_ns_location=" + std::string(c.location) + "&",
                                       "event_i0_enable=0&recording_i0_enable=1&"}));
        EXPECT_EQ(clock.sleeps, std::vector<uint32_t>{3000});
    }
    store.set("recording_i0_enable", "0");
    EXPECT_EQ(change("nas1", "video"), 0);
    EXPECT_EQ(store.sets(), Texts{R"(server_i0_ns_location=\\nas1\video&)"});
    EXPECT_TRUE(clock.sleeps.empty()) << "there is nothing to stop";
}

TEST_F(RecorderShare, KeptTheEventStateIsLookedForBehindItsValue)
{
    /** What recording is switched back to, "" when it is not touched. */
    const auto resumed = [this](const char *states) {
        store.answer(states, 1);
        EXPECT_EQ(change("nas", "video"), 0);
        const std::vector<std::string> sets = store.sets();
        const std::string location = "server_i0_ns_location=\\\\nas\\video&";
        EXPECT_EQ(sets, sets.size() == 1 ? Texts{location} : (Texts{STOP, location, sets.back()}));
        return sets.size() == 1 ? "" : sets.back();
    };
    EXPECT_EQ(resumed("event_i0_enable=1\nrecording_i0_enable=0\n"), "") << "in the usual order it reads as off";
    EXPECT_EQ(resumed("recording_i0_enable=0\nevent_i0_enable=1\n"), "") << "looks past the end";
    EXPECT_EQ(resumed("event_i0_enable=00001\nrecording_i0_enable=0\n"),
              "event_i0_enable=1&recording_i0_enable=0&");
    EXPECT_EQ(resumed("event_i0_enable=0\nxy1\nrecording_i0_enable=1\n"),
              "event_i0_enable=1&recording_i0_enable=1&");
}

TEST_F(RecorderShare, AFailureLeavesRecordingStopped)
{
    // The states, the stop, the stored share, the new share, the states again.
    for (int request = 1; request <= 5; ++request) {
        SCOPED_TRACE(request);
        store.answerNothing(request);
        EXPECT_EQ(change("nas1", nullptr), -1);
        EXPECT_EQ(store.requests().size(), static_cast<size_t>(request));
        EXPECT_EQ(clock.sleeps.size(), request > 2 ? 1U : 0U);
        store.set("recording_i0_enable", "1");
    }
    store.set("server_i0_ns_location", std::string(64, 'x'));
    EXPECT_EQ(change("nas1", nullptr), -1) << "a stored share of 64 characters";
    EXPECT_EQ(store.value("recording_i0_enable"), "0");
    store.set("server_i0_ns_location", "\\\\" + std::string(29, 's') + "\\" + std::string(31, 'f'));
    EXPECT_EQ(change("nas1", nullptr), 0) << "one of 63 characters";
    EXPECT_EQ(store.value("server_i0_ns_location"), "\\\\nas1\\" + std::string(31, 'f'));
}
