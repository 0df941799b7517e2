#include "families/events/recorder_share.h"
#include "tests/fakes/in_process_server.h"
#include "tests/fakes/poisoned.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace
{

using Texts = std::vector<std::string>;

const std::string STOP = "event_i0_enable=0&recording_i0_enable=0&";

class RecorderShare : public testing::Test
{
  protected:
    /** Changes the share; a null part is not given. */
    int Change(const char *server, const char *folder)
    {
        store.ClearRequests();
        clock.sleeps.clear();
        return Recorder_SetShareLocation(server, folder);
    }

    RootEnvironment root;
    FakeStore store{
        root.Path("/tmp/configer"),
        {{"event_i0_enable", "0"}, {"recording_i0_enable", "1"}, {"server_i0_ns_location", "\\\\old\\video"}}};
    FakeClock clock;
};

} // namespace

TEST(UncSplitter, TakesServerAndShare)
{
    const struct {
        const char *unc;
        const char *server; ///< as much as fits into 8 bytes
        const char *share;
    } cases[] = {
        {"\\\\nas\\video", "nas", "video"},
        {"\\\\nas", "nas", ""},
        {"\\\\nas\\", "nas", ""},
        {"\\\\nas\\video\\2024", "nas", "video\\2"},
        {"smb:\\\\nas\\video", "nas", "video"},
        {"\\\\\\nas\\video", "", "nas\\vid"},
        {"\\\\", "", ""},
        {"\\nas\\video", "", ""},
        {"nas", "", ""},
        {"", "", ""},
        {"\\\\1234567\\1234567", "1234567", "1234567"},
        {"\\\\12345678\\12345678", "1234567", "1234567"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.unc);
        PoisonedBuffer<8> server, share;
        GetServerFromUNC(c.unc, server.Span());
        GetShareFromUNC(c.unc, share.Span());
        EXPECT_STREQ(server.Text(), c.server);
        EXPECT_STREQ(share.Text(), c.share);
        EXPECT_TRUE(server.Intact());
        EXPECT_TRUE(share.Intact());
    }
}

TEST_F(RecorderShare, RecordingStopsWhileItChanges)
{
    const std::string resume = "event_i0_enable=0&recording_i0_enable=1&";
    const struct {
        const char *description;
        const char *server;
        const char *folder;
        const char *location;
    } cases[] = {{"the server", "nas1", nullptr, "\\\\nas1\\video"},
                 {"the folder", nullptr, "clips", "\\\\old\\clips"},
                 {"both", "nas1", "clips", "\\\\nas1\\clips"},
                 {"empty ones are given too", "", "", "\\\\\\"}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        store.Set("server_i0_ns_location", "\\\\old\\video");
        EXPECT_EQ(Change(c.server, c.folder), 0);
        EXPECT_EQ(store.Sets(), (Texts{STOP, std::string("server_i0_ns_location=") + c.location + "&", resume}));
        EXPECT_EQ(clock.sleeps, std::vector<uint32_t>{3000});
        EXPECT_EQ(store.Value("recording_i0_enable"), "1");
    }
    store.Set("recording_i0_enable", "0");
    EXPECT_EQ(Change("nas1", "video"), 0);
    EXPECT_EQ(store.Sets(), Texts{"server_i0_ns_location=\\\\nas1\\video&"});
    EXPECT_TRUE(clock.sleeps.empty()) << "there is nothing to stop";
}

TEST_F(RecorderShare, KeptTheEventStateIsLookedForBehindItsValue)
{
    const struct {
        const char *states;
        int event; ///< as it is taken
        int recording;
    } cases[] = {
        {"event_i0_enable=1\nrecording_i0_enable=1\n", 0, 1}, // the usual order: the slot comes back switched off
        {"event_i0_enable=1\nrecording_i0_enable=0\n", 0, 0},
        {"recording_i0_enable=0\nevent_i0_enable=1\n", 0, 0}, // looks past the end
        {"event_i0_enable=00001\nrecording_i0_enable=0\n", 1, 0},
        {"event_i0_enable=0\nxy1\nrecording_i0_enable=1\n", 1, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.states);
        store.Answer(c.states, 1);
        EXPECT_EQ(Change("nas", "video"), 0);
        const std::string location = "server_i0_ns_location=\\\\nas\\video&";
        EXPECT_EQ(store.Sets(), c.event + c.recording == 0
                                    ? Texts{location}
                                    : (Texts{STOP, location,
                                             "event_i0_enable=" + std::to_string(c.event) +
                                                 "&recording_i0_enable=" + std::to_string(c.recording) + "&"}));
    }
}

TEST_F(RecorderShare, AFailureLeavesRecordingStopped)
{
    const struct {
        const char *description;
        int request;
        size_t requests; ///< made in all
        bool slept;
    } cases[] = {{"the states", 1, 1, false},
                 {"the stop", 2, 2, false},
                 {"the stored share", 3, 3, true},
                 {"the new share", 4, 4, true},
                 {"the states again", 5, 5, true}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        store.AnswerNothing(c.request);
        EXPECT_EQ(Change("nas1", nullptr), -1);
        EXPECT_EQ(store.Requests().size(), c.requests);
        EXPECT_EQ(clock.sleeps.size(), c.slept ? 1U : 0U);
        store.Set("recording_i0_enable", "1");
    }
    store.Set("server_i0_ns_location", std::string(64, 'x'));
    EXPECT_EQ(Change("nas1", nullptr), -1) << "a stored share of 64 characters";
    EXPECT_EQ(store.Value("recording_i0_enable"), "0");
    store.Set("server_i0_ns_location", "\\\\" + std::string(29, 's') + "\\" + std::string(31, 'f'));
    EXPECT_EQ(Change("nas1", nullptr), 0) << "one of 63 characters";
    EXPECT_EQ(store.Value("server_i0_ns_location"), "\\\\nas1\\" + std::string(31, 'f'));
    for (const char *name : {"event_i0_enable", "recording_i0_enable"}) {
        const std::string value = store.Value(name);
        store.Remove(name);
        EXPECT_EQ(Change("nas1", "f"), -1) << name;
        EXPECT_TRUE(store.Sets().empty());
        store.Set(name, value);
    }
}

TEST(RecorderShareRequest, IsAnsweredUpdateFailedWithTheMainSettingsWritten)
{
    InProcessServer daemon(
        {{"event_i0_enable", "1"}, {"recording_i0_enable", "1"}, {"server_i0_ns_location", "\\\\old\\video"}});
    const std::string query =
        "schedule=1&continuous=0&toUSB=0&toSamba=1&byMotion=0&byIn1=0&byIn2=0&enable=1&server=nas1";
    daemon.store.AnswerNothing(4); // the main settings, the states, the stop, the stored share
    EXPECT_EQ(daemon.Exchange({.url = "/cgi/admin/recorder.cgi", .query = query}), UPDATE_FAILED);
    EXPECT_EQ(daemon.store.Value("event_i0_name"), "kelpa_recorder");
    EXPECT_EQ(daemon.store.Value("recording_i0_enable"), "0") << "recording stays off";
    EXPECT_EQ(daemon.store.Value("server_i0_ns_location"), "\\\\old\\video");

    EXPECT_EQ(daemon.Exchange({.url = "/cgi/admin/recorder.cgi", .query = query}), XML_OK);
    EXPECT_EQ(daemon.store.Value("server_i0_ns_location"), "\\\\nas1\\video");
    EXPECT_EQ(daemon.store.Value("recording_i0_enable"), "1");
    EXPECT_EQ(daemon.clock.sleeps, (std::vector<uint32_t>{3000, 3000}));
}
