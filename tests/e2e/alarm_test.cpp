#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/cgi/admin/adv_do.cgi";

const std::string FIXED =
    "event_i2_name=kelpa_alarm&event_i2_weekday=127&event_i2_begintime=00:00&event_i2_endtime=24:00&"
    "event_i2_action_do_i0_enable=1&event_i2_action_goto_enable=0&event_i2_action_cf_enable=0&"
    "event_i2_action_server_i0_enable=0&event_i2_action_server_i1_enable=0&event_i2_action_server_i2_enable=0&"
    "event_i2_action_server_i3_enable=0&event_i2_action_server_i4_enable=0&event_i2_action_patrol_enable=0&";

const std::string NO_TRIGGER = "out1ByMotion=0&out1ByIn1=0&out1ByIn2=0";

std::string reply(int enable, const std::string &motion, const std::string &in1, const std::string &in2)
{
    return okReply("<config><digitalOutput><toOut1><enable>" + std::to_string(enable) +
                   "</enable><triggerBy><byMotion>" + motion + "</byMotion><byIn1>" + in1 + "</byIn1><byIn2>" +
                   in2 + "</byIn2></triggerBy></toOut1></digitalOutput></config>");
}

} // namespace

TEST(Alarm, IsWrittenAndReadBack)
{
    TestCamera camera({.settings = {{"event_i2_enable", "0"}, {"event_i2_di", "0"}}});
    const struct {
        std::string motion, in1, in2, written;
    } cases[] = {{"1", "0", "0", "event_i2_trigger=motion&"},
                 {"0", "1", "0", "event_i2_trigger=di&event_i2_di=1&"},
                 {"0", "0", "1", "event_i2_trigger=di&event_i2_di=2&"},
                 {"0", "1", "1", "event_i2_trigger=di&event_i2_di=3&"},
                 {"0", "0", "0", "event_i2_trigger=&"}};
    for (const auto &[motion, in1, in2, written] : cases) {
        const std::string query = "out1ByMotion=" + motion + "&out1ByIn1=" + in1 + "&out1ByIn2=" + in2;
        expectChanges(camera, URL, {{"toOut1=1&" + query, FIXED + "event_i2_enable=1&" + written}});
        EXPECT_EQ(camera.get(URL), reply(1, motion, in1, in2));
        expectChanges(camera, URL, {{query, FIXED + written}});
        EXPECT_EQ(camera.get(URL), reply(1, motion, in1, in2));
        expectChanges(camera, URL, {{query + "&toOut1=0", FIXED + "event_i2_enable=0&" + written}});
        EXPECT_EQ(camera.get(URL), reply(0, motion, in1, in2));
    }
}

TEST(Alarm, BadRequestsWriteNothing)
{
    TestCamera camera;
    expectRanges(camera, URL, "toOut1=0..1", NO_TRIGGER + "&");
    expectRefused(camera, URL,
                  "toOut1=1 out1ByMotion=1&out1ByIn1=1&out1ByIn2=0 out1ByMotion=1&out1ByIn1=0&out1ByIn2=1",
                  INVALID_PARAMETER);
    expectRefused(camera, URL, NO_TRIGGER + "&a=<b>");
    EXPECT_EQ(camera.post(URL, ""), INVALID_PARAMETER);
    EXPECT_EQ(camera.post(URL, NO_TRIGGER), XML_OK);
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(URL, NO_TRIGGER), UPDATE_FAILED);
}
