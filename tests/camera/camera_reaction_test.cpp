#include "camera/base/files.h"
#include "camera/neighbours/event_engine/avi_writer.h"
#include "camera_process.h"
#include "tests/fakes/test_camera.h"

#include <csignal>
#include <cstring>
#include <endian.h>
#include <gtest/gtest.h>
#include <thread>

/*
 * The built virtual camera reacts to what a client sets: the head moves, outputs switch, events are acted on, the
 * camera restarts. Everything is asked for by the daemon's URLs.
 */

namespace
{

using nlohmann::json;
using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

class CameraReaction : public testing::Test
{
  protected:
    std::string ask(const std::string &target) { return replyBody(camera.get(target)); }

    void accept(const std::string &target)
    {
        EXPECT_EQ(ask(target), "<config><result><code>ok</code></result></config>") << target;
    }

    json waitForRest()
    {
        return camera.waitFor([](const json &state) { return state["ptz"]["moving"] == false; })["ptz"];
    }

    void postMotion(int window, const char *state)
    {
        EXPECT_EQ(statusOf(camera.post("/camera/motion/" + std::to_string(window) + "?state=" + state)), 200);
    }

    std::string outputs()
    {
        const std::string reply = ask("/config/io.cgi");
        return reply.substr(reply.find("out1"));
    }

    CameraProcess camera;
};

TEST_F(CameraReaction, HeadGoesWhereTheClientSendsItAndKeepsPresets)
{
    // 8 steps of a 64th of the picture of 1280x720: an eighth of its width, which is 2/9 of its height.
    ask("/config/ptz_move_rel.cgi?p=8&t=0");
    const double eighth = 2.0 / 9 / ((5 - 16.0 / 9) / 2);
    const json moved = waitForRest();
    EXPECT_NEAR(moved["pan"], eighth, 1e-6);
    EXPECT_NEAR(moved["tilt"], 0, 1e-6);
    EXPECT_EQ(ask("/config/ptz_preset.cgi?name=door&act=add"), "name=door\r\nact=add\r\n");
    EXPECT_EQ(ask("/config/ptz_home.cgi?act=go"), "p=0\r\nt=0\r\nz=0\r\n");
    EXPECT_EQ(waitForRest()["pan"], 0);
    ask("/config/ptz_preset.cgi?name=door&act=go");
    EXPECT_NEAR(waitForRest()["pan"], eighth, 1e-5);

    EXPECT_EQ(camera.stop(SIGTERM), 0);
    camera.start();
    EXPECT_EQ(ask("/config/ptz_preset_list.cgi"), "presets=door\r\n");
    ask("/config/ptz_preset.cgi?name=door&act=del");
    EXPECT_EQ(ask("/config/ptz_preset_list.cgi"), "presets=\r\n");
    ask("/config/ptz_preset.cgi?name=door&act=go");
    EXPECT_EQ(camera.state()["ptz"]["error"], "no such preset: door");
}

TEST_F(CameraReaction, PtzDaemonOutlivesHostileClients)
{
    const auto say = [&](const std::string &line) { return camera.say("/tmp/ptzctrl", line); };
    ClientSide silent = say("");
    EXPECT_EQ(say("rubbish").readAll(), "") << "closed after the line";
    say(std::string(2000, '&')).readAll();
    say("channel=0&camid=1&cam=preset&name=\xff\xfe").readAll();
    EXPECT_EQ(silent.readAll(), "") << "left after its time";
    ask("/config/ptz_move_rel.cgi?p=1&t=1");
    EXPECT_EQ(waitForRest()["error"], "");
}

TEST_F(CameraReaction, AlarmRuleSwitchesTheOutputWhileAWindowThatCountsMoves)
{
    EXPECT_EQ(ask("/config/io.cgi?out1=on&out2=on"), "out1=on\r\nout2=on\r\n");
    EXPECT_EQ(outputs(), "out1=on\r\nout2=on\r\n");
    ask("/config/io.cgi?out2=off&out1=off");
    postMotion(1, "on");
    EXPECT_EQ(outputs(), "out1=off\r\nout2=off\r\n") << "no rule is enabled";
    postMotion(1, "off");
    accept("/cgi/admin/adv_do.cgi?toOut1=1&out1ByMotion=1&out1ByIn1=0&out1ByIn2=0");
    postMotion(1, "on");
    EXPECT_EQ(outputs(), "out1=on\r\nout2=off\r\n");
    postMotion(1, "off");
    EXPECT_EQ(statusOf(camera.post("/camera/input/1?state=on")), 200);
    EXPECT_EQ(outputs(), "out1=off\r\nout2=off\r\n") << "inputs are not in the rule";
    ask("/config/motion.cgi?enable1=no");
    postMotion(1, "on");
    EXPECT_EQ(camera.state()["events"]["alarm"], json({{"active", false}, {"count", 1}}));
}

TEST_F(CameraReaction, TriggerOutsideItsScheduleDoesNothing)
{
    // A Monday: day 1.
    ask("/config/datetime.cgi?method=2&date=2024-06-03&time=12:00:00");
    for (const auto &[schedule, count] : {std::pair("2,8,0,2,17,0", 0), {"1,8,0,1,12,0", 0}, {"1,8,0,1,17,0", 1}}) {
        accept(std::string("/cgi/admin/adv_snapshot_cont.cgi?enable=1&byMotion=1&byIn1=0&byIn2=0&toSmtp=1&toFTP=0"
                           "&schedule=1&continuous=0&itemSize=1&item01=") +
               schedule);
        postMotion(1, "on");
        postMotion(1, "off");
        EXPECT_EQ(camera.state()["events"]["snapshots"]["count"], count) << schedule;
    }
    const json state = camera.waitFor(
        [](const json &now) { return now["events"]["snapshots"]["files"] == 1; })["events"]["snapshots"];
    EXPECT_TRUE(camera::jpegSize(camera::readFile(camera.root() + std::string(state["last"]))));
}

TEST_F(CameraReaction, RecorderWritesAClipWithTheSecondsBeforeAndAfter)
{
    accept("/cgi/admin/recorder.cgi?enable=1&prerecord=1&postrecord=1&byMotion=1&byIn1=0&byIn2=0&toUSB=1&toSamba=0"
           "&schedule=1&continuous=0");
    EXPECT_EQ(camera.state()["gen_task"], json({{"runs", 1}, {"last", "gen_task -e"}}));
    EXPECT_EQ(camera.state()["events"]["recorder"]["mode"], "armed");
    postMotion(1, "on");
    EXPECT_EQ(camera.state()["events"]["recorder"]["recording"], true);
    postMotion(1, "off");
    const json state = camera.waitFor(
        [](const json &now) { return now["events"]["recorder"]["clips"] == 1; })["events"]["recorder"];
    EXPECT_EQ(state["recording"], false);
    const std::string clip = camera::readFile(camera.root() + std::string(state["last"]));
    ASSERT_GT(clip.size(), 224U);
    const auto number = [&](size_t at) {
        std::uint32_t value = 0;
        memcpy(&value, clip.data() + at, sizeof value);
        return std::uint64_t{le32toh(value)};
    };
    EXPECT_GE(number(32) * number(48), 990'000U) << "microseconds: the second after the event";
}

TEST_F(CameraReaction, RebootRefusesConnectionsForAWhileAndComesBack)
{
    ask("/config/io.cgi?out1=on");
    const pid_t before = camera.daemonPid();
    // Sunday, two seconds before its scheduled reboot.
    EXPECT_EQ(statusOf(camera.get("/config/scheduled_reboot.cgi?enable=on&weekday=0&time=06:15")), 200);
    ask("/config/datetime.cgi?method=2&date=2024-06-02&time=06:14:58");

    const auto answers = [this] {
        try {
            return !camera.get("/camera/state").empty(); // a connection that nobody has accepted yet is cut
        } catch (const std::runtime_error &) {
            return false;
        }
    };
    EXPECT_TRUE(waitFor([&] { return !answers(); }));
    const auto downAt = Clock::now();
    ASSERT_TRUE(waitFor(answers));
    const json state = camera.state();
    EXPECT_GT(Clock::now() - downAt, seconds(2)) << "as long as a camera takes";
    EXPECT_EQ(state["power"]["reboots"], 1);
    EXPECT_EQ(state["power"]["reason"], "scheduled");
    EXPECT_EQ(state["daemon"]["ready"], true);
    EXPECT_NE(state["daemon"]["pid"], before);
    EXPECT_EQ(outputs(), "out1=off\r\nout2=off\r\n");
}

TEST_F(CameraReaction, StopDuringARebootIsAStop)
{
    camera.setInStore("network_restart=1&system_reset=1&");
    EXPECT_EQ(camera.state()["network"]["restarts"], 1);
    camera.waitForOutput("restarting: system_reset");
    EXPECT_EQ(camera.stop(SIGTERM), 0);
}

} // namespace
