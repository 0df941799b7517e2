#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/fake_program.h"

#include <fstream>
#include <gtest/gtest.h>

namespace
{

const std::string MODIFY = "/config/user_mod.cgi";
const std::string DELETE = "/config/user_del.cgi";
const std::string ACCOUNT_PROGRAM = "/usr/share/www/cgi-bin/admin/editaccount.cgi";

/** Writes a password file with some users of the group "view", uids from 1000, behind "admin". */
void writeUsers(const TestCamera &camera, int count)
{
    std::ofstream(camera.root.path("/etc/group")) << "admin:x:100:\noperator:x:101:\nview:x:102:\n";
    std::ofstream passwords(camera.root.path("/etc/passwd"));
    passwords << "admin:x:1:100::/:/bin/false\n";
    for (int i = 1; i < count; ++i)
        passwords << "user" << i << ":x:" << 999 + i << ":102::/:/bin/false\n";
}

std::vector<std::string> queriesOf(const FakeProgram &program)
{
    std::vector<std::string> queries;
    for (const FakeProgram::Run &run : program.runs())
        queries.push_back(run.query);
    return queries;
}

} // namespace

TEST(ModifyUser, RunsTheAccountProgram)
{
    TestCamera camera({.start = false});
    writeUsers(camera, 3);
    FakeProgram program(camera.root, ACCOUNT_PROGRAM);
    camera.start();
    const std::string add = "name=new&password=c2VjcmV0&group=view";
    for (const std::string &query : {add, std::string("name=user2&password=YT1iJmM=&group=operator"),
                                     std::string("name=admin&password=QUI=&group=admin")})
        EXPECT_EQ(camera.get(MODIFY, query), echoReply(query));
    EXPECT_EQ(queriesOf(program),
              (std::vector<std::string>{"method=add&username=new&userpass=secret&privilege=view",
                                        "method=edit&username=user2&userpass=a=b&c&privilege=operator",
                                        "method=edit&username=admin&userpass=AB&privilege=admin"}));

    program.exitWith(1);
    EXPECT_EQ(camera.get(MODIFY, add), INTERNAL_ERROR);
    camera.waitForLog("[Set_Account_Parameter]Call system() fail\n");
}

TEST(ModifyUser, BadRequestsRunNothing)
{
    TestCamera camera;
    FakeProgram program(camera.root, ACCOUNT_PROGRAM);
    EXPECT_EQ(camera.get(MODIFY), BAD_REQUEST);
    expectRefused(camera, MODIFY,
                  "name=a&password=QUJD name=a&group=view name=a&password=QUJD&group=root "
                  "name=admin&password=QUJD&group=view name=" +
                      std::string(65, 'n') +
                      "&password=QUJD&group=view name=a&group=view&password=" + std::string(128, 'A'));
    EXPECT_TRUE(program.runs().empty());
}

TEST(ModifyUser, KeptAPasswordThatIsTooLongIsPassedOnEmpty)
{
    TestCamera camera;
    FakeProgram program(camera.root, ACCOUNT_PROGRAM);
    std::string decoded;
    for (int i = 0; i < 21; ++i)
        decoded += "A\x04\x10";
    for (const auto &[length, password] : {std::pair(84, decoded), {88, std::string()}}) {
        camera.get(MODIFY, "name=a&password=" + std::string(static_cast<size_t>(length), 'Q') + "&group=view");
        EXPECT_EQ(program.runs().back().query, "method=add&username=a&userpass=" + password + "&privilege=view");
    }
}

TEST(ModifyUser, TwentyUsersLeaveNoRoomForAnother)
{
    TestCamera camera({.start = false});
    writeUsers(camera, 20);
    FakeProgram program(camera.root, ACCOUNT_PROGRAM);
    camera.start();
    EXPECT_EQ(camera.get(MODIFY, "name=new&password=QUJD&group=view"), SERVICE_UNAVAILABLE);
    EXPECT_TRUE(program.runs().empty());
    const std::string edit = "name=user19&password=QUJD&group=view";
    EXPECT_EQ(camera.get(MODIFY, edit), echoReply(edit));
    EXPECT_EQ(program.runs().size(), 1U);
    // The count is that of before the reload: one more request sees the user that has gone.
    writeUsers(camera, 19);
    EXPECT_EQ(camera.get(MODIFY, "name=new&password=QUJD&group=view"), SERVICE_UNAVAILABLE);
    const std::string add = "name=new&password=QUJD&group=view";
    EXPECT_EQ(camera.get(MODIFY, add), echoReply(add));
}

TEST(DeleteUser, RunsTheAccountProgramForEachOfFiveNames)
{
    TestCamera camera;
    FakeProgram program(camera.root, ACCOUNT_PROGRAM);
    EXPECT_EQ(camera.get(DELETE, "name=a,b,,c,d,e,f"), echoReply("name=a,b,,c,d,e,f"));
    EXPECT_EQ(queriesOf(program), (std::vector<std::string>{"method=delete&username=a", "method=delete&username=b",
                                                            "method=delete&username=c", "method=delete&username=d",
                                                            "method=delete&username=e"}));
    EXPECT_EQ(camera.get(DELETE, "name=x,admin,y"), BAD_REQUEST);
    EXPECT_EQ(queriesOf(program).back(), "method=delete&username=x");
    EXPECT_EQ(program.runs().size(), 6U);
    EXPECT_EQ(camera.get(DELETE, "name="), echoReply("name="));
    EXPECT_EQ(camera.get(DELETE, "name=" + std::string(1298, 'n')).substr(0, 15), "HTTP/1.1 200 OK");
    EXPECT_EQ(queriesOf(program).back(), "method=delete&username=" + std::string(104, 'n'));
    program.exitWith(3);
    EXPECT_EQ(camera.get(DELETE, "name=a,b"), INTERNAL_ERROR);
    EXPECT_EQ(program.runs().size(), 8U) << "the first failure stops the list";
    EXPECT_EQ(camera.get(DELETE, "name=" + std::string(1299, 'n')), BAD_REQUEST);
    EXPECT_EQ(camera.get(DELETE), BAD_REQUEST);
    EXPECT_EQ(program.runs().size(), 8U);
}

TEST(Reboot, NowOnlyWithTheRightWord)
{
    TestCamera camera;
    EXPECT_EQ(camera.get("/config/system_reboot.cgi", "reboot=go"), okReply("reboot=yes\r\n"));
    EXPECT_EQ(camera.store.lastSet(), "system_reset=10");
    expectRefused(camera, "/config/system_reboot.cgi", "reboot=Go reboot=yes reboot=going x=1");
    camera.store.answerNothing();
    EXPECT_EQ(camera.get("/config/system_reboot.cgi", "reboot=go"), INTERNAL_ERROR);
}

TEST(Reboot, OnASchedule)
{
    const std::string URL = "/config/scheduled_reboot.cgi";
    const std::string fixed = "event_i3_priority=255&event_i3_trigger=schedulereboot&";
    TestCamera camera;
    expectChanges(
        camera, URL,
        {{"enable=on&weekday=0,6&time=06:15",
          fixed + "event_i3_enable=1&event_i3_weekday=65&event_i3_begintime=06:15&event_i3_endtime=06:15&"},
         {"time=23:59", fixed + "event_i3_begintime=23:59&event_i3_endtime=23:59&"},
         {"enable=off", fixed + "event_i3_enable=0&"},
         {"weekday=0,1,2,3,4,5,6,0", fixed + "event_i3_weekday=127&"},
         {"weekday=0,1,2,3,4,5,6,0,&time=12:34:56:78:90:1&enable=on", fixed + "event_i3_enable=1&"}});
    expectRefused(camera, URL,
                  "weekday=1,,2 weekday=7 time=7:30 time=24:00 time=23:60 time=+1:30 enable=yes x=1 "
                  "enable=on&time=12:34:56:78:90:");
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(URL, "enable=on"), UPDATE_FAILED);
}
