#include "daemon/dispatch/dispatch.h"

#include <cstring>
#include <gtest/gtest.h>

namespace
{

constexpr int NOT_ALLOWED = 0;

/** The API, written down once more: URL, the number of its reading and the number of its change. */
constexpr struct ApiRow {
    const char *url;
    int get;
    int set;
} API[] = {
    {"/config/network.cgi", 1, 2},
    {"/config/datetime.cgi", 2, 1},
    {"/config/video.cgi", 3, 4},
    {"/config/stream_info.cgi", 4, NOT_ALLOWED},
    {"/config/sensor.cgi", 5, 3},
    {"/common/info.cgi", 6, NOT_ALLOWED},
    {"/config/user_mod.cgi", NOT_ALLOWED, 5},
    {"/config/user_del.cgi", NOT_ALLOWED, 6},
    {"/config/rtspurl.cgi", 7, NOT_ALLOWED},
    {"/config/sensor_info.cgi", 8, NOT_ALLOWED},
    {"/config/system_reboot.cgi", NOT_ALLOWED, 7},
    {"/video/mjpg.cgi", 9, NOT_ALLOWED},
    {"/config/mic.cgi", 10, 8},
    {"/config/io.cgi", 11, 9},
    {"/config/rs485.cgi", 12, 10},
    {"/config/rs485_do.cgi", NOT_ALLOWED, 11},
    {"/config/ptz_preset_list.cgi", 13, NOT_ALLOWED},
    {"/config/ptz_preset.cgi", NOT_ALLOWED, 12},
    {"/config/ptz_home.cgi", NOT_ALLOWED, 13},
    {"/config/audio.cgi", 14, 14},
    {"/config/notify_stream.cgi", 15, NOT_ALLOWED},
    {"/config/auto_pan.cgi", NOT_ALLOWED, 15},
    {"/config/speaker.cgi", 16, 16},
    {"/dev/speaker.cgi", NOT_ALLOWED, 17},
    {"/config/motion.cgi", 17, 18},
    {"/cgi/admin/recorder.cgi", 18, 19},
    {"/cgi/admin/adv_snapshot_cont.cgi", 19, 20},
    {"/cgi/admin/adv_do.cgi", 20, 21},
    {"/config/ptz_move_rel.cgi", NOT_ALLOWED, 22},
    {"/config/scheduled_reboot.cgi", NOT_ALLOWED, 23},
    {"/config/camera_info.cgi", 21, 24},
    {"/config/timestamp.cgi", 22, 25},
    {"/config/ddns.cgi", 23, 26},
};

class Dispatch : public testing::Test
{
  protected:
    int parse(RequestMethod method, const std::string &url, const std::string &query = {})
    {
        *slot = {};
        slot->tRequest.eMethod = method;
        strcpy(slot->tRequest.acUrl, url.c_str());
        strcpy(slot->tRequest.acQeryString, query.c_str());
        return Dispatch_Parse(*slot);
    }
    /** What parsing chose: "get 6", "set 24", or "refused 4" with the status kind. */
    std::string chosen() const
    {
        if (slot->eMappingMethod == MappingMethod::None)
            return "refused " + std::to_string(static_cast<int>(slot->eStatusKind));
        return (slot->eMappingMethod == MappingMethod::Get ? "get " : "set ") + std::to_string(slot->iMappingIndex);
    }

    std::unique_ptr<SessionSlot> slot = std::make_unique<SessionSlot>();
};

} // namespace

TEST_F(Dispatch, KnowsTheRowsOfTheApi)
{
    ASSERT_EQ(std::size(API), 33U);
    for (const ApiRow &row : API) {
        SCOPED_TRACE(row.url);
        const bool readable = row.get != NOT_ALLOWED;
        EXPECT_EQ(parse(RequestMethod::Get, row.url), readable ? 0 : -1);
        EXPECT_EQ(chosen(), readable ? "get " + std::to_string(row.get) : "refused 4");
        EXPECT_EQ(slot->eStatusKind, readable ? StatusKind::Ok : StatusKind::BadRequest);

        const std::string change = row.set != NOT_ALLOWED ? "set " + std::to_string(row.set) : "refused 4";
        (void)parse(RequestMethod::Get, row.url, "no-such-key=1");
        EXPECT_EQ(chosen(), change) << "a GET with parameters";
        (void)parse(RequestMethod::Post, row.url);
        EXPECT_EQ(chosen(), change) << "a POST";
    }
}

TEST_F(Dispatch, RefusesUnknownUrlsAndMethods)
{
    for (const char *url : {"", "/common/info", "/common/info.cgix", "/Common/info.cgi", "common/info.cgi"}) {
        EXPECT_EQ(parse(RequestMethod::Get, url), -1) << url;
        EXPECT_EQ(chosen(), "refused 4") << url;
    }
    EXPECT_EQ(parse(RequestMethod::Other, "/unknown"), -1);
    EXPECT_EQ(chosen(), "refused 3") << "the method counts first";
    EXPECT_EQ(parse(static_cast<RequestMethod>(3), "/common/info.cgi"), -1);
    EXPECT_EQ(chosen(), "refused 3");
}

TEST_F(Dispatch, ReadsWithASelectorOfElevenCharacters)
{
    for (const char *url : {"/config/video.cgi", "/config/rtspurl.cgi", "/video/mjpg.cgi", "/config/audio.cgi"}) {
        (void)parse(RequestMethod::Get, url, "profileid=1");
        EXPECT_TRUE(chosen().starts_with("get")) << url;
        EXPECT_STREQ(slot->tRequest.acQeryString, "profileid=1&");
    }
    (void)parse(RequestMethod::Get, "/config/video.cgi", "anything=@=");
    EXPECT_EQ(chosen(), "get 3") << "it is the length that counts";
    const std::pair<const char *, const char *> changes[] = {{"/config/video.cgi", "profileid="},
                                                             {"/config/video.cgi", "profileid=10"},
                                                             {"/config/mic.cgi", "profileid=1"},
                                                             {"/common/info.cgi", "profileid=1"}};
    for (const auto &[url, query] : changes) {
        (void)parse(RequestMethod::Get, url, query);
        EXPECT_FALSE(chosen().starts_with("get")) << url << "?" << query;
    }
}

TEST_F(Dispatch, DoesNothingForAnIndexOutsideTheTables)
{
    for (const int32_t index : {-1, 0, 24, 27, INT32_MIN, INT32_MAX}) {
        *slot = {};
        slot->iMappingIndex = index;
        if (index != 24) { // behind the last read, but a change
            EXPECT_EQ(Dispatch_SetRow(*slot).pfnRoutine(*slot), 0);
        }
        EXPECT_EQ(Dispatch_GetRow(*slot).pfnRoutine(*slot), 0);
        TextBuffer<16> body;
        Dispatch_GetRow(*slot).pfnCompose(body, *slot);
        EXPECT_TRUE(body.Empty());
        EXPECT_EQ(slot->eMappingResult, StatusKind::Unset);
    }
}
