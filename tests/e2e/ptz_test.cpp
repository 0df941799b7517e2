#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/fake_ptz.h"

#include <gtest/gtest.h>

namespace
{

const std::string MOVE = "/config/ptz_move_rel.cgi";
const std::string HOME = "/config/ptz_home.cgi";
const std::string PRESET = "/config/ptz_preset.cgi";
const std::string PRESET_LIST = "/config/ptz_preset_list.cgi";
const std::string AUTO_PAN = "/config/auto_pan.cgi";
const std::string DIRECTION = "/config/rs485_do.cgi";

const std::string VGA = "&resolution=640x480&videosize=640x480&stretch=1";

using Lines = std::vector<std::string>;

/** The bytes of connections that carry these commands; "" is a connection that was made and closed unused. */
Lines sent(Lines commands)
{
    for (std::string &command : commands)
        if (!command.empty() && command != "(hung up)")
            command.insert(0, "channel=0&camid=3&");
    return commands;
}

struct PtzCase {
    const char *description;
    std::string query;
    Lines commands;
};

class Ptz : public testing::Test
{
  protected:
    /** Requests that are echoed and have their commands sent. */
    void expectCommands(const std::string &url, const std::vector<PtzCase> &cases)
    {
        for (const PtzCase &c : cases) {
            SCOPED_TRACE(url + "?" + c.query + " (" + c.description + ")");
            EXPECT_EQ(camera.get(url, c.query), echoReply(c.query));
            EXPECT_EQ(ptz.take(), sent(c.commands));
        }
    }
    void expectNoCommand(const std::string &url, const std::string &queries)
    {
        expectRefused(camera, url, queries);
        EXPECT_EQ(ptz.take(), Lines{});
    }

    Ptz()
    {
        camera.store.set({{"camctrl_c0_cameraid", "3"}, {"videoin_c0_s0_resolution", "640x480"}});
        camera.store.clearRequests();
    }

    TestCamera camera{{.settings = NO_AUDIO_OUTPUT}};
    FakePtz ptz{camera.root.path("/tmp/ptzctrl")};
};

} // namespace

TEST_F(Ptz, MovesBySixtyFourthsOfThePicture)
{
    expectCommands(MOVE, {{"both, tilting down", "p=2&t=-1", {"video=0&x=340&y=247" + VGA}},
                          {"the largest steps one way", "p=-32&t=32", {"video=0&x=0&y=16" + VGA}},
                          {"the largest steps the other way", "p=32&t=-32", {"video=0&x=640&y=464" + VGA}},
                          {"pan alone", "p=1", {"video=0&x=330&y=240" + VGA}},
                          {"no step at all", "x=1", {"video=0&x=320&y=240" + VGA}}});
    expectNoCommand(MOVE, "p=33 p=-33 t=33 t=-33 z=33 z=-33");
}

TEST_F(Ptz, ZoomsWithASpeedAfterCentring)
{
    const std::string centre = "video=0&x=320&y=240" + VGA;
    expectCommands(MOVE,
                   {{"in", "z=4", {centre, "speedzoom=-4", "zoom=tele"}},
                    {"in as far as it goes", "z=32", {centre, "speedzoom=5", "zoom=tele"}},
                    {"out as far as it goes", "z=-32", {centre, "speedzoom=5", "zoom=wide"}},
                    {"1 is as slow as 2", "z=1", {centre, "speedzoom=-5", "zoom=tele"}},
                    {"2", "z=2", {centre, "speedzoom=-5", "zoom=tele"}},
                    {"-1", "z=-1", {centre, "speedzoom=-5", "zoom=wide"}},
                    {"not at all", "z=0", {centre}},
                    {"and moves", "p=1&t=1&z=3", {"video=0&x=330&y=233" + VGA, "speedzoom=-4", "zoom=tele"}}});
}

TEST_F(Ptz, MovesInThePictureThatTheStoreSays)
{
    const struct {
        std::string resolution;
        const char *move; ///< for p=2, t=1; null: an internal error
        std::string size;
    } cases[] = {
        {"176x144", "x=92&y=70", "176x144"},
        {"1280x1024", "x=680&y=496", "1280x1024"},
        {"63x129", "x=31&y=62", "63x129"}, // a step of nothing; the centre is rounded down
        {"-641x480", "x=-340&y=233", "-641x480"},
        {"640x480x2", "x=340&y=233", "640x480x2"},
        {"12345678x123456", "x=655863&y=59799", "1234567x123456"}, // 7 characters are taken
        {"x480", "x=0&y=233", "x480"},
        {"640X480", nullptr, ""},
        {"", nullptr, ""},
        {"640x4800000000000", nullptr, ""},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.resolution);
        camera.store.set("videoin_c0_s0_resolution", c.resolution);
        EXPECT_EQ(camera.get(MOVE, "p=2&t=1"), c.move != nullptr ? echoReply("p=2&t=1") : INTERNAL_ERROR);
        EXPECT_EQ(ptz.take(), c.move != nullptr ? sent({std::string("video=0&") + c.move + "&resolution=" + c.size +
                                                        "&videosize=" + c.size + "&stretch=1"})
                                                : Lines{});
    }
    camera.store.remove("videoin_c0_s0_resolution");
    EXPECT_EQ(camera.get(MOVE, "p=2"), INTERNAL_ERROR);
}

TEST_F(Ptz, MoveStopsAtTheFirstCommandThatFails)
{
    const Lines commands = sent({"video=0&x=320&y=240" + VGA, "speedzoom=-4", "zoom=tele"});
    const size_t descriptors = camera.openDescriptors();
    for (int failing = 1; failing <= 3; ++failing) {
        SCOPED_TRACE("command " + std::to_string(failing));
        const Lines sent(commands.begin(), commands.begin() + failing - 1);
        const auto andThen = [&](const char *line) {
            Lines lines = sent;
            lines.emplace_back(line);
            return lines;
        };
        // The store is asked for the resolution first, and for the camera id once connected, for every command.
        camera.store.answerNothing(1 + failing);
        EXPECT_EQ(camera.get(MOVE, "z=4"), INTERNAL_ERROR) << "no camera id";
        EXPECT_EQ(ptz.take(), andThen(""));

        ptz.hangUp(failing);
        camera.store.before([this] { ptz.wait(); }, 1 + failing);
        EXPECT_EQ(camera.get(MOVE, "z=4"), INTERNAL_ERROR) << "cannot be written";
        EXPECT_EQ(ptz.take(), andThen("(hung up)"));

        camera.store.before([this] { ptz.refuse(); }, failing);
        EXPECT_EQ(camera.get(MOVE, "z=4"), INTERNAL_ERROR) << "nobody listens";
        EXPECT_EQ(ptz.take(), sent);
        ptz.heal();
    }
    EXPECT_EQ(camera.get(MOVE, "z=4"), echoReply("z=4"));
    EXPECT_EQ(ptz.take().size(), 3U);
    EXPECT_EQ(camera.openDescriptors(), descriptors) << "no failure leaves a socket open";
}

TEST_F(Ptz, ADaemonThatTakesNoConnectionsHoldsNobodyUpForLong)
{
    ptz.refuse();
    const std::string path = camera.root.path("/tmp/ptzctrl");
    const FileDescriptor hung(UnixSocket_Open(SOCK_STREAM));
    checked(UnixSocket_Bind(hung.get(), path.c_str()), path);
    checked(listen(hung.get(), 0), path);
    std::vector<FileDescriptor> queue;
    do
        queue.emplace_back(UnixSocket_Open(SOCK_STREAM | SOCK_NONBLOCK));
    while (UnixSocket_Connect(queue.back().get(), path.c_str()) == 0);
    EXPECT_EQ(camera.get(HOME, "act=go"), INTERNAL_ERROR);
}

TEST_F(Ptz, GoesHome)
{
    for (const std::string query : {"act=go", "x=1&act=go&p=5", "act=gone"}) {
        EXPECT_EQ(camera.get(HOME, query), okReply("p=0\r\nt=0\r\nz=0\r\n"));
        EXPECT_EQ(ptz.take(), sent({"move=home"}));
    }
    expectNoCommand(HOME, "act= act=g act=Go act=gooooooo go=1");
}

TEST_F(Ptz, AddsDeletesAndRecallsPresets)
{
    const std::string longest(47, 'n');
    expectCommands(PRESET, {{"add", "name=door&act=add", {"cam=preset&name=door"}},
                            {"delete, the other way round", "act=del&name=door", {"cam=clearpreset&name=door"}},
                            {"recall", "name=door&act=go", {"recall=door"}},
                            {"47 characters", "name=" + longest + "&act=del", {"cam=clearpreset&name=" + longest}},
                            {"an empty name", "name=&act=go", {"recall="}}});
    expectNoCommand(PRESET, "act=add name=door name=door&act= name=door&act=set name=door&act=deletion name=" +
                                longest + "n&act=go");
}

TEST_F(Ptz, PansAndStops)
{
    expectCommands(AUTO_PAN, {{"go", "act=go", {"auto=pan"}},
                              {"continue", "act=continue", {"auto=pan"}},
                              {"stop", "act=stop", {"auto=stop"}}});
    expectNoCommand(AUTO_PAN, "act=contin act=continue-pan act=pan pan=go");
}

TEST_F(Ptz, KeptActWordsMatchByTheirBeginning)
{
    expectCommands(PRESET, {{"added", "name=a&act=added", {"cam=preset&name=a"}},
                            {"delete", "name=a&act=delete", {"cam=clearpreset&name=a"}},
                            {"gone", "name=a&act=gone", {"recall=a"}}});
    expectCommands(AUTO_PAN, {{"gone", "act=gone", {"auto=pan"}},
                              {"continued", "act=continued", {"auto=pan"}},
                              {"stopped", "act=stopped", {"auto=stop"}}});
}

TEST_F(Ptz, MovesOnAKeyPadOfDirections)
{
    const struct {
        std::string command;
        std::string speedKey; ///< empty: takes no speed
    } pad[] = {{"zoom=wide", ""}, {"move=up", "&speedtilt="},   {"zoom=tele", ""}, {"move=left", "&speedpan="},
               {"move=home", ""}, {"move=right", "&speedpan="}, {"focus=far", ""}, {"move=down", "&speedtilt="},
               {"focus=near", ""}};
    for (size_t number = 0; number < std::size(pad); ++number) {
        const auto &[command, speedKey] = pad[number];
        const std::string query = "direction=" + std::to_string(number);
        expectCommands(DIRECTION, {{"alone", query, {command}}});
        if (speedKey.empty())
            expectNoCommand(DIRECTION, query + "&speed=1 " + query + "&speed=10");
        else
            expectCommands(DIRECTION, {{"slow", query + "&speed=1", {command + speedKey + "-4"}},
                                       {"fast", query + "&speed=10", {command + speedKey + "5"}}});
    }
    expectNoCommand(DIRECTION, "speed=5 direction=1&speed=0 direction=1&speed=11 direction=9 direction=-1");
}

TEST_F(Ptz, EveryCommandCarriesTheCameraId)
{
    const struct {
        std::string stored;
        std::string sent; ///< empty: an internal error
    } cases[] = {{"255", "255"}, {"", "0"}, {"1234567", "1234567"}, {"-1", "-1"}, {"x", "0"}, {"12345678", ""}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.stored);
        camera.store.set("camctrl_c0_cameraid", c.stored);
        camera.store.clearRequests();
        EXPECT_EQ(camera.get(AUTO_PAN, "act=go"), c.sent.empty() ? INTERNAL_ERROR : echoReply("act=go"));
        EXPECT_EQ(ptz.take(), Lines{c.sent.empty() ? "" : "channel=0&camid=" + c.sent + "&auto=pan"});
        EXPECT_EQ(camera.store.requests(), Lines{"get NameValue 99 0\ncamctrl_c0_cameraid&"});
    }
}

TEST_F(Ptz, CommandsThatCannotBeSentAreAnInternalError)
{
    const std::pair<std::string, std::string> requests[] = {{MOVE, "p=1"},
                                                            {HOME, "act=go"},
                                                            {PRESET, "name=a&act=go"},
                                                            {AUTO_PAN, "act=stop"},
                                                            {DIRECTION, "direction=4"}};
    for (const auto &[url, query] : requests) {
        SCOPED_TRACE(url);
        ptz.refuse();
        EXPECT_EQ(camera.get(url, query), INTERNAL_ERROR);
        EXPECT_EQ(ptz.take(), Lines{});
        ptz.heal();
        EXPECT_EQ(camera.get(url), BAD_REQUEST) << "there is nothing to read";
        EXPECT_EQ(camera.post(url, query).substr(0, 15), "HTTP/1.1 200 OK");
        EXPECT_EQ(ptz.take().size(), 1U);
    }
}

TEST_F(Ptz, ListsThePresets)
{
    std::string stored, all;
    for (int i = 0; i < 20; ++i) {
        const std::string name = std::string(45, 'n') + std::to_string(i);
        stored += "camctrl_c0_preset_i" + std::to_string(i) + "_name=" + name + "&";
        all += (i == 0 ? "" : ",") + name;
    }
    camera.store.set(pairs(stored));
    EXPECT_EQ(camera.get(PRESET_LIST), okReply("presets=" + all + "\r\n"));

    for (const auto &[name, value] : pairs(stored))
        camera.store.set(name, "");
    EXPECT_EQ(camera.get(PRESET_LIST), okReply("presets=\r\n"));
    camera.store.set({{"camctrl_c0_preset_i1_name", "door"},
                      {"camctrl_c0_preset_i11_name", std::string(48, 'n')},
                      {"camctrl_c0_preset_i19_name", "back gate"}});
    camera.store.remove("camctrl_c0_preset_i4_name");
    EXPECT_EQ(camera.get(PRESET_LIST), okReply("presets=door,back gate\r\n"));
    camera.waitForTrace("Get camctrl_c0_preset_i11_name= failed\n");
    camera.waitForTrace("Get camctrl_c0_preset_i4_name= failed\n");

    expectRefused(camera, PRESET_LIST, "name=door");
    EXPECT_EQ(camera.post(PRESET_LIST, ""), BAD_REQUEST);
}
