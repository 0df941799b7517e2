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
    return std::string("motion_c0_enable=") + (mask != 0 ? "1" : "0") + "&event_i0_mdwin=" + text +
           "&event_i1_mdwin=" + text + "&event_i2_mdwin=" + text + "&";
}

/** The pairs that a window's enable key gives. */
std::string Enable(int window, int value)
{
    return Key(window, "enable") + "=" + std::to_string(value) + "&" + Key(window, "name") + "=kelpa_motion_" +
           std::to_string(window + 1) + "&";
}

} // namespace

TEST(Motion, IsRead)
{
    TestCamera camera({.settings = Windows(2, {1})});
    camera.store.ClearRequests();
    const std::string body = "totalnum=2\r\nsensitivity=70\r\npercentage=10\r\nenable1=no\r\nmdw1=0,20,300,200\r\n"
                             "enable2=yes\r\nmdw2=1,20,300,200\r\n";
    EXPECT_EQ(camera.Get(URL), OkReply(body));
    std::string second = "get NameValue 99 0\n";
    for (int i = 0; i < 2; ++i)
        for (const char *name : {"enable", "left", "top", "width", "height"})
            second += Key(i, name) + "=&";
    EXPECT_EQ(camera.store.Requests(),
              (Texts{"get NameValue 99 0\ncapability_nmotion&motion_c0_enable&motion_c0_win_i0_objsize&"
                     "motion_c0_win_i0_sensitivity&",
                     second}));

    camera.store.Set(Windows(2, {0, 1}));
    camera.store.Set("motion_c0_enable", "0");
    camera.store.Remove(Key(0, "enable"));
    std::string off = body;
    off.replace(off.find("yes"), 3, "no");
    EXPECT_EQ(camera.Get(URL), OkReply(off)) << "with the switch off no window is looked at";
}

TEST(Motion, EveryMissingValueFailsTheRead)
{
    const FakeStore::Settings settings = Windows(2, {0});
    TestCamera camera({.settings = settings});
    for (const auto &[name, value] : settings) {
        if (name == Key(1, "sensitivity") || name == Key(1, "objsize"))
            continue; // those of the first window stand for all
        camera.store.Remove(name);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR) << name;
        const bool isFlag = name.ends_with("enable");
        camera.store.Set(name, "00000001");
        EXPECT_EQ(camera.Get(URL) == INTERNAL_ERROR, !isFlag) << name << " of 8 characters";
        camera.store.Set(name, value);
    }
    for (const int request : {1, 2}) {
        camera.store.AnswerNothing(request);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR) << "request " << request;
    }
    const struct {
        int count;
        std::string reply;
    } counts[] = {{0, OkReply("totalnum=0\r\nsensitivity=70\r\npercentage=10\r\n")},
                  {-1, OkReply("totalnum=-1\r\nsensitivity=70\r\npercentage=10\r\n")},
                  {3, INTERNAL_ERROR},
                  {9999999, INTERNAL_ERROR}};
    for (const auto &c : counts) {
        camera.store.Set("capability_nmotion", std::to_string(c.count));
        EXPECT_EQ(camera.Get(URL), c.reply) << c.count << " windows";
    }
}

TEST(Motion, WritesWhatIsGivenAndThenTheSwitchAndMasks)
{
    TestCamera camera({.settings = Windows(3, {1})});
    const auto written = [](const std::string &description, const std::string &query, const std::string &pairs,
                            int mask) {
        return ExchangeCase{description, query, EchoReply(query), {pairs, Switch(mask)}};
    };
    ExpectExchanges(
        camera, URL,
        {written("sensitivity goes to every window", "sensitivity=80",
                 Key(0, "sensitivity=80&") + Key(1, "sensitivity=80&") + Key(2, "sensitivity=80&"), 2),
         written("percentage too", "percentage=0",
                 Key(0, "objsize=0&") + Key(1, "objsize=0&") + Key(2, "objsize=0&"), 2),
         written("the largest numbers", "sensitivity=100&percentage=100",
                 Key(0, "sensitivity=100&") + Key(0, "objsize=100&") + Key(1, "sensitivity=100&") +
                     Key(1, "objsize=100&") + Key(2, "sensitivity=100&") + Key(2, "objsize=100&"),
                 2),
         written("a window with its rectangle", "mdw3=10,20,100,80&enable3=yes",
                 Enable(2, 1) + Key(2, "left=10&") + Key(2, "top=20&") + Key(2, "width=100&") +
                     Key(2, "height=80&"),
                 6),
         written("a rectangle alone", "mdw1=0,0,320,240",
                 Key(0, "left=0&") + Key(0, "top=0&") + Key(0, "width=320&") + Key(0, "height=240&"), 6),
         written("the largest rectangle, followed by more", "mdw1=320, 240,0,0,9",
                 Key(0, "left=320&") + Key(0, "top=240&") + Key(0, "width=0&") + Key(0, "height=0&"), 6),
         written("two windows, off and on", "enable1=yes&enable2=no", Enable(0, 1) + Enable(1, 0), 5),
         written("off with all of them", "enable1=no&enable3=no", Enable(0, 0) + Enable(2, 0), 0),
         written("a value of 128 characters is passed over", "enable1=" + std::string(128, 'y') + "&enable2=yes",
                 Enable(1, 1), 2)});
    EXPECT_EQ(camera.store.Value("event_i2_mdwin"), "2");
}

TEST(Motion, BadRequestsWriteNothing)
{
    TestCamera camera({.settings = Windows(3, {1})});
    std::vector<ExchangeCase> cases;
    for (const std::string query : {"sensitivity=101",
                                    "sensitivity=-1",
                                    "percentage=101",
                                    "percentage=-1",
                                    "enable1=on",
                                    "enable1=YES",
                                    "enable1=",
                                    "enable5=1",
                                    "mdw1=0,0,320",
                                    "mdw1=",
                                    "mdw1=1;2;3;4",
                                    "mdw1=a,b,c,d",
                                    "mdw1=321,0,1,1",
                                    "mdw1=-1,0,1,1",
                                    "mdw1=0,241,1,1",
                                    "mdw1=0,-1,1,1",
                                    "mdw1=0,0,321,1",
                                    "mdw1=0,0,-1,1",
                                    "mdw1=0,0,1,241",
                                    "mdw1=0,0,1,-1",
                                    "sensitivity=50&mdw5=0,0,0,999",
                                    "x=1"})
        cases.push_back({"bad", query, BAD_REQUEST});
    ExpectExchanges(camera, URL, cases);
}

TEST(Motion, KeptThePirSensorCannotBeSet)
{
    TestCamera camera({.settings = Windows(1, {})});
    const std::string tooLong = "sensitivity=1&pir=" + std::string(128, '0');
    ExpectExchanges(
        camera, URL,
        {{"off", "pir=0", BAD_REQUEST},
         {"with a good key", "sensitivity=1&pir=1", BAD_REQUEST},
         {"empty", "sensitivity=1&pir=", BAD_REQUEST},
         {"127 characters", "sensitivity=1&pir=" + std::string(127, '0'), BAD_REQUEST},
         {"128 characters are passed over", tooLong, EchoReply(tooLong), {Key(0, "sensitivity=1&"), Switch(0)}}});
}

TEST(Motion, WindowsAreBoundedByTheRequestTheCameraAndTheMask)
{
    TestCamera camera({.settings = Windows(6, {5})});
    ExpectExchanges(camera, URL,
                    {{"window 6 cannot be named", "enable6=no&mdw6=1,2,3,4", BAD_REQUEST},
                     {"window 6 is passed over, but keeps its bit",
                      "enable5=yes&enable6=no",
                      EchoReply("enable5=yes&enable6=no"),
                      {Enable(4, 1), Switch(16 + 32)}}});
    camera.store.Set("capability_nmotion", "2");
    ExpectExchanges(camera, URL,
                    {{"a window that the camera lacks", "enable3=yes", BAD_REQUEST},
                     {"beside one that it has",
                      "enable3=yes&enable2=yes",
                      EchoReply("enable3=yes&enable2=yes"),
                      {Enable(1, 1), Switch(2)}}});
    for (const char *none : {"0", "-1"}) {
        camera.store.Set("capability_nmotion", none);
        ExpectExchanges(camera, URL, {{"no windows", "sensitivity=1", BAD_REQUEST}});
    }
    camera.store.Set(Windows(31, {0, 30}));
    camera.store.Set("capability_nmotion", "9999999");
    std::string all;
    for (int i = 0; i < 31; ++i)
        all += Key(i, "sensitivity=5&");
    ExpectExchanges(camera, URL,
                    {{"more windows than a mask has bits",
                      "sensitivity=5",
                      EchoReply("sensitivity=5"),
                      {all, Switch(1 + (1 << 30))}}});
}

TEST(Motion, AChangeOfMoreThan1023CharactersIsRefusedWhole)
{
    TestCamera camera({.settings = Windows(5, {})});
    // Most of what five windows can be given; the first numbers of the rectangles have three digits.
    const auto change = [](int longNumbers) {
        ExchangeCase made = {
            std::to_string(longNumbers) + " long numbers", "sensitivity=100&percentage=100", "", {}};
        std::string pairs;
        for (int i = 0, number = 0; i < 5; ++i) {
            const std::string window = std::to_string(i + 1);
            pairs += Key(i, "sensitivity=100&") + Key(i, "objsize=100&") + (i < 3 ? Enable(i, 1) : "");
            made.query += (i < 3 ? "&enable" + window + "=yes" : "") + "&mdw" + window + "=";
            for (const std::string side : {"left", "top", "width", "height"}) {
                const std::string value = number++ < longNumbers ? "200" : "20";
                pairs += Key(i, side) + "=" + value + "&";
                made.query += value + (side == "height" ? "" : ",");
            }
        }
        made.sets = {pairs, Switch(7)};
        made.reply = EchoReply(made.query);
        return made;
    };
    int longNumbers = 0;
    while (change(longNumbers + 1).sets[0].size() <= 1023)
        ++longNumbers;
    ExchangeCase fits = change(longNumbers);
    ASSERT_EQ(fits.sets[0].size(), 1023U);
    ExchangeCase tooLong = change(longNumbers + 1);
    tooLong.reply = BAD_REQUEST;
    tooLong.sets.clear();
    ExpectExchanges(camera, URL, {fits, tooLong});
}

TEST(Motion, AFailureHalfWayKeepsWhatIsWritten)
{
    TestCamera camera;
    const struct {
        const char *description;
        int request;
        bool written;
    } cases[] = {
        {"the count", 1, false}, {"the windows", 2, true}, {"the read-back", 3, true}, {"the masks", 4, true}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        camera.store.Set(Windows(2, {}));
        camera.store.Set("event_i0_mdwin", "0");
        camera.store.ClearRequests();
        camera.store.AnswerNothing(c.request);
        EXPECT_EQ(camera.Get(URL, "enable2=yes"), INTERNAL_ERROR);
        EXPECT_EQ(camera.store.Requests().size(), static_cast<size_t>(c.request)) << "nothing is done after it";
        EXPECT_EQ(camera.store.Value(Key(1, "enable")), c.written ? "1" : "0");
    }
    camera.store.Set(Windows(2, {}));
    camera.store.Remove(Key(0, "enable"));
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL, "enable2=yes"), INTERNAL_ERROR) << "a window is missing when it is read back";
    EXPECT_EQ(camera.store.Sets(), Texts{Enable(1, 1)});
    camera.store.Set("capability_nmotion", "12345678");
    EXPECT_EQ(camera.Get(URL, "enable2=yes"), INTERNAL_ERROR);
}
