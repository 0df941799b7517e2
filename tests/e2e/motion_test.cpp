#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/config/motion.cgi";

using Texts = std::vector<std::string>;

std::string key(int window, const std::string &name)
{
    return "motion_c0_win_i" + std::to_string(window) + "_" + name;
}

/** A camera with so many windows, of which those in `on` are on. */
FakeStore::Settings windows(int count, const std::vector<int> &on)
{
    FakeStore::Settings settings = {{"capability_nmotion", std::to_string(count)},
                                    {"motion_c0_enable", on.empty() ? "0" : "1"}};
    for (int i = 0; i < count; ++i) {
        settings[key(i, "enable")] = std::find(on.begin(), on.end(), i) != on.end() ? "1" : "0";
        settings[key(i, "sensitivity")] = "70";
        settings[key(i, "objsize")] = "10";
        settings[key(i, "left")] = std::to_string(i);
        settings[key(i, "top")] = "20";
        settings[key(i, "width")] = "300";
        settings[key(i, "height")] = "200";
    }
    return settings;
}

/** What is written behind the windows' own settings. */
std::string switchTo(int mask)
{
    const std::string text = std::to_string(mask);
    return std::string("\nmotion_c0_enable=") + (mask != 0 ? "1" : "0") + "&event_i0_mdwin=" + text +
           "&event_i1_mdwin=" + text + "&event_i2_mdwin=" + text + "&";
}

std::string rectangle(int window, int left, int top, int width, int height)
{
    return key(window, "left=") + std::to_string(left) + "&" + key(window, "top=") + std::to_string(top) + "&" +
           key(window, "width=") + std::to_string(width) + "&" + key(window, "height=") + std::to_string(height) +
           "&";
}

/** The pairs that a window's enable key gives. */
std::string enable(int window, int value)
{
    return key(window, "enable") + "=" + std::to_string(value) + "&" + key(window, "name") + "=kelpa_motion_" +
           std::to_string(window + 1) + "&";
}

/** Sensitivity, percentage, rectangle and switch of five windows, whose settings need a second text for the last.
 */
ChangeCase longChange()
{
    ChangeCase made = {"sensitivity=100&percentage=100", ""};
    for (int i = 0; i < 5; ++i) {
        const std::string window = std::to_string(i + 1);
        made.query += "&enable" + window + "=yes&mdw" + window + "=200,200,200,200";
        made.written += (i == 4 ? "\n" : "") + key(i, "sensitivity=100&") + key(i, "objsize=100&") + enable(i, 1) +
                        rectangle(i, 200, 200, 200, 200);
    }
    made.written += switchTo(31);
    return made;
}

} // namespace

TEST(Motion, MayHaveNoWindow)
{
    TestCamera camera({.settings = windows(1, {})});
    for (const std::string count : {"0", "-1"}) {
        camera.store.set("capability_nmotion", count);
        EXPECT_EQ(camera.get(URL), okReply("totalnum=" + count + "\r\nsensitivity=70\r\npercentage=10\r\n"));
    }
    expectUnreadable(camera, URL, "capability_nmotion=2 capability_nmotion=9999999");
}

TEST(Motion, WritesWhatIsGivenAndThenTheSwitchAndMasks)
{
    TestCamera camera({.settings = windows(3, {1})});
    const auto all = [](const std::string &pair) { return key(0, pair) + key(1, pair) + key(2, pair); };
    expectChanges(camera, URL,
                  {{"sensitivity=80", all("sensitivity=80&") + switchTo(2)},
                   {"percentage=0", all("objsize=0&") + switchTo(2)},
                   {"mdw3=10,20,100,80&enable3=yes", enable(2, 1) + rectangle(2, 10, 20, 100, 80) + switchTo(6)},
                   {"mdw1=0,0,320,240", rectangle(0, 0, 0, 320, 240) + switchTo(6)},
                   {"mdw1=320, 240,0,0,9", rectangle(0, 320, 240, 0, 0) + switchTo(6)},
                   {"enable1=yes&enable2=no", enable(0, 1) + enable(1, 0) + switchTo(5)},
                   {"enable1=no&enable3=no", enable(0, 0) + enable(2, 0) + switchTo(0)},
                   {"enable1=" + std::string(128, 'y') + "&enable2=yes", enable(1, 1) + switchTo(2)}});
    EXPECT_EQ(camera.store.value("event_i2_mdwin"), "2");
}

TEST(Motion, BadRequestsWriteNothing)
{
    TestCamera camera({.settings = windows(3, {1})});
    expectRanges(camera, URL, "sensitivity=0..100 percentage=0..100");
    expectRefused(camera, URL,
                  "enable1=on mdw1=0,0,320 mdw1=321,0,1,1 mdw1=-1,0,1,1 mdw1=0,241,1,1 mdw1=0,-1,1,1 mdw1=0,0,321,"
                  "1 mdw1=0,0,-1,1 mdw1=0,0,1,241 mdw1=0,0,1,-1 sensitivity=50&mdw5=0,0,0,999 x=1 enable1=" +
                      std::string(127, 'y'));
}

TEST(Motion, KeptThePirSensorCannotBeSet)
{
    TestCamera camera({.settings = windows(1, {})});
    expectRefused(camera, URL,
                  "pir=0 sensitivity=1&pir=1 sensitivity=1&pir= sensitivity=1&pir=" + std::string(127, '0'));
    expectChanges(camera, URL,
                  {{"sensitivity=1&pir=" + std::string(128, '0'), key(0, "sensitivity=1&") + switchTo(0)}});
}

TEST(Motion, WindowsAreBoundedByTheRequestTheCameraAndTheMask)
{
    TestCamera camera({.settings = windows(6, {5})});
    expectRefused(camera, URL, "enable6=no&mdw6=1,2,3,4");
    expectChanges(camera, URL, {{"enable5=yes&enable6=no", enable(4, 1) + switchTo(16 + 32)}});
    camera.store.set("capability_nmotion", "2");
    expectRefused(camera, URL, "enable3=yes");
    expectChanges(camera, URL, {{"enable3=yes&enable2=yes", enable(1, 1) + switchTo(2)}});
    for (const char *none : {"0", "-1"}) {
        camera.store.set("capability_nmotion", none);
        expectRefused(camera, URL, "sensitivity=1");
    }
    camera.store.set(windows(31, {0, 30}));
    camera.store.set("capability_nmotion", "9999999");
    std::string both;
    for (int i = 0; i < 31; ++i)
        both += (i == 16 ? "\n" : "") + key(i, "sensitivity=100&") + key(i, "objsize=100&");
    expectChanges(camera, URL, {{"sensitivity=100&percentage=100", both + switchTo(1 + (1 << 30))}});
}

TEST(Motion, AFailureHalfWayKeepsWhatIsWritten)
{
    TestCamera camera;
    const ChangeCase change = longChange();
    const Texts texts = split(change.written, '\n');
    const struct {
        const char *description;
        int request;
        size_t written;
    } cases[] = {{"the count", 1, 0},
                 {"the first windows", 2, 0},
                 {"the other windows", 3, 1},
                 {"the read-back", 4, 2},
                 {"the masks", 5, 2}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        camera.store.set(windows(5, {}));
        camera.store.clearRequests();
        camera.store.closeEarly(c.request);
        EXPECT_EQ(camera.get(URL, change.query), INTERNAL_ERROR);
        EXPECT_EQ(camera.store.requests().size() + 1, static_cast<size_t>(c.request)) << "nothing is done after it";
        EXPECT_EQ(camera.store.sets(), Texts(texts.begin(), texts.begin() + c.written));
    }
    camera.store.set(windows(2, {}));
    camera.store.remove(key(0, "enable"));
    camera.store.clearRequests();
    EXPECT_EQ(camera.get(URL, "enable2=yes"), INTERNAL_ERROR) << "a window is missing when it is read back";
    EXPECT_EQ(camera.store.sets(), Texts{enable(1, 1)});
    camera.store.set(windows(5, {}));
    expectChanges(camera, URL, {change});
}
