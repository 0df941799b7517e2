#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/config/motion.cgi";

using Texts = std::vector<std::string>;

std::string Key(int window, const std::string &name)
{
    return "motion_c0_win_i" + std::to_string(window) + "_" + name;
}

/** A camera with so many windows, of which those in `on` are on. */
FakeStore::Settings Windows(int count, const std::vector<int> &on)
{
    FakeStore::Settings settings = {{"capability_nmotion", std::to_string(count)},
                                    {"motion_c0_enable", on.empty() ? "0" : "1"}};
    for (int i = 0; i < count; ++i) {
        settings[Key(i, "enable")] = std::find(on.begin(), on.end(), i) != on.end() ? "1" : "0";
        settings[Key(i, "sensitivity")] = "70";
        settings[Key(i, "objsize")] = "10";
        settings[Key(i, "left")] = std::to_string(i);
        settings[Key(i, "top")] = "20";
        settings[Key(i, "width")] = "300";
        settings[Key(i, "height")] = "200";
    }
    return settings;
}

/** What is written behind the windows' own settings. */
std::string Switch(int mask)
{
    const std::string text = std::to_string(mask);
    return std::string("\nmotion_c0_enable=") + (mask != 0 ? "1" : "0") + "&event_i0_mdwin=" + text +
           "&event_i1_mdwin=" + text + "&event_i2_mdwin=" + text + "&";
}

std::string Rectangle(int window, int left, int top, int width, int height)
{
    return Key(window, "left=") + std::to_string(left) + "&" + Key(window, "top=") + std::to_string(top) + "&" +
           Key(window, "width=") + std::to_string(width) + "&" + Key(window, "height=") + std::to_string(height) +
           "&";
}

/** The pairs that a window's enable key gives. */
std::string Enable(int window, int value)
{
    return Key(window, "enable") + "=" + std::to_string(value) + "&" + Key(window, "name") + "=kelpa_motion_" +
           std::to_string(window + 1) + "&";
}

/**
 * Sensitivity, percentage and rectangle of five windows, the switch of the first `enabled`. The first `longNumbers`
 * numbers of the rectangles have three digits, the others two. The last of two texts is window 5 alone.
 */
ChangeCase LongChange(const std::string &description, int enabled, int longNumbers, int texts)
{
    ChangeCase made = {description, "sensitivity=100&percentage=100", ""};
    for (int i = 0; i < 5; ++i) {
        const auto number = [&](int side) { return 4 * i + side < longNumbers ? 200 : 20; };
        const std::string window = std::to_string(i + 1);
        made.query += (i < enabled ? "&enable" + window + "=yes" : "") + "&mdw" + window + "=";
        for (int side = 0; side < 4; ++side)
            made.query += std::to_string(number(side)) + (side < 3 ? "," : "");
        made.written += (texts == 2 && i == 4 ? "\n" : "") + Key(i, "sensitivity=100&") + Key(i, "objsize=100&") +
                        (i < enabled ? Enable(i, 1) : "") +
                        Rectangle(i, number(0), number(1), number(2), number(3));
    }
    made.written += Switch((1 << enabled) - 1);
    return made;
}

} // namespace

TEST(Motion, MayHaveNoWindow)
{
    TestCamera camera({.settings = Windows(1, {})});
    for (const std::string count : {"0", "-1"}) {
        camera.store.Set("capability_nmotion", count);
        EXPECT_EQ(camera.Get(URL), OkReply("totalnum=" + count + "\r\nsensitivity=70\r\npercentage=10\r\n"));
    }
    ExpectUnreadable(camera, URL, "capability_nmotion=2 capability_nmotion=9999999");
}

TEST(Motion, WritesWhatIsGivenAndThenTheSwitchAndMasks)
{
    TestCamera camera({.settings = Windows(3, {1})});
    const auto all = [](const std::string &pair) { return Key(0, pair) + Key(1, pair) + Key(2, pair); };
    ExpectChanges(camera, URL,
                  {{"sensitivity goes to every window", "sensitivity=80", all("sensitivity=80&") + Switch(2)},
                   {"percentage too", "percentage=0", all("objsize=0&") + Switch(2)},
                   {"a window with its rectangle", "mdw3=10,20,100,80&enable3=yes",
                    Enable(2, 1) + Rectangle(2, 10, 20, 100, 80) + Switch(6)},
                   {"a rectangle alone", "mdw1=0,0,320,240", Rectangle(0, 0, 0, 320, 240) + Switch(6)},
                   {"the largest rectangle, followed by more", "mdw1=320, 240,0,0,9",
                    Rectangle(0, 320, 240, 0, 0) + Switch(6)},
                   {"two windows, off and on", "enable1=yes&enable2=no", Enable(0, 1) + Enable(1, 0) + Switch(5)},
                   {"off with all of them", "enable1=no&enable3=no", Enable(0, 0) + Enable(2, 0) + Switch(0)},
                   {"128 characters are passed over", "enable1=" + std::string(128, 'y') + "&enable2=yes",
                    Enable(1, 1) + Switch(2)}});
    EXPECT_EQ(camera.store.Value("event_i2_mdwin"), "2");
}

TEST(Motion, BadRequestsWriteNothing)
{
    TestCamera camera({.settings = Windows(3, {1})});
    ExpectRanges(camera, URL, "sensitivity=0..100 percentage=0..100");
    ExpectRefused(camera, URL,
                  "enable1=on mdw1=0,0,320 mdw1=321,0,1,1 mdw1=-1,0,1,1 "
                  "mdw1=0,241,1,1 mdw1=0,-1,1,1 mdw1=0,0,321,1 mdw1=0,0,-1,1 mdw1=0,0,1,241 mdw1=0,0,1,-1 "
                  "sensitivity=50&mdw5=0,0,0,999 x=1 enable1=" +
                      std::string(127, 'y'));
}

TEST(Motion, KeptThePirSensorCannotBeSet)
{
    TestCamera camera({.settings = Windows(1, {})});
    ExpectRefused(camera, URL,
                  "pir=0 sensitivity=1&pir=1 sensitivity=1&pir= sensitivity=1&pir=" + std::string(127, '0'));
    ExpectChanges(camera, URL,
                  {{"128 characters are passed over", "sensitivity=1&pir=" + std::string(128, '0'),
                    Key(0, "sensitivity=1&") + Switch(0)}});
}

TEST(Motion, WindowsAreBoundedByTheRequestTheCameraAndTheMask)
{
    TestCamera camera({.settings = Windows(6, {5})});
    ExpectRefused(camera, URL, "enable6=no&mdw6=1,2,3,4");
    ExpectChanges(camera, URL,
                  {{"window 6 cannot be named, but keeps its bit", "enable5=yes&enable6=no",
                    Enable(4, 1) + Switch(16 + 32)}});
    camera.store.Set("capability_nmotion", "2");
    ExpectRefused(camera, URL, "enable3=yes");
    ExpectChanges(camera, URL,
                  {{"a window that the camera lacks", "enable3=yes&enable2=yes", Enable(1, 1) + Switch(2)}});
    for (const char *none : {"0", "-1"}) {
        camera.store.Set("capability_nmotion", none);
        ExpectRefused(camera, URL, "sensitivity=1");
    }
    camera.store.Set(Windows(31, {0, 30}));
    camera.store.Set("capability_nmotion", "9999999");
    std::string all, both;
    for (int i = 0; i < 31; ++i) {
        all += Key(i, "sensitivity=5&");
        both += (i == 16 ? "\n" : "") + Key(i, "sensitivity=100&") + Key(i, "objsize=100&");
    }
    ExpectChanges(camera, URL,
                  {{"more windows than a mask has bits", "sensitivity=5", all + Switch(1 + (1 << 30))},
                   {"and more than a text holds", "sensitivity=100&percentage=100", both + Switch(1 + (1 << 30))}});
}

TEST(Motion, AChangeOfMoreThan1023CharactersIsWrittenInTwoTexts)
{
    TestCamera camera({.settings = Windows(5, {})});
    ExpectChanges(camera, URL, {LongChange("all keys at their longest", 5, 20, 2)});
    camera.store.Set(Windows(5, {}));
    const ChangeCase longest = LongChange("the longest of one text", 3, 14, 1);
    ASSERT_EQ(longest.written.find('\n'), 1023U);
    ExpectChanges(camera, URL, {longest, LongChange("a character more", 3, 15, 2)});
}

TEST(Motion, AFailureHalfWayKeepsWhatIsWritten)
{
    TestCamera camera;
    const ChangeCase change = LongChange("", 5, 20, 2);
    const Texts texts = Split(change.written, '\n');
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
        camera.store.Set(Windows(5, {}));
        camera.store.ClearRequests();
        camera.store.CloseEarly(c.request);
        EXPECT_EQ(camera.Get(URL, change.query), INTERNAL_ERROR);
        EXPECT_EQ(camera.store.Requests().size() + 1, static_cast<size_t>(c.request)) << "nothing is done after it";
        EXPECT_EQ(camera.store.Sets(), Texts(texts.begin(), texts.begin() + c.written));
    }
    camera.store.Set(Windows(2, {}));
    camera.store.Remove(Key(0, "enable"));
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL, "enable2=yes"), INTERNAL_ERROR) << "a window is missing when it is read back";
    EXPECT_EQ(camera.store.Sets(), Texts{Enable(1, 1)});
    camera.store.Set("capability_nmotion", "12345678");
    EXPECT_EQ(camera.Get(URL, "enable2=yes"), INTERNAL_ERROR);
}
