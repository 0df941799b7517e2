#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/fake_program.h"
#include "tests/fakes/read_table.h"

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

std::string window(const std::string &slot, int days, const std::string &begin, const std::string &end)
{
    return slot + "_i0_weekday=" + std::to_string(days) + "&" + slot + "_i0_begintime=" + begin + "&" + slot +
           "_i0_endtime=" + end + "&";
}

const std::string TRIGGERED = "<byMotion>0</byMotion><byIn1>1</byIn1><byIn2>1</byIn2>";

/** What is read, and the number of streams that a profile is checked against. */
FakeStore::Settings settings()
{
    FakeStore::Settings settings = storedFor(URL);
    settings["capability_nmediastream"] = "4";
    return settings;
}

} // namespace

TEST(Recorder, ReportsWhatIsStored)
{
    TestCamera camera({.settings = settings()});
    const std::string server(29, 's'), folder(31, 'f');
    const std::string reserve = "recording_i0_reserveamount=" + std::string(99, '9');
    expectReads(
        camera, URL,
        {{"server_i0_ns_location=\\\\" + server + "\\" + folder, "<server>nas</server><shareFolder>video<",
          "<server>" + server + "</server><shareFolder>" + folder + "<"},
         {"server_i0_ns_location=\\\\nas", "<shareFolder>video<", "<shareFolder><"},
         {"server_i0_ns_location=", "<server>nas</server><shareFolder>video<", "<server></server><shareFolder><"},
         {"server_i0_ns_username=anonymous2&server_i0_ns_passwd=",
          "<anonymous>0</anonymous><user>nas.user</user><password>nas.pass<",
          "<anonymous>1</anonymous><user>anonymous2</user><password><"},
         {"server_i0_ns_username=anonymous", "<user>nas.user<", "<user>anonymous<"},
         {"recording_i0_limitsize=0&" + reserve, "<keepSpace>500<", "<keepSpace>0<"},
         {"media_i0_videoclip_maxduration=3", "<postrecord>10<", "<postrecord>-2<"},
         {"event_i0_trigger=motion", TRIGGERED, "<byMotion>1</byMotion><byIn1>0</byIn1><byIn2>0</byIn2>"}});
    camera.store.set(pairs("event_i0_weekday=127&event_i0_begintime=00:00&event_i0_endtime=24:00"));
    for (const char *part : {"<continuous>1<", "<schedule><enable>0<", "<item07>6,0,0,0,0,0</item><itemSize>7<"})
        EXPECT_NE(camera.get(URL).find(part), std::string::npos) << part;
}

TEST(Recorder, WritesEverythingInItsOrder)
{
    TestCamera camera({.settings = settings()});
    const std::string off = FIXED + "event_i0_enable=0&recording_i0_enable=0&event_i0_trigger=&";
    expectChanges(
        camera, URL,
        {{"recycle=0&fileLenMin=30&keepSpace=999999&item02=3,8,0,3,17,0&item01=1,8,0,1,17,0&itemSize=2&password=pw&"
          "user=me&anonymous=0&continuous=0&schedule=1&toSamba=1&toUSB=0&byIn2=0&byIn1=1&byMotion=0&postrecord=10&"
          "prerecord=0&profileID=4&enable=1",
          FIXED +
              "event_i0_enable=1&media_i0_videoclip_source=3&recording_i0_source=3&"
              "media_i0_videoclip_preevent=0&media_i0_videoclip_maxduration=10&event_i0_trigger=di&event_i0_di=1&"
              "recording_i0_enable=0&event_i0_action_cf_enable=0&event_i0_action_server_i0_enable=1&"
              "recording_i0_dest=0&server_i0_ns_username=me&server_i0_ns_passwd=pw&" +
              window("event", 40, "08:00", "17:00") + window("recording", 40, "08:00", "17:00") +
              "recording_i0_limitsize=1&recording_i0_reserveamount=999999&recording_i0_duration=1800&"
              "recording_i0_cyclic=0&disk_i0_cyclic_enabled=0&"},
         {REQUIRED + "&enable=0&postrecord=15",
          FIXED + "event_i0_enable=0&recording_i0_enable=0&media_i0_videoclip_maxduration=15&event_i0_trigger=&" +
              TARGET_PAIRS},
         {REQUIRED + "&enable=1&prerecord=15&postrecord=0",
          FIXED +
              "event_i0_enable=1&media_i0_videoclip_preevent=15&media_i0_videoclip_maxduration=15&event_i0_trigger="
              "&recording_i0_enable=1&" +
              TARGET_PAIRS},
         {TARGETS + NO_TRIGGER + "&enable=1&continuous=1&schedule=0&itemSize=1&item01=1,2,0,1,3,0",
          FIXED + "event_i0_enable=1&event_i0_trigger=&recording_i0_enable=1&" + TARGET_PAIRS +
              window("event", 127, "00:00", "24:00") + window("recording", 127, "00:00", "24:00")},
         {MODE + NO_TRIGGER + "&enable=0&toUSB=0&toSamba=0",
          off + "event_i0_action_cf_enable=0&event_i0_action_server_i0_enable=0&recording_i0_dest=&"},
         {REQUIRED + "&enable=0&anonymous=1&user=me&password=pw",
          off + TARGET_PAIRS + "server_i0_ns_username=anonymous&server_i0_ns_passwd=&"},
         {REQUIRED + "&enable=0&user=" + std::string(31, 'u') + "&password=" + std::string(32, 'p'),
          off + TARGET_PAIRS + "server_i0_ns_username=" + std::string(31, 'u') + "&"},
         {REQUIRED + "&enable=0&itemSize=0&fileLenMin=1&keepSpace=0&recycle=1",
          off + TARGET_PAIRS + window("event", 0, "00:00", "00:00") + window("recording", 0, "00:00", "00:00") +
              "recording_i0_limitsize=1&recording_i0_reserveamount=0&recording_i0_duration=60&"
              "recording_i0_cyclic=1&disk_i0_cyclic_enabled=1&"}});
}

TEST(Recorder, ATriggerSwitchesTheRecordingSlotOff)
{
    TestCamera camera({.settings = settings()});
    const std::string off = "recording_i0_enable=0&" + TARGET_PAIRS, on = "recording_i0_enable=1&" + TARGET_PAIRS;
    const std::string query = MODE + TARGETS;
    expectChanges(camera, URL,
                  {{query + "byMotion=1&byIn1=0&byIn2=0", FIXED + "event_i0_trigger=motion&" + off},
                   {query + "byMotion=0&byIn1=1&byIn2=0", FIXED + "event_i0_trigger=di&event_i0_di=1&" + off},
                   {query + "byMotion=0&byIn1=1&byIn2=1&enable=1",
                    FIXED + "event_i0_enable=1&event_i0_trigger=di&event_i0_di=3&" + off},
                   {REQUIRED, FIXED + "event_i0_trigger=&" + on}});
    camera.store.set("event_i0_enable", "0");
    expectChanges(camera, URL, {{REQUIRED, FIXED + "event_i0_trigger=&" + TARGET_PAIRS}});
    camera.store.remove("event_i0_enable");
    expectRefused(camera, URL, REQUIRED, UPDATE_FAILED);
}

TEST(Recorder, TheProfileMustBeAStreamOfTheCamera)
{
    TestCamera camera({.settings = settings()});
    const std::string query = REQUIRED + "&enable=0&profileID=";
    for (const char *bad : {"0", "5", "-1", "99999999999"})
        expectRefused(camera, URL, query + bad, INVALID_PARAMETER);
    camera.store.set("capability_nmediastream", "12345678");
    expectRefused(camera, URL, query + "1", UPDATE_FAILED);
}

TEST(Recorder, BadRequestsWriteNothing)
{
    TestCamera camera({.settings = settings()});
    for (const char *key : {"byMotion", "byIn1", "byIn2", "toUSB", "toSamba", "schedule", "continuous"})
        expectRefused(camera, URL, replaced(REQUIRED, key, "not"), INVALID_PARAMETER);
    expectRanges(camera, URL,
                 "enable=0..1 prerecord=0..15 postrecord=0..15 anonymous=0..1 keepSpace=0..999999 fileLenMin=1..30 "
                 "recycle=0..1",
                 REQUIRED + "&");
    for (const char *bad : {"itemSize=1", "itemSize=1&item01=1,0,0,7,0,0"})
        expectRefused(camera, URL, REQUIRED + "&" + bad, INVALID_PARAMETER);
    for (const std::string &bad :
         {MODE + NO_TRIGGER + "&toUSB=1&toSamba=1", MODE + NO_TRIGGER + "&toUSB=2&toSamba=0",
          MODE + NO_TRIGGER + "&toUSB=0&toSamba=-1", TARGETS + NO_TRIGGER + "&schedule=0&continuous=0",
          MODE + TARGETS + "byMotion=1&byIn1=1&byIn2=0",
          TARGETS + "schedule=0&continuous=1&byMotion=1&byIn1=0&byIn2=0"})
        expectRefused(camera, URL, bad, INVALID_PARAMETER);
    expectRefused(camera, URL, REQUIRED + "&user=<me>");
    EXPECT_EQ(camera.post(URL, ""), INVALID_PARAMETER);
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(URL, REQUIRED + "&enable=1"), UPDATE_FAILED);
}

TEST(Recorder, RunsTheTaskProgramWhenPreOrPostRecordChange)
{
    TestCamera camera({.settings = settings()});
    const auto get = [&](const std::string &more) { return camera.get(URL, REQUIRED + "&enable=1" + more); };
    EXPECT_EQ(get("&prerecord=5"), XML_OK) << "without the program the change stands";
    FakeProgram program(camera.root, "/usr/bin/gen_task");
    EXPECT_EQ(get(""), XML_OK);
    EXPECT_EQ(get("&prerecord=16"), INVALID_PARAMETER);
    EXPECT_EQ(get("&prerecord=5&profileID=9"), INVALID_PARAMETER);
    EXPECT_TRUE(program.runs().empty());
    EXPECT_EQ(get("&prerecord=5"), XML_OK);
    program.exitWith(1);
    EXPECT_EQ(get("&postrecord=5"), XML_OK) << "how it ends is not looked at";
    ASSERT_EQ(program.runs().size(), 2U);
    for (const FakeProgram::Run &run : program.runs())
        EXPECT_EQ(run.arguments, "-e");
    camera.store.answerNothing();
    EXPECT_EQ(get("&postrecord=5"), UPDATE_FAILED);
    EXPECT_EQ(program.runs().size(), 2U);
}

TEST(Recorder, ChangesItsShareWhileRecordingIsOff)
{
    TestCamera camera({.settings = settings()});
    camera.store.set({{"event_i0_enable", "0"}, {"recording_i0_enable", "0"}});
    FakeProgram program(camera.root, "/usr/bin/gen_task");
    const std::string main = FIXED + "event_i0_trigger=&" + TARGET_PAIRS;
    expectChanges(camera, URL,
                  {{REQUIRED + "&server=nas1", main + "\nserver_i0_ns_location=\\\\nas1\\video&"},
                   {REQUIRED + "&shareFolder=clips", main + "\nserver_i0_ns_location=\\\\nas1\\clips&"},
                   {REQUIRED + "&server=nas2&shareFolder=more", main + "\nserver_i0_ns_location=\\\\nas2\\more&"},
                   {REQUIRED + "&server=" + std::string(32, 's'), main}});
    camera.store.answerNothing(4); // behind "enable", the main settings and the states
    EXPECT_EQ(camera.get(URL, REQUIRED + "&prerecord=5&server=nas3"), UPDATE_FAILED);
    EXPECT_TRUE(program.runs().empty()) << "nothing is done behind a failure";
}
