#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/fake_program.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/cgi/admin/recorder.cgi";

const std::string FIXED =
    "event_i0_name=kelpa_recorder&event_i0_action_do_i0_enable=0&event_i0_action_goto_enable=0&"
    "event_i0_action_cf_media=0&event_i0_action_server_i0_media=0&event_i0_action_server_i1_enable=0&"
    "event_i0_action_server_i2_enable=0&event_i0_action_server_i3_enable=0&event_i0_action_server_i4_enable=0&"
    "event_i0_action_patrol_enable=0&recording_i0_name=kelpa_recorder&recording_i0_trigger=schedule&"
    "server_i0_name=kelpa_nas&server_i0_type=ns&server_i0_ns_workgroup=workgroup&media_i0_name=kelpa_recorder&"
    "media_i0_type=videoclip&media_i0_videoclip_maxsize=4096&";

/** The keys without which there is no request but the trigger's and the targets', and what they write. */
const std::string MODE = "schedule=1&continuous=0&";
const std::string TARGETS = "toUSB=1&toSamba=0&";
const std::string TARGET_PAIRS =
    "event_i0_action_cf_enable=1&event_i0_action_server_i0_enable=0&recording_i0_dest=cf&";
const std::string NO_TRIGGER = "byMotion=0&byIn1=0&byIn2=0";
const std::string REQUIRED = MODE + TARGETS + NO_TRIGGER;

std::string Always(const std::string &slot)
{
    return slot + "_i0_weekday=127&" + slot + "_i0_begintime=00:00&" + slot + "_i0_endtime=24:00&";
}

const std::vector<std::pair<std::string, std::string>> STORED = {
    {"event_i0_enable", "1"},
    {"event_i0_weekday", "40"},
    {"event_i0_begintime", "08:00"},
    {"event_i0_endtime", "17:00"},
    {"event_i0_trigger", "di"},
    {"event_i0_di", "3"},
    {"event_i0_action_cf_enable", "0"},
    {"event_i0_action_server_i0_enable", "1"},
    {"media_i0_videoclip_source", "1"},
    {"media_i0_videoclip_preevent", "5"},
    {"media_i0_videoclip_maxduration", "15"},
    {"server_i0_ns_username", "me"},
    {"server_i0_ns_passwd", "secret"},
    {"server_i0_ns_location", "\\\\nas\\video"},
    {"recording_i0_limitsize", "1"},
    {"recording_i0_reserveamount", "500"},
    {"recording_i0_duration", "359"},
    {"recording_i0_cyclic", "1"},
};

FakeStore::Settings Settings()
{
    FakeStore::Settings settings(STORED.begin(), STORED.end());
    settings["capability_nmediastream"] = "4";
    return settings;
}

std::string Body()
{
    return "<config><record><enable>1</enable><profileID>2</profileID><continuous>0</continuous>"
           "<prerecord>5</prerecord><postrecord>10</postrecord><keepSpace>500</keepSpace><fileLenMin>5</fileLenMin>"
           "<recycle>1</recycle><recordTo><toSamba><enable>1</enable><anonymous>0</anonymous><user>me</user>"
           "<password>secret</password><server>nas</server><shareFolder>video</shareFolder></toSamba>"
           "<toUSB><enable>0</enable></toUSB></recordTo><schedule><enable>1</enable>"
           "<profileName>Record</profileName><item01>1,8,0,1,17,0</item><item02>3,8,0,3,17,0</item><item03></item>"
           "<item04></item><item05></item><item06></item><item07></item><itemSize>2</itemSize></schedule>"
           "<triggerBy><byMotion>0</byMotion><byIn1>1</byIn1><byIn2>1</byIn2></triggerBy></record></config>";
}

std::string Replaced(std::string text, const std::string &from, const std::string &to)
{
    const size_t at = text.find(from);
    return at == std::string::npos ? "(no " + from + ")" : text.replace(at, from.size(), to);
}

} // namespace

TEST(Recorder, IsReadInOneRequest)
{
    TestCamera camera({.settings = Settings()});
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL), OkReply(Body()));
    std::string request = "get NameValue 99 0\n";
    for (const auto &[name, value] : STORED)
        request += name + "&";
    EXPECT_EQ(camera.store.Requests(), std::vector<std::string>{request});

    const struct {
        const char *description;
        FakeStore::Settings settings;
        std::string from, to;
    } cases[] = {
        {"no share", {{"server_i0_ns_location", "\\\\nas"}}, "<shareFolder>video<", "<shareFolder><"},
        {"no location",
         {{"server_i0_ns_location", ""}},
         "<server>nas</server><shareFolder>video<",
         "<server></server><shareFolder><"},
        {"anonymous",
         {{"server_i0_ns_username", "anonymous2"}, {"server_i0_ns_passwd", ""}},
         "<anonymous>0</anonymous><user>me</user><password>secret<",
         "<anonymous>1</anonymous><user>anonymous2</user><password><"},
        {"not anonymous with a password",
         {{"server_i0_ns_username", "anonymous"}},
         "<user>me<",
         "<user>anonymous<"},
        {"without a limit the reserve is not looked at",
         {{"recording_i0_limitsize", "0"}, {"recording_i0_reserveamount", std::string(99, '9')}},
         "<keepSpace>500<",
         "<keepSpace>0<"},
        {"a clip that is shorter than its beginning",
         {{"media_i0_videoclip_maxduration", "3"}},
         "<postrecord>10<",
         "<postrecord>-2<"},
        {"motion",
         {{"event_i0_trigger", "motion"}},
         "<byMotion>0</byMotion><byIn1>1</byIn1><byIn2>1<",
         "<byMotion>1</byMotion><byIn1>0</byIn1><byIn2>0<"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        camera.store.Set(c.settings);
        EXPECT_EQ(camera.Get(URL), OkReply(Replaced(Body(), c.from, c.to)));
        camera.store.Set(Settings());
    }
    camera.store.Set({{"event_i0_weekday", "127"}, {"event_i0_begintime", "00:00"}, {"event_i0_endtime", "24:00"}});
    const std::string always = camera.Get(URL);
    EXPECT_NE(always.find("<continuous>1<"), std::string::npos);
    EXPECT_NE(always.find("<schedule><enable>0<"), std::string::npos);
    EXPECT_NE(always.find("<item07>6,0,0,0,0,0</item><itemSize>7</itemSize>"), std::string::npos);
}

TEST(Recorder, AFailedReadIsUnavailableAndAMissingOrLongValueAnError)
{
    TestCamera camera({.settings = Settings()});
    for (const auto &[name, value] : STORED) {
        SCOPED_TRACE(name);
        camera.store.Remove(name);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR);
        const bool isFlag = name.ends_with("enable") || name.ends_with("limitsize") || name.ends_with("cyclic");
        camera.store.Set(name, std::string(64, '0'));
        EXPECT_EQ(camera.Get(URL) == INTERNAL_ERROR, !isFlag) << "64 characters";
        camera.store.Set(name, value);
    }
    const std::string name(31, 'n');
    camera.store.Set({{"server_i0_ns_username", name},
                      {"server_i0_ns_passwd", name},
                      {"server_i0_ns_location", "\\\\" + std::string(29, 's') + "\\" + name}});
    EXPECT_NE(camera.Get(URL).find("<user>" + name + "</user><password>" + name + "</password><server>" +
                                   std::string(29, 's') + "</server><shareFolder>" + name + "</shareFolder>"),
              std::string::npos);
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
    camera.store.Refuse();
    EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
}

TEST(Recorder, WritesEverythingInItsOrder)
{
    TestCamera camera({.settings = Settings()});
    ExpectExchanges(
        camera, URL,
        {{"everything but the share, backwards",
          "recycle=0&fileLenMin=30&keepSpace=999999&item02=3,8,0,3,17,0&item01=1,8,0,1,17,0&itemSize=2&password=pw&"
          "user=me&anonymous=0&continuous=0&schedule=1&toSamba=1&toUSB=0&byIn2=0&byIn1=1&byMotion=0&postrecord=10&"
          "prerecord=5&profileID=4&enable=1",
          XML_OK,
          {FIXED +
           "event_i0_enable=1&media_i0_videoclip_source=3&recording_i0_source=3&"
           "media_i0_videoclip_preevent=5&media_i0_videoclip_maxduration=15&event_i0_trigger=di&event_i0_di=1&"
           "recording_i0_enable=0&event_i0_action_cf_enable=0&event_i0_action_server_i0_enable=1&"
           "recording_i0_dest=0&server_i0_ns_username=me&server_i0_ns_passwd=pw&event_i0_weekday=40&"
           "event_i0_begintime=08:00&event_i0_endtime=17:00&recording_i0_weekday=40&"
           "recording_i0_begintime=08:00&recording_i0_endtime=17:00&recording_i0_limitsize=1&"
           "recording_i0_reserveamount=999999&recording_i0_duration=1800&recording_i0_cyclic=0&"
           "disk_i0_cyclic_enabled=0&"}},
         {"post-record alone",
          REQUIRED + "&enable=0&postrecord=10",
          XML_OK,
          {FIXED + "event_i0_enable=0&recording_i0_enable=0&media_i0_videoclip_maxduration=10&event_i0_trigger=&" +
           TARGET_PAIRS}},
         {"pre-record alone",
          REQUIRED + "&enable=1&prerecord=15",
          XML_OK,
          {FIXED + "event_i0_enable=1&media_i0_videoclip_preevent=15&event_i0_trigger=&recording_i0_enable=1&" +
           TARGET_PAIRS}},
         {"continuous",
          TARGETS + NO_TRIGGER + "&enable=1&continuous=1&schedule=0&itemSize=1&item01=1,2,0,1,3,0",
          XML_OK,
          {FIXED + "event_i0_enable=1&event_i0_trigger=&recording_i0_enable=1&" + TARGET_PAIRS + Always("event") +
           Always("recording")}},
         {"no target",
          MODE + NO_TRIGGER + "&enable=0&toUSB=0&toSamba=0",
          XML_OK,
          {FIXED + "event_i0_enable=0&recording_i0_enable=0&event_i0_trigger=&event_i0_action_cf_enable=0&"
                   "event_i0_action_server_i0_enable=0&recording_i0_dest=&"}},
         {"an anonymous account, whatever the account says",
          REQUIRED + "&enable=0&anonymous=1&user=me&password=pw",
          XML_OK,
          {FIXED + "event_i0_enable=0&recording_i0_enable=0&event_i0_trigger=&" + TARGET_PAIRS +
           "server_i0_ns_username=anonymous&server_i0_ns_passwd=&"}},
         {"the longest texts",
          REQUIRED + "&enable=0&user=" + std::string(31, 'u') + "&password=" + std::string(32, 'p'),
          XML_OK,
          {FIXED + "event_i0_enable=0&recording_i0_enable=0&event_i0_trigger=&" + TARGET_PAIRS +
           "server_i0_ns_username=" + std::string(31, 'u') + "&"}},
         {"no items, the shortest files",
          REQUIRED + "&enable=0&itemSize=0&fileLenMin=1&keepSpace=0&recycle=1",
          XML_OK,
          {FIXED + "event_i0_enable=0&recording_i0_enable=0&event_i0_trigger=&" + TARGET_PAIRS +
           "event_i0_weekday=0&event_i0_begintime=00:00&event_i0_endtime=00:00&recording_i0_weekday=0&"
           "recording_i0_begintime=00:00&recording_i0_endtime=00:00&recording_i0_limitsize=1&"
           "recording_i0_reserveamount=0&recording_i0_duration=60&recording_i0_cyclic=1&disk_i0_cyclic_enabled="
           "1&"}}});
}

TEST(Recorder, ATriggerSwitchesTheRecordingSlotOff)
{
    TestCamera camera({.settings = Settings()});
    const auto pairs = [](const std::string &enable, const std::string &trigger) {
        return std::vector{FIXED + enable + trigger + TARGET_PAIRS};
    };
    const std::string off = "recording_i0_enable=0&", on = "recording_i0_enable=1&";
    ExpectExchanges(camera, URL,
                    {{"motion", MODE + TARGETS + "byMotion=1&byIn1=0&byIn2=0", XML_OK,
                      pairs("", "event_i0_trigger=motion&" + off)},
                     {"input 1", MODE + TARGETS + "byMotion=0&byIn1=1&byIn2=0", XML_OK,
                      pairs("", "event_i0_trigger=di&event_i0_di=1&" + off)},
                     {"input 2", MODE + TARGETS + "byMotion=0&byIn1=0&byIn2=1", XML_OK,
                      pairs("", "event_i0_trigger=di&event_i0_di=2&" + off)},
                     {"both, and on", MODE + TARGETS + "byMotion=0&byIn1=1&byIn2=1&enable=1", XML_OK,
                      pairs("event_i0_enable=1&", "event_i0_trigger=di&event_i0_di=3&" + off)},
                     {"none, and the store says on", REQUIRED, XML_OK, pairs("", "event_i0_trigger=&" + on)}});
    camera.store.Set("event_i0_enable", "0");
    ExpectExchanges(camera, URL,
                    {{"none, and the store says off", REQUIRED, XML_OK, pairs("", "event_i0_trigger=&")}});
    camera.store.Remove("event_i0_enable");
    ExpectExchanges(camera, URL, {{"none, and the store does not say", REQUIRED, UPDATE_FAILED}});
}

TEST(Recorder, TheProfileMustBeAStreamOfTheCamera)
{
    TestCamera camera({.settings = Settings()});
    const std::string query = REQUIRED + "&enable=0&profileID=";
    for (const char *bad : {"0", "5", "-1", "-2147483648", "99999999999"})
        ExpectExchanges(camera, URL, {{"no stream", query + bad, INVALID_PARAMETER}});
    for (const char *unreadable : {"", "12345678"}) {
        camera.store.Set("capability_nmediastream", unreadable);
        ExpectExchanges(camera, URL,
                        {{"the count", query + "1", *unreadable == '\0' ? INVALID_PARAMETER : UPDATE_FAILED}});
    }
    camera.store.Remove("capability_nmediastream");
    ExpectExchanges(camera, URL, {{"no count", query + "1", UPDATE_FAILED}});
}

TEST(Recorder, BadRequestsWriteNothing)
{
    TestCamera camera({.settings = Settings()});
    std::vector<ExchangeCase> cases;
    for (const std::string key : {"byMotion", "byIn1", "byIn2", "toUSB", "toSamba", "schedule", "continuous"})
        cases.push_back({"without " + key, Replaced(REQUIRED, key, "not"), INVALID_PARAMETER});
    for (const std::string bad :
         {"enable=2", "prerecord=16", "prerecord=-1", "postrecord=16", "anonymous=2", "keepSpace=1000000",
          "keepSpace=-1", "fileLenMin=0", "fileLenMin=31", "recycle=2", "itemSize=8", "itemSize=1",
          "itemSize=1&item01=1,0,0,7,0,0", "itemSize=1&item01=2,17,0,2,8,0",
          "itemSize=2&item01=1,8,0,1,9,0&item02=2,8,0,2,9,1"})
        cases.push_back({"bad", REQUIRED + "&" + bad, INVALID_PARAMETER});
    for (const std::string &bad :
         {MODE + NO_TRIGGER + "&toUSB=1&toSamba=1", MODE + NO_TRIGGER + "&toUSB=2&toSamba=0",
          MODE + NO_TRIGGER + "&toUSB=0&toSamba=-1", TARGETS + NO_TRIGGER + "&schedule=0&continuous=0",
          TARGETS + NO_TRIGGER + "&schedule=1&continuous=1", MODE + TARGETS + "byMotion=1&byIn1=1&byIn2=0",
          TARGETS + "schedule=0&continuous=1&byMotion=1&byIn1=0&byIn2=0",
          TARGETS + "schedule=0&continuous=1&byMotion=0&byIn1=0&byIn2=1"})
        cases.push_back({"bad", bad, INVALID_PARAMETER});
    cases.push_back({"a full text", std::string(4095, 'x'), INVALID_PARAMETER});
    cases.push_back({"forbidden characters", REQUIRED + "&user=<me>", BAD_REQUEST});
    cases.push_back({"two ampersands", REQUIRED + "&&enable=1", BAD_REQUEST});
    ExpectExchanges(camera, URL, cases);
    EXPECT_EQ(camera.Post(URL, ""), INVALID_PARAMETER);
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(URL, REQUIRED + "&enable=1"), UPDATE_FAILED);
}

TEST(Recorder, RunsTheTaskProgramWhenPreOrPostRecordChange)
{
    TestCamera camera({.settings = Settings()});
    FakeProgram program(camera.root, "/usr/bin/gen_task");
    const auto get = [&](const std::string &more) { return camera.Get(URL, REQUIRED + "&enable=1" + more); };
    EXPECT_EQ(get(""), XML_OK);
    EXPECT_EQ(get("&prerecord=16"), INVALID_PARAMETER);
    EXPECT_EQ(get("&prerecord=5&profileID=9"), INVALID_PARAMETER);
    EXPECT_TRUE(program.Runs().empty());
    EXPECT_EQ(get("&prerecord=5"), XML_OK);
    program.ExitWith(1);
    EXPECT_EQ(get("&postrecord=5"), XML_OK) << "how it ends is not looked at";
    ASSERT_EQ(program.Runs().size(), 2U);
    for (const FakeProgram::Run &run : program.Runs()) {
        EXPECT_EQ(run.arguments, "-e");
        EXPECT_EQ(run.descriptors, "0 1 2") << "a program inherits the standard streams only";
    }
    camera.store.AnswerNothing();
    EXPECT_EQ(get("&postrecord=5"), UPDATE_FAILED);
    EXPECT_EQ(program.Runs().size(), 2U);
}

TEST(Recorder, WithoutTheTaskProgramTheChangeStands)
{
    TestCamera camera({.settings = Settings()});
    EXPECT_EQ(camera.Get(URL, REQUIRED + "&enable=1&prerecord=5"), XML_OK);
}

TEST(Recorder, ChangesItsShareWhileRecordingIsOff)
{
    TestCamera camera({.settings = Settings()});
    camera.store.Set({{"event_i0_enable", "0"}, {"recording_i0_enable", "0"}});
    FakeProgram program(camera.root, "/usr/bin/gen_task");
    const std::string main = FIXED + "event_i0_trigger=&" + TARGET_PAIRS;
    ExpectExchanges(
        camera, URL,
        {{"the server", REQUIRED + "&server=nas1", XML_OK, {main, "server_i0_ns_location=\\\\nas1\\video&"}},
         {"the share", REQUIRED + "&shareFolder=clips", XML_OK, {main, "server_i0_ns_location=\\\\nas1\\clips&"}},
         {"both",
          REQUIRED + "&server=nas2&shareFolder=more",
          XML_OK,
          {main, "server_i0_ns_location=\\\\nas2\\more&"}},
         {"a server of 32 characters is dropped", REQUIRED + "&server=" + std::string(32, 's'), XML_OK, {main}}});
    camera.store.AnswerNothing(
        4); // the store's first three answers are for enable, the main settings and the states
    EXPECT_EQ(camera.Get(URL, REQUIRED + "&prerecord=5&server=nas3"), UPDATE_FAILED);
    EXPECT_TRUE(program.Runs().empty()) << "nothing is done behind a failure";
}
