#include "daemon/dispatch/dispatch.h"

#include <cstring>
#include <gtest/gtest.h>
#include <sstream>

namespace
{

/** The API, written down once more: URL, the number of its reading and the number of its change; 0: not allowed. */
constexpr char API[] = R"(
/config/network.cgi 1 2         /config/datetime.cgi 2 1         /config/video.cgi 3 4      /config/stream_info.cgi 4 0
/config/sensor.cgi 5 3          /common/info.cgi 6 0             /config/user_mod.cgi 0 5   /config/user_del.cgi 0 6
/config/rtspurl.cgi 7 0         /config/sensor_info.cgi 8 0      /config/system_reboot.cgi 0 7  /video/mjpg.cgi 9 0
/config/mic.cgi 10 8            /config/io.cgi 11 9              /config/rs485.cgi 12 10    /config/rs485_do.cgi 0 11
/config/ptz_preset_list.cgi 13 0  /config/ptz_preset.cgi 0 12    /config/ptz_home.cgi 0 13  /config/audio.cgi 14 14
/config/notify_stream.cgi 15 0  /config/auto_pan.cgi 0 15        /config/speaker.cgi 16 16  /dev/speaker.cgi 0 17
/config/motion.cgi 17 18        /cgi/admin/recorder.cgi 18 19    /cgi/admin/adv_snapshot_cont.cgi 19 20
/cgi/admin/adv_do.cgi 20 21     /config/ptz_move_rel.cgi 0 22    /config/scheduled_reboot.cgi 0 23
/config/camera_info.cgi 21 24   /config/timestamp.cgi 22 25      /config/ddns.cgi 23 26)";

class Dispatch : public testing::Test
{
  protected:
    /** What parsing chooses: "get 6", "set 24", or "refused 4" with the status kind. */
    std::string chosen(RequestMethod method, const std::string &url, const std::string &query = {})
    {
        *slot = {};
        slot->tRequest.eMethod = method;
        strcpy(slot->tRequest.acUrl, url.c_str());
        strcpy(slot->tRequest.acQeryString, query.c_str());
        const int result = Dispatch_Parse(*slot);
        if (slot->eMappingMethod == MappingMethod::None) {
            EXPECT_EQ(result, -1);
            return "refused " + std::to_string(static_cast<int>(slot->eStatusKind));
        }
        return (slot->eMappingMethod == MappingMethod::Get ? "get " : "set ") + std::to_string(slot->iMappingIndex);
    }

    std::unique_ptr<SessionSlot> slot = std::make_unique<SessionSlot>();
};

} // namespace

TEST_F(Dispatch, KnowsTheRowsOfTheApi)
{
    std::istringstream rows(API);
    int count = 0;
    for (std::string url, get, set; rows >> url >> get >> set; ++count) {
        SCOPED_TRACE(url);
        EXPECT_EQ(chosen(RequestMethod::Get, url), get != "0" ? "get " + get : "refused 4");
        EXPECT_EQ(slot->eStatusKind, get != "0" ? StatusKind::Ok : StatusKind::BadRequest);
        const std::string change = set != "0" ? "set " + set : "refused 4";
        EXPECT_EQ(chosen(RequestMethod::Get, url, "no-such-key=1"), change) << "a GET with parameters";
        EXPECT_EQ(chosen(RequestMethod::Post, url), change);
    }
    EXPECT_EQ(count, 33);
}

TEST_F(Dispatch, RefusesUnknownUrlsAndMethods)
{
    for (const char *url : {"", "/common/info", "/common/info.cgix", "/Common/info.cgi", "common/info.cgi"})
        EXPECT_EQ(chosen(RequestMethod::Get, url), "refused 4") << url;
    EXPECT_EQ(chosen(RequestMethod::Other, "/unknown"), "refused 3") << "the method counts first";
}

TEST_F(Dispatch, ReadsWithASelectorOfElevenCharacters)
{
    for (const char *url : {"/config/video.cgi", "/config/rtspurl.cgi", "/video/mjpg.cgi", "/config/audio.cgi"}) {
        EXPECT_TRUE(chosen(RequestMethod::Get, url, "profileid=1").starts_with("get")) << url;
        EXPECT_STREQ(slot->tRequest.acQeryString, "profileid=1&");
    }
    EXPECT_EQ(chosen(RequestMethod::Get, "/config/video.cgi", "anything=@="), "get 3") << "the length counts";
    const std::pair<const char *, const char *> changes[] = {{"/config/video.cgi", "profileid="},
                                                             {"/config/video.cgi", "profileid=10"},
                                                             {"/config/mic.cgi", "profileid=1"},
                                                             {"/common/info.cgi", "profileid=1"}};
    for (const auto &[url, query] : changes)
        EXPECT_FALSE(chosen(RequestMethod::Get, url, query).starts_with("get")) << url << "?" << query;
}

TEST_F(Dispatch, DoesNothingForAnIndexOutsideTheTables)
{
    for (const int32_t index : {-1, 0, 27, INT32_MIN, INT32_MAX}) {
        *slot = {};
        slot->iMappingIndex = index;
        EXPECT_EQ(Dispatch_SetRow(*slot).pfnRoutine(*slot), 0);
        EXPECT_EQ(Dispatch_GetRow(*slot).pfnRoutine(*slot), 0);
        TextBuffer<16> body;
        Dispatch_GetRow(*slot).pfnCompose(body, *slot);
        EXPECT_TRUE(body.Empty());
        EXPECT_EQ(slot->eMappingResult, StatusKind::Unset);
    }
}
