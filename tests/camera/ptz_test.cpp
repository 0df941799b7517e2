#include "camera/neighbours/ptz/ptz_command.h"
#include "camera/neighbours/ptz/ptz_head.h"
#include "camera/neighbours/ptz/ptz_presets.h"
#include "temporary_folder.h"

#include <cmath>
#include <gtest/gtest.h>

/*
 * The PTZ head: what it understands, where it goes and how fast, and what it keeps.
 */

namespace
{

using namespace camera;
using namespace std::chrono_literals;

PtzCommand parse(const std::string &text)
{
    return parsePtzCommand("channel=0&camid=1&" + text);
}

TEST(PtzCommandLine, SaysOneThingToDoOrIsRefused)
{
    EXPECT_EQ(std::get<PtzZoom>(parse("zoom=wide").action), PtzZoom::Wide);
    EXPECT_EQ(std::get<PtzFocus>(parse("focus=near").action), PtzFocus::Near);
    EXPECT_EQ(std::get<PtzAuto>(parse("auto=stop").action), PtzAuto::Stop);
    EXPECT_EQ(std::get<PtzKeep>(parse("cam=preset&name=front door=b").action).name, "front door=b");
    EXPECT_EQ(std::get<PtzForget>(parse("cam=clearpreset&name=door").action).name, "door");
    EXPECT_EQ(std::get<PtzRecall>(parse("recall=door").action).name, "door");
    const PtzCommand up = parse("move=up&speedtilt=5");
    EXPECT_EQ(std::get<PtzMove>(up.action), PtzMove::Up);
    EXPECT_EQ(up.tiltSpeed, 5);
    EXPECT_FALSE(up.panSpeed);
    EXPECT_TRUE(std::holds_alternative<std::monostate>(parse("speedzoom=-4").action));
    const auto point = std::get<PtzCentre>(parse("video=0&y=247&resolution=640x480&stretch=1").action);
    EXPECT_EQ(point.x, 320) << "a point without x is in the middle";
    EXPECT_EQ(point.y, 247);

    for (const std::string line :
         {"", "=", "move=up", "camid=1&move=up", "channel=1&camid=1&move=up", "channel=0&camid=&move=up"})
        EXPECT_THROW((void)parsePtzCommand(line), PtzError) << line;
    for (const std::string line :
         {"", "move=upwards", "move=", "move", "move=up&zoom=tele", "jump=up", "speedpan=6&move=left",
          "speedpan=1e9", "cam=preset", "cam=erase&name=door", "video=0&x=1&y=1", "\xff&&",
          "video=0&x=1&y=1&resolution=0x480", "video=0&x=641&y=1&resolution=640x480",
          "video=0&x=-1&y=1&resolution=640x480", "video=0&x=99999999999&y=1&resolution=640x480"})
        EXPECT_THROW((void)parse(line), PtzError) << line;
}

class PtzHeadTest : public testing::Test
{
  protected:
    const View &after(std::chrono::milliseconds time) { return head.advance(now += time); }

    PtzHead::Time now;
    PtzHead head{now};
};

TEST_F(PtzHeadTest, MovesAtTheSpeedOfItsMotors)
{
    head.moveTo({.pan = 1, .tilt = -0.5, .zoom = 10});
    EXPECT_DOUBLE_EQ(after(1s).pan, 0.5);
    EXPECT_NEAR(head.advance(now).zoom, std::cbrt(10), 1e-9);
    EXPECT_TRUE(head.moving());
    EXPECT_DOUBLE_EQ(after(10s).pan, 1);
    EXPECT_FALSE(head.moving());
    head.advance(now - 5s);
    EXPECT_DOUBLE_EQ(head.advance(now).pan, 1) << "time does not go back";
}

TEST_F(PtzHeadTest, StepsDependOnSpeedAndZoomAndStopAtTheEnds)
{
    const auto stepOf = [&](int speed, double zoom) {
        head.moveTo({.pan = 0, .tilt = 0, .zoom = zoom});
        after(10s);
        head.setSpeeds({.panSpeed = speed});
        head.step(PtzMove::Right);
        return after(10s).pan;
    };
    EXPECT_GT(stepOf(-5, 1), 0);
    EXPECT_LT(stepOf(-5, 1), stepOf(0, 1));
    EXPECT_LT(stepOf(0, 1), stepOf(5, 1));
    EXPECT_NEAR(stepOf(0, 4), stepOf(0, 1) / 4, 1e-9);
    head.step(PtzMove::Left);
    EXPECT_NEAR(after(10s).pan, 0, 1e-9);
    for (int i = 0; i < 50; ++i) {
        head.step(PtzMove::Up);
        head.step(PtzZoom::Tele);
        head.step(PtzFocus::Near);
    }
    EXPECT_DOUBLE_EQ(after(10s).tilt, 1);
    EXPECT_DOUBLE_EQ(head.advance(now).zoom, 10);
    EXPECT_EQ(head.focus(), 0);
    head.step(PtzMove::Home);
    EXPECT_DOUBLE_EQ(after(10s).tilt, 0);
    EXPECT_DOUBLE_EQ(head.advance(now).zoom, 1);
}

TEST_F(PtzHeadTest, AutoPanGoesToAndFroUntilItIsStoppedOrMoved)
{
    head.setSpeeds({.panSpeed = 5});
    head.setAutoPan(PtzAuto::Pan);
    double lowest = 0, highest = 0;
    for (int i = 0; i < 600; ++i) {
        const double pan = after(100ms).pan;
        lowest = std::min(lowest, pan);
        highest = std::max(highest, pan);
    }
    EXPECT_NEAR(highest, 1, 0.02);
    EXPECT_NEAR(lowest, -1, 0.02);
    head.setAutoPan(PtzAuto::Stop);
    EXPECT_FALSE(head.moving());
    head.setAutoPan(PtzAuto::Pan);
    head.step(PtzMove::Up);
    after(10s);
    EXPECT_FALSE(head.moving());
}

TEST_F(PtzHeadTest, CentresOnThePictureAsItIsRightNow)
{
    head.moveTo({.pan = 0, .tilt = 0, .zoom = 2});
    after(10s);
    head.centre({.x = 640, .y = 180, .width = 1280, .height = 720});
    EXPECT_NEAR(after(10s).tilt, 0.125 / 0.35, 1e-9) << "up is a smaller y, and zoom 2 halves the way";
    EXPECT_NEAR(head.advance(now).pan, 0, 1e-9);
}

TEST(PtzPresetStore, KeepsWhatThePresetListCanShowUnderTheNamesThatItReads)
{
    const TemporaryFolder folder;
    Store store(folder.path("store"));
    PtzPresets presets(store);
    presets.keep("door", {.pan = 0.25, .tilt = -0.5, .zoom = 3});
    presets.keep("gate", {});
    presets.keep("door", {.pan = 0.75, .tilt = -0.5, .zoom = 3});
    EXPECT_EQ(store.text("camctrl_c0_preset_i1_name"), "gate");

    Store reopened(folder.path("store"));
    EXPECT_DOUBLE_EQ(PtzPresets(reopened).find("door").pan, 0.75) << "a preset of the same name is replaced";
    presets.forget("door");
    EXPECT_THROW((void)presets.find("door"), PtzError);
    EXPECT_THROW(presets.forget("door"), PtzError);
    presets.keep("roof", {});
    EXPECT_EQ(store.text("camctrl_c0_preset_i0_name"), "roof") << "the free place is taken";
    for (const std::string &name : {std::string(), std::string(48, 'n'), std::string("two\nlines")})
        EXPECT_THROW(presets.keep(name, {}), PtzError) << name;
    for (int i = 2; i < 20; ++i)
        presets.keep("preset" + std::to_string(i), {});
    EXPECT_THROW(presets.keep("one too many", {}), PtzError);
    presets.keep("preset19", {.pan = 1});
    EXPECT_EQ(presets.all().size(), 20U);
}

} // namespace
