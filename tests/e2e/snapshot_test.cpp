#include "tests/fakes/exchange_cases.h"

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
const std::string REQUIRED = "byMotion=0&byIn1=0&byIn2=0&toSmtp=0&toFTP=1&schedule=1&continuous=0";
const std::string TRIGGER = "event_i1_trigger=seq&";
const std::string TARGETS = "event_i1_action_server_i1_enable=0&event_i1_action_server_i2_enable=1&";
const std::string REQUIRED_PAIRS = FIXED + TRIGGER + TARGETS;
const std::string ALWAYS = "event_i1_weekday=127&event_i1_begintime=00:00&event_i1_endtime=24:00&";

/** The reading's keys, in the order in which they are asked for. */
const std::vector<std::pair<std::string, std::string>> STORED = {
    {"event_i1_enable", "1"},
    {"event_i1_inter", "2"},
    {"event_i1_weekday", "65"},
    {"event_i1_begintime", "08:30"},
    {"event_i1_endtime", "24:00"},
    {"event_i1_trigger", "di"},
    {"event_i1_di", "2"},
    {"event_i1_action_server_i1_enable", "1"},
    {"event_i1_action_server_i2_enable", "0"},
    {"server_i1_type", "email"},
    {"server_i1_email_address", "mail.example.org"},
    {"server_i1_email_port", "25"},
    {"server_i1_email_username", "mailer"},
    {"server_i1_email_passwd", "p&=1"},
    {"server_i1_email_senderemail", "cam@example.org"},
    {"server_i1_email_recipientemail", "me@example.org"},
    {"server_i2_type", "ftp"},
    {"server_i2_ftp_address", "ftp.example.org"},
    {"server_i2_ftp_username", "uploader"},
    {"server_i2_ftp_passwd", "secret"},
    {"server_i2_ftp_port", "21"},
    {"server_i2_ftp_passive", "1"},
    {"server_i2_ftp_location", "/cam"},
    {"media_i2_snapshot_prefix", "shot"},
};

FakeStore::Settings Settings()
{
    return {STORED.begin(), STORED.end()};
}

std::string Items(const std::vector<std::string> &items)
{
    std::string text;
    for (size_t i = 0; i < 7; ++i)
        text += "<item0" + std::to_string(i + 1) + ">" + (i < items.size() ? items[i] : "") + "</item>";
    return text + "<itemSize>" + std::to_string(items.size()) + "</itemSize>";
}

const std::string MAIL =
    "<mail><smtpEnable1>1</smtpEnable1><smtpServer1>mail.example.org</smtpServer1><smtpPort1>25</smtpPort1>"
    "<smtpUser1>mailer</smtpUser1><smtpPass1>p&=1</smtpPass1><receiver1>me@example.org</receiver1>"
    "<sender1>cam@example.org</sender1></mail>";
const std::string FTP =
    "<ftp><ftpEnable1>1</ftpEnable1><ftpServer1>ftp.example.org</ftpServer1><ftpPort1>21</ftpPort1>"
    "<ftpUser1>uploader</ftpUser1><ftpPass1>secret</ftpPass1><folder1>/cam</folder1><ftpInterval>120</ftpInterval>"
    "<passive1>1</passive1><fixFile1>shot</fixFile1></ftp>";

std::string Body(int continuous, const std::string &items,
                 const std::string &trigger = "0</byMotion><byIn1>0</byIn1><byIn2>1")
{
    return "<config>" + MAIL + FTP + "<snapshot><enable>1</enable><continuous>" + std::to_string(continuous) +
           "</continuous><schedule><enable>" + std::to_string(1 - continuous) +
           "</enable><profileName>Snapshot</profileName>" + items + "</schedule><triggerBy><byMotion>" + trigger +
           "</byIn2></triggerBy><snapTo><toFtp>0</toFtp><toSmtp>1</toSmtp></snapTo></snapshot></config>";
}

} // namespace

TEST(Snapshot, IsReadInOneRequest)
{
    TestCamera camera({.settings = Settings()});
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL), OkReply(Body(0, Items({"0,8,30,1,0,0", "6,8,30,0,0,0"}))));
    std::string request = "get NameValue 99 0\n";
    for (const auto &[name, value] : STORED)
        request += name + "&";
    EXPECT_EQ(camera.store.Requests(), std::vector<std::string>{request});

    const struct {
        const char *description;
        FakeStore::Settings settings;
        std::string body;
    } cases[] = {
        {"always",
         {{"event_i1_weekday", "127"}, {"event_i1_begintime", "00:00"}},
         Body(1, Items({"0,0,0,1,0,0", "1,0,0,2,0,0", "2,0,0,3,0,0", "3,0,0,4,0,0", "4,0,0,5,0,0", "5,0,0,6,0,0",
                        "6,0,0,0,0,0"}))},
        {"never", {{"event_i1_weekday", "0"}}, Body(0, Items({}))},
        {"motion",
         {{"event_i1_trigger", "motion"}},
         Body(0, Items({"0,8,30,1,0,0", "6,8,30,0,0,0"}), "1</byMotion><byIn1>0</byIn1><byIn2>0")},
        {"by time",
         {{"event_i1_trigger", "seq"}},
         Body(0, Items({"0,8,30,1,0,0", "6,8,30,0,0,0"}), "0</byMotion><byIn1>0</byIn1><byIn2>0")},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        camera.store.Set(c.settings);
        EXPECT_EQ(camera.Get(URL), OkReply(c.body));
        camera.store.Set(Settings());
    }
    camera.store.Set({{"server_i1_type", ""}, {"server_i2_type", "http"}, {"server_i2_ftp_passive", "yes"}});
    const std::string off = camera.Get(URL);
    EXPECT_NE(off.find("<smtpEnable1>0<"), std::string::npos);
    EXPECT_NE(off.find("<ftpEnable1>0<"), std::string::npos);
    EXPECT_NE(off.find("<passive1>0<"), std::string::npos);
}

TEST(Snapshot, AFailedReadIsUnavailableAndAMissingOrLongValueAnError)
{
    TestCamera camera({.settings = Settings()});
    for (const auto &[name, value] : STORED) {
        SCOPED_TRACE(name);
        camera.store.Remove(name);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR);
        const bool isFlag = name.ends_with("enable") || name.ends_with("passive");
        camera.store.Set(name, std::string(64, '0'));
        EXPECT_EQ(camera.Get(URL) == INTERNAL_ERROR, !isFlag) << "64 characters";
        camera.store.Set(name, value);
    }
    const std::string server = std::string(63, 's'), text = std::string(31, 't');
    camera.store.Set({{"server_i1_email_address", server},
                      {"server_i1_email_senderemail", server},
                      {"server_i1_email_recipientemail", server},
                      {"server_i2_ftp_address", server},
                      {"server_i1_email_username", text},
                      {"server_i1_email_passwd", text},
                      {"server_i2_ftp_username", text},
                      {"server_i2_ftp_passwd", text},
                      {"server_i2_ftp_location", text},
                      {"media_i2_snapshot_prefix", text}});
    const std::string longest = camera.Get(URL);
    for (const char *tag : {"<smtpServer1>", "<sender1>", "<receiver1>", "<ftpServer1>"})
        EXPECT_NE(longest.find(tag + server + "</"), std::string::npos) << tag;
    for (const char *tag : {"<smtpUser1>", "<smtpPass1>", "<ftpUser1>", "<ftpPass1>", "<folder1>", "<fixFile1>"})
        EXPECT_NE(longest.find(tag + text + "</"), std::string::npos) << tag;
    camera.store.Set("event_i1_begintime", "8");
    EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR);
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
    camera.store.Refuse();
    EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
}

TEST(Snapshot, KeptItemsEndWithoutTheirNumber)
{
    TestCamera camera({.settings = Settings()});
    const std::string reply = camera.Get(URL);
    EXPECT_NE(reply.find("<item01>0,8,30,1,0,0</item><item02>6,8,30,0,0,0</item><item03></item>"),
              std::string::npos);
    EXPECT_EQ(reply.find("</item0"), std::string::npos);
}

TEST(Snapshot, WritesEverythingInItsOrder)
{
    TestCamera camera;
    ExpectExchanges(
        camera, URL,
        {{"everything, backwards",
          "item02=3,8,0,3,17,0&item01=1,8,0,1,17,0&itemSize=2&fixFile1=shot&folder1=/cam&ftpServer1=f.org&"
          "ftpPass1=fp&ftpUser1=fu&ftpInterval=86400&ftpPort1=65535&passive1=1&ftpEnable1=1&receiver1=r@x&"
          "sender1=s@x&smtpServer1=m.org&smtpPass1=mp&smtpUser1=mu&smtpPort1=1&smtpEnable1=1&continuous=0&schedule="
          "1&"
          "toFTP=1&toSmtp=1&byIn2=1&byIn1=1&byMotion=0&enable=1",
          XML_OK,
          {FIXED + "event_i1_enable=1&event_i1_trigger=di&event_i1_di=3&event_i1_action_server_i1_enable=1&"
                   "event_i1_action_server_i2_enable=1&server_i2_type=ftp&server_i2_ftp_username=fu&"
                   "server_i2_ftp_passwd=fp&server_i2_ftp_address=f.org&server_i2_ftp_location=/cam&"
                   "media_i2_snapshot_prefix=shot&server_i2_ftp_port=65535&event_i1_inter=1440&"
                   "server_i2_ftp_passive=1&server_i1_type=email&server_i1_email_username=mu&"
                   "server_i1_email_passwd=mp&server_i1_email_address=m.org&server_i1_email_senderemail=s@x&"
                   "server_i1_email_recipientemail=r@x&server_i1_email_port=1&event_i1_weekday=40&"
                   "event_i1_begintime=08:00&event_i1_endtime=17:00&"}},
         {"no more than is required", REQUIRED, XML_OK, {REQUIRED_PAIRS}},
         {"switched off",
          REQUIRED + "&enable=0&ftpEnable1=0&smtpEnable1=0&passive1=0",
          XML_OK,
          {FIXED + "event_i1_enable=0&" + TRIGGER + TARGETS +
           "server_i2_type=&server_i2_ftp_passive=0&server_i1_type=&"}},
         {"continuous",
          "byMotion=0&byIn1=0&byIn2=0&toSmtp=0&toFTP=1&schedule=0&continuous=1",
          XML_OK,
          {REQUIRED_PAIRS + ALWAYS}},
         {"continuous, whatever the items say",
          "byMotion=0&byIn1=0&byIn2=0&toSmtp=0&toFTP=1&schedule=0&continuous=1&itemSize=1&item01=1,2,0,1,1,0",
          XML_OK,
          {REQUIRED_PAIRS + ALWAYS}},
         {"motion",
          "byMotion=1&byIn1=0&byIn2=0&toSmtp=0&toFTP=1&schedule=1&continuous=0",
          XML_OK,
          {FIXED + "event_i1_trigger=motion&" + TARGETS}},
         {"an interval is whole minutes",
          REQUIRED + "&ftpInterval=119",
          XML_OK,
          {REQUIRED_PAIRS + "event_i1_inter=1&"}},
         {"no items",
          REQUIRED + "&itemSize=0",
          XML_OK,
          {REQUIRED_PAIRS + "event_i1_weekday=0&event_i1_begintime=00:00&event_i1_endtime=00:00&"}},
         {"whole days past the end of the week",
          REQUIRED + "&itemSize=1&item01=5,0,0,2,0,0",
          XML_OK,
          {REQUIRED_PAIRS + "event_i1_weekday=99&event_i1_begintime=00:00&event_i1_endtime=24:00&"}},
         {"empty texts",
          REQUIRED + "&ftpPass1=&fixFile1=",
          XML_OK,
          {REQUIRED_PAIRS + "server_i2_ftp_passwd=&media_i2_snapshot_prefix=&"}}});
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(URL, REQUIRED), UPDATE_FAILED);
    EXPECT_EQ(camera.Post(URL, REQUIRED), UPDATE_FAILED);
}

TEST(Snapshot, TextsAreTakenWhenTheyFit)
{
    const struct {
        const char *key;
        const char *name;
        size_t longest;
    } texts[] = {{"smtpUser1=", "server_i1_email_username=", 31},
                 {"smtpPass1=", "server_i1_email_passwd=", 31},
                 {"smtpServer1=", "server_i1_email_address=", 63},
                 {"sender1=", "server_i1_email_senderemail=", 63},
                 {"receiver1=", "server_i1_email_recipientemail=", 63},
                 {"ftpUser1=", "server_i2_ftp_username=", 31},
                 {"ftpPass1=", "server_i2_ftp_passwd=", 31},
                 {"ftpServer1=", "server_i2_ftp_address=", 63},
                 {"folder1=", "server_i2_ftp_location=", 31},
                 {"fixFile1=", "media_i2_snapshot_prefix=", 31}};
    TestCamera camera;
    for (const auto &text : texts) {
        const std::string value(text.longest, 'v');
        ExpectExchanges(
            camera, URL,
            {{"fits", REQUIRED + "&" + text.key + value, XML_OK, {REQUIRED_PAIRS + text.name + value + "&"}},
             {"is dropped", REQUIRED + "&" + text.key + value + "v", XML_OK, {REQUIRED_PAIRS}}});
    }
}

TEST(Snapshot, BadRequestsWriteNothing)
{
    TestCamera camera;
    std::vector<ExchangeCase> cases;
    const auto without = [](const std::string &key) {
        std::string query = REQUIRED;
        return query.replace(query.find(key), key.size(), "not");
    };
    for (const char *key : {"byMotion", "byIn1", "byIn2", "toSmtp", "toFTP", "schedule", "continuous"})
        cases.push_back({std::string("without ") + key, without(key), INVALID_PARAMETER});
    for (const std::string bad : {"enable=2",
                                  "enable=-1",
                                  "smtpEnable1=2",
                                  "smtpPort1=0",
                                  "smtpPort1=65536",
                                  "smtpPort1=-1",
                                  "ftpEnable1=-1",
                                  "passive1=2",
                                  "ftpPort1=0",
                                  "ftpPort1=65536",
                                  "ftpInterval=0",
                                  "ftpInterval=86401",
                                  "ftpInterval=59",
                                  "itemSize=8",
                                  "itemSize=-1",
                                  "itemSize=1",
                                  "itemSize=1&item01=1,8,0,1,17",
                                  "itemSize=1&item01=2,17,0,2,8,0",
                                  "itemSize=1&item01=1,0,0,7,0,0",
                                  "itemSize=1&item01=1,0,0,2147483647,0,0",
                                  "itemSize=1&item01=3,0,0,3,0,0",
                                  "itemSize=2&item01=1,8,0,1,17,0",
                                  "itemSize=2&item01=1,8,0,1,17,0&item02=5,9,0,5,17,0"})
        cases.push_back({"bad", REQUIRED + "&" + bad, INVALID_PARAMETER});
    for (const std::string bad : {"byMotion=1&byIn1=1&byIn2=0&toSmtp=0&toFTP=1&schedule=1&continuous=0",
                                  "byMotion=0&byIn1=0&byIn2=2&toSmtp=0&toFTP=1&schedule=1&continuous=0",
                                  "byMotion=0&byIn1=0&byIn2=0&toSmtp=2&toFTP=1&schedule=1&continuous=0",
                                  "byMotion=0&byIn1=0&byIn2=0&toSmtp=0&toFTP=2&schedule=1&continuous=0",
                                  "byMotion=0&byIn1=0&byIn2=0&toSmtp=0&toFTP=1&schedule=0&continuous=0",
                                  "byMotion=0&byIn1=0&byIn2=0&toSmtp=0&toFTP=1&schedule=1&continuous=1",
                                  "byMotion=0&byIn1=0&byIn2=1&toSmtp=0&toFTP=1&schedule=0&continuous=1",
                                  "byMotion=1&byIn1=0&byIn2=0&toSmtp=0&toFTP=1&schedule=0&continuous=1"})
        cases.push_back({"bad", bad, INVALID_PARAMETER});
    cases.push_back({"a full text", std::string(4095, 'x'), INVALID_PARAMETER});
    cases.push_back({"forbidden characters", REQUIRED + "&folder1=(x)", BAD_REQUEST});
    cases.push_back({"two ampersands", REQUIRED + "&&enable=1", BAD_REQUEST});
    ExpectExchanges(camera, URL, cases);
    EXPECT_EQ(camera.Post(URL, ""), INVALID_PARAMETER);
}

TEST(Snapshot, TheLongestOfEveryTextIsStoredWhole)
{
    const std::string server(63, 's'), text(31, 't');
    TestCamera camera({.settings = Settings()});
    const std::string query =
        "byMotion=0&byIn1=1&byIn2=1&toSmtp=1&toFTP=1&schedule=1&continuous=0&enable=1&smtpServer1=" + server +
        "&sender1=" + server + "&receiver1=" + server + "&ftpServer1=" + server + "&smtpUser1=" + text +
        "&smtpPass1=" + text + "&ftpUser1=" + text + "&ftpPass1=" + text + "&folder1=" + text +
        "&fixFile1=" + text +
        "&smtpEnable1=1&smtpPort1=65535&ftpEnable1=1&ftpPort1=65535&passive1=1&ftpInterval=86400&"
        "itemSize=1&item01=6,23,58,6,23,59";
    EXPECT_EQ(camera.Post(URL, query), XML_OK);
    EXPECT_TRUE(
        camera.store.LastSet().ends_with("&event_i1_weekday=1&event_i1_begintime=23:58&event_i1_endtime=23:59&"))
        << camera.store.LastSet();
    const std::string reply = camera.Get(URL);
    EXPECT_NE(reply.find("<item01>6,23,58,6,23,59</item>"), std::string::npos) << reply;
    EXPECT_NE(reply.find("<fixFile1>" + text + "</fixFile1>"), std::string::npos) << reply;
}
