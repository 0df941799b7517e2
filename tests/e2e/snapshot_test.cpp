#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/read_table.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/cgi/admin/adv_snapshot_cont.cgi";

const std::string FIXED =
    "event_i1_name=kelpa_snapshot&event_i1_action_cf_backup=0&event_i1_action_do_i0_enable=0&"
    "event_i1_action_goto_enable=0&event_i1_action_server_i0_enable=0&event_i1_action_server_i1_media=1&"
    "event_i1_action_server_i2_media=2&event_i1_action_server_i3_enable=0&event_i1_action_server_i4_enable=0&"
    "event_i1_action_patrol_enable=0&server_i1_name=kelpa_smtp&server_i2_name=kelpa_ftp&"
    "media_i1_name=kelpa_snapshot_smtp&media_i1_type=snapshot&media_i1_snapshot_datesuffix=1&"
    "media_i2_name=kelpa_snapshot_ftp&media_i2_type=snapshot&media_i2_snapshot_datesuffix=1&";

/** The keys without which there is no request, and what they write. */
const std::string NO_TRIGGER = "byMotion=0&byIn1=0&byIn2=0&";
const std::string TARGETS = "toSmtp=0&toFTP=1&";
const std::string SCHEDULE = "schedule=1&continuous=0";
const std::string REQUIRED = NO_TRIGGER + TARGETS + SCHEDULE;
const std::string TARGET_PAIRS = "event_i1_action_server_i1_enable=0&event_i1_action_server_i2_enable=1&";
const std::string REQUIRED_PAIRS = FIXED + "event_i1_trigger=seq&" + TARGET_PAIRS;

std::string window(int days, const std::string &begin, const std::string &end)
{
    return "event_i1_weekday=" + std::to_string(days) + "&event_i1_begintime=" + begin +
           "&event_i1_endtime=" + end + "&";
}

const std::string TRIGGERED = "<byMotion>0</byMotion><byIn1>0</byIn1><byIn2>1</byIn2>";
const std::string ITEMS = "<item01>0,8,30,1,0,0</item><item02>6,8,30,0,0,0</item><item03></item><item04></item>"
                          "<item05></item><item06></item><item07></item><itemSize>2</itemSize>";

} // namespace

TEST(Snapshot, ReportsWhatIsStored)
{
    TestCamera camera({.settings = storedFor(URL)});
    const std::string body = replyBody(camera.get(URL));
    camera.store.set("server_i1_email_passwd", "p&<1");
    EXPECT_EQ(camera.get(URL), okReply(replaced(body, ">mail=pass<", ">p&<1<"))) << "nothing is escaped";
    camera.store.set(storedFor(URL));
    const std::string none = "<item01></item><item02></item>" + ITEMS.substr(ITEMS.find("<item03>"));
    expectReads(camera, URL,
                {{"event_i1_weekday=0", ITEMS, replaced(none, "Size>2", "Size>0")},
                 {"event_i1_trigger=motion", TRIGGERED, "<byMotion>1</byMotion><byIn1>0</byIn1><byIn2>0</byIn2>"},
                 {"event_i1_trigger=seq", "<byIn2>1<", "<byIn2>0<"},
                 {"server_i1_type=", "<smtpEnable1>1<", "<smtpEnable1>0<"},
                 {"server_i2_type=http", "<ftpEnable1>1<", "<ftpEnable1>0<"},
                 {"server_i2_ftp_passive=yes", "<passive1>1<", "<passive1>0<"}});
    expectUnreadable(camera, URL, "event_i1_begintime=8");
    camera.store.remove("event_i1_inter");
    camera.store.remove("server_i2_ftp_passive");
    EXPECT_EQ(camera.get(URL), INTERNAL_ERROR);
    EXPECT_TRUE(camera.log().ends_with("Get_Configer_BOOL_Value failed\n")) << "a switch is missed first";
    camera.store.set(storedFor(URL));
    camera.store.set(pairs("event_i1_weekday=127&event_i1_begintime=00:00"));
    for (const char *part :
         {"<continuous>1<", "<schedule><enable>0<", "<item01>0,0,0,1,0,0</item>", "<itemSize>7<"})
        EXPECT_NE(camera.get(URL).find(part), std::string::npos) << part;
}

TEST(Snapshot, WritesEverythingInItsOrder)
{
    TestCamera camera;
    expectChanges(
        camera, URL,
        {{"item02=3,8,0,3,17,0&item01=1,8,0,1,17,0&itemSize=2&fixFile1=shot&folder1=/cam&ftpServer1=f.org&"
          "ftpPass1=fp&ftpUser1=fu&ftpInterval=86400&ftpPort1=1&passive1=1&ftpEnable1=1&receiver1=r@x&"
          "sender1=s@x&smtpServer1=m.org&smtpPass1=mp&smtpUser1=mu&smtpPort1=1&smtpEnable1=1&continuous=0&"
          "schedule=1&toFTP=1&toSmtp=1&byIn2=1&byIn1=1&byMotion=0&enable=1",
          FIXED +
              "event_i1_enable=1&event_i1_trigger=di&event_i1_di=3&event_i1_action_server_i1_enable=1&"
              "event_i1_action_server_i2_enable=1&server_i2_type=ftp&server_i2_ftp_username=fu&"
              "server_i2_ftp_passwd=fp&server_i2_ftp_address=f.org&server_i2_ftp_location=/cam&"
              "media_i2_snapshot_prefix=shot&server_i2_ftp_port=1&event_i1_inter=1440&"
              "server_i2_ftp_passive=1&server_i1_type=email&server_i1_email_username=mu&"
              "server_i1_email_passwd=mp&server_i1_email_address=m.org&server_i1_email_senderemail=s@x&"
              "server_i1_email_recipientemail=r@x&server_i1_email_port=1&" +
              window(40, "08:00", "17:00")},
         {REQUIRED, REQUIRED_PAIRS},
         {REQUIRED + "&enable=0&ftpEnable1=0&smtpEnable1=0&passive1=0",
          FIXED + "event_i1_enable=0&event_i1_trigger=seq&" + TARGET_PAIRS +
              "server_i2_type=&server_i2_ftp_passive=0&server_i1_type=&"},
         {NO_TRIGGER + TARGETS + "schedule=0&continuous=1&itemSize=1&item01=1,2,0,1,1,0",
          REQUIRED_PAIRS + window(127, "00:00", "24:00")},
         {"byMotion=1&byIn1=0&byIn2=0&" + TARGETS + SCHEDULE, FIXED + "event_i1_trigger=motion&" + TARGET_PAIRS},
         {REQUIRED + "&ftpInterval=119", REQUIRED_PAIRS + "event_i1_inter=1&"},
         {REQUIRED + "&itemSize=0", REQUIRED_PAIRS + window(0, "00:00", "00:00")}});
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(URL, REQUIRED), UPDATE_FAILED);
}

TEST(Snapshot, TheLongestOfEveryTextIsStoredWholeAndALongerOneDropped)
{
    TestCamera camera({.settings = storedFor(URL)});
    const std::string server(63, 's'), text(31, 't');
    const std::string mail = "server_i1_email_", ftp = "server_i2_ftp_";
    const struct {
        const char *key;
        std::string name;
        const std::string &longest;
    } texts[] = {{"smtpUser1", mail + "username=", text},
                 {"smtpPass1", mail + "passwd=", text},
                 {"smtpServer1", mail + "address=", server},
                 {"sender1", mail + "senderemail=", server},
                 {"receiver1", mail + "recipientemail=", server},
                 {"ftpUser1", ftp + "username=", text},
                 {"ftpPass1", ftp + "passwd=", text},
                 {"ftpServer1", ftp + "address=", server},
                 {"folder1", ftp + "location=", text},
                 {"fixFile1", "media_i2_snapshot_prefix=", text}};
    std::string fits = "byMotion=0&byIn1=1&byIn2=1&toSmtp=1&toFTP=1&schedule=1&continuous=0&enable=1&smtpEnable1=1&"
                       "smtpPort1=65535&ftpEnable1=1&ftpPort1=65535&passive1=1&ftpInterval=86400&"
                       "itemSize=1&item01=6,23,58,6,23,59";
    std::string tooLong = REQUIRED;
    for (const auto &[key, name, longest] : texts) {
        fits += std::string("&") + key + "=" + longest;
        tooLong += std::string("&") + key + "=" + longest + "x";
    }
    EXPECT_EQ(camera.post(URL, fits), XML_OK);
    const std::string written = camera.store.lastSet();
    EXPECT_TRUE(written.ends_with("&" + window(1, "23:58", "23:59"))) << "nothing is cut: " << written;
    for (const auto &[key, name, longest] : texts)
        EXPECT_NE(written.find(name + longest + "&"), std::string::npos) << name;
    expectChanges(camera, URL, {{tooLong, REQUIRED_PAIRS}});
}

TEST(Snapshot, BadRequestsWriteNothing)
{
    TestCamera camera;
    for (const char *key : {"byMotion", "byIn1", "byIn2", "toSmtp", "toFTP", "schedule", "continuous"})
        expectRefused(camera, URL, replaced(REQUIRED, key, "not"), INVALID_PARAMETER);
    expectRanges(camera, URL,
                 "enable=0..1 smtpEnable1=0..1 smtpPort1=1..65535 ftpEnable1=0..1 passive1=0..1 ftpPort1=1..65535 "
                 "ftpInterval=60..86400",
                 REQUIRED + "&");
    for (const char *bad : {"itemSize=8", "itemSize=-1", "itemSize=1", "itemSize=1&item01=1,8,0,1,17",
                            "itemSize=1&item01=3,0,0,3,0,0"})
        expectRefused(camera, URL, REQUIRED + "&" + bad, INVALID_PARAMETER);
    for (const std::string &bad :
         {"byMotion=1&byIn1=1&byIn2=0&" + TARGETS + SCHEDULE, NO_TRIGGER + "toSmtp=2&toFTP=1&" + SCHEDULE,
          NO_TRIGGER + "toSmtp=0&toFTP=2&" + SCHEDULE, NO_TRIGGER + TARGETS + "schedule=0&continuous=0",
          NO_TRIGGER + TARGETS + "schedule=1&continuous=1",
          "byMotion=0&byIn1=0&byIn2=1&" + TARGETS + "schedule=0&continuous=1",
          "byMotion=1&byIn1=0&byIn2=0&" + TARGETS + "schedule=0&continuous=1"})
        expectRefused(camera, URL, bad, INVALID_PARAMETER);
    expectRefused(camera, URL, REQUIRED + "&folder1=(x)");
    EXPECT_EQ(camera.post(URL, ""), INVALID_PARAMETER);
}
