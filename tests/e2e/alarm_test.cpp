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

std::string Request(int motion, int in1, int in2)
{
    return "out1ByMotion=" + std::to_string(motion) + "&out1ByIn1=" + std::to_string(in1) +
           "&out1ByIn2=" + std::to_string(in2);
}

std::string Reply(int enable, int motion, int in1, int in2)
{
    return OkReply("<config><digitalOutput><toOut1><enable>" + std::to_string(enable) +
                   "</enable><triggerBy><byMotion>" + std::to_string(motion) + "</byMotion><byIn1>" +
                   std::to_string(in1) + "</byIn1><byIn2>" + std::to_string(in2) +
                   "</byIn2></triggerBy></toOut1></digitalOutput></config>");
}

} // namespace

TEST(Alarm, IsWrittenAndReadBack)
{
    TestCamera camera({.settings = {{"event_i2_enable", "0"}, {"event_i2_di", "0"}}});
    const struct {
        int motion, in1, in2;
        const char *trigger;
    } cases[] = {{1, 0, 0, "event_i2_trigger=motion&"},
                 {0, 1, 0, "event_i2_trigger=di&event_i2_di=1&"},
                 {0, 0, 1, "event_i2_trigger=di&event_i2_di=2&"},
                 {0, 1, 1, "event_i2_trigger=di&event_i2_di=3&"},
                 {0, 0, 0, "event_i2_trigger=&"}};
    for (const auto &c : cases) {
        const std::string query = Request(c.motion, c.in1, c.in2);
        ExpectExchanges(camera, URL,
                        {{"on", "toOut1=1&" + query, XML_OK, {FIXED + "event_i2_enable=1&" + c.trigger}}});
        EXPECT_EQ(camera.Get(URL), Reply(1, c.motion, c.in1, c.in2));
        ExpectExchanges(camera, URL, {{"no change of the switch", query, XML_OK, {FIXED + c.trigger}}});
        EXPECT_EQ(camera.Get(URL), Reply(1, c.motion, c.in1, c.in2));
        ExpectExchanges(camera, URL,
                        {{"off", query + "&toOut1=0", XML_OK, {FIXED + "event_i2_enable=0&" + c.trigger}}});
        EXPECT_EQ(camera.Get(URL), Reply(0, c.motion, c.in1, c.in2));
    }
}

TEST(Alarm, BadRequestsWriteNothing)
{
    TestCamera camera;
    const std::string good = Request(0, 0, 0);
    ExpectExchanges(camera, URL,
                    {{"a switch of 2", "toOut1=2&" + good, INVALID_PARAMETER},
                     {"a switch of -1", "toOut1=-1&" + good, INVALID_PARAMETER},
                     {"motion with input 1", Request(1, 1, 0), INVALID_PARAMETER},
                     {"motion with input 2", Request(1, 0, 1), INVALID_PARAMETER},
                     {"an input of 2", Request(0, 2, 0), INVALID_PARAMETER},
                     {"no input 2", "out1ByMotion=1&out1ByIn1=0", INVALID_PARAMETER},
                     {"no motion", "out1ByIn1=1&out1ByIn2=0", INVALID_PARAMETER},
                     {"the switch alone", "toOut1=1", INVALID_PARAMETER},
                     {"a full text", std::string(4095, 'x'), INVALID_PARAMETER},
                     {"forbidden characters", good + "&a=<b>", BAD_REQUEST},
                     {"two ampersands", good + "&&toOut1=1", BAD_REQUEST}});
    EXPECT_EQ(camera.Post(URL, ""), INVALID_PARAMETER);
    EXPECT_EQ(camera.Post(URL, good), XML_OK);
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(URL, good), UPDATE_FAILED);
}

TEST(Alarm, AFailedReadIsUnavailableAndAMissingValueAnError)
{
    const FakeStore::Settings settings = {
        {"event_i2_enable", "1"}, {"event_i2_trigger", "di"}, {"event_i2_di", "3"}};
    TestCamera camera({.settings = settings});
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL), Reply(1, 0, 1, 1));
    EXPECT_EQ(camera.store.Requests(),
              std::vector<std::string>{"get NameValue 99 0\nevent_i2_enable&event_i2_trigger&event_i2_di&"});
    for (const auto &[name, value] : settings) {
        camera.store.Remove(name);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR) << name;
        camera.store.Set(name, value);
    }
    camera.store.Set({{"event_i2_trigger", "motion"}});
    camera.store.Remove("event_i2_di");
    EXPECT_EQ(camera.Get(URL), Reply(1, 1, 0, 0)) << "motion needs no inputs";
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
    camera.store.Refuse();
    EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
}
