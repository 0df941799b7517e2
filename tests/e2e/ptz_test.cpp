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
            SCOPED_TRACE(url + "?" + c.query);
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
    expectCommands(MOVE, {{"p=2&t=-1", {"video=0&x=340&y=247" + VGA}},
                          {"p=-32&t=32", {"video=0&x=0&y=16" + VGA}},
                          {"p=32&t=-32", {"video=0&x=640&y=464" + VGA}},
                          {"p=1", {"video=0&x=330&y=240" + VGA}},
                          {"x=1", {"video=0&x=320&y=240" + VGA}}});
    expectNoCommand(MOVE, "p=33 p=-33 t=33 t=-33 z=33 z=-33");
}

TEST_F(Ptz, ZoomsWithASpeedAfterCentring)
{
    const std::string centre = "video=0&x=320&y=240" + VGA;
    expectCommands(MOVE, {{"z=4", {centre, "speedzoom=-4", "zoom=tele"}},
                          {"z=32", {centre, "speedzoom=5", "zoom=tele"}},
                          {"z=-32", {centre, "speedzoom=5", "zoom=wide"}},
                          {"z=1", {centre, "speedzoom=-5", "zoom=tele"}},
                          {"z=-1", {centre, "speedzoom=-5", "zoom=wide"}},
                          {"z=0", {centre}},
                          {"p=1&t=1&z=3", {"video=0&x=330&y=233" + VGA, "speedzoom=-4", "zoom=tele"}}});
}

TEST_F(Ptz, MovesInThePictureThatTheStoreSays)
{
    // A step of nothing, a centre rounded down, 7 characters taken of a longer number, three that are no size.
    const std::pair<std::string, std::string> cases[] = {
        {"63x129", "x=31&y=62&resolution=63x129"},
        {"12345678x123456", "x=655863&y=59799&resolution=1234567x123456"},
        {"x480", "x=0&y=233&resolution=x480"},
        {"640X480", ""},
        {"", ""},
        {"640x4800000000000", ""}};
    for (const auto &[resolution, move] : cases) {
        SCOPED_TRACE(resolution);
        camera.store.set("videoin_c0_s0_resolution", resolution);
        EXPECT_EQ(camera.get(MOVE, "p=2&t=1"), move.empty() ? INTERNAL_ERROR : echoReply("p=2&t=1"));
        const std::string size = move.substr(move.rfind('=') + 1);
        EXPECT_EQ(ptz.take(),
                  move.empty() ? Lines{} : sent({"video=0&" + move + "&videosize=" + size + "&stretch=1"}));
    }
}

TEST_F(Ptz, MoveStopsAtTheFirstCommandThatFails)
{
    const Lines commands = sent({"video=0&x=320&y=240" + VGA, "speedzoom=-4", "zoom=tele"});
    const size_t descriptors = camera.openDescriptors();
    for (int failing = 1; failing <= 3; ++failing) {
        SCOPED_TRACE("command " + std::to_string(failing));
        const Lines sent(commands.begin(), commands.begin() + failing - 1);
        Lines unused = sent, hungUp = sent;
        unused.emplace_back("");
        hungUp.emplace_back("(hung up)");
        // The store is asked for the resolution first, and for the camera id once connected, for every command.
        camera.store.answerNothing(1 + failing);
        EXPECT_EQ(camera.get(MOVE, "z=4"), INTERNAL_ERROR) << "no camera id";
        EXPECT_EQ(ptz.take(), unused);

        ptz.hangUp(failing);
        camera.store.before([this] { ptz.wait(); }, 1 + failing);
        EXPECT_EQ(camera.get(MOVE, "z=4"), INTERNAL_ERROR) << "cannot be written";
        EXPECT_EQ(ptz.take(), hungUp);

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

TEST_F(Ptz, GoesHomeAndToPresetsPansAndStops)
{
    EXPECT_EQ(camera.get(HOME, "x=1&act=go&p=5"), okReply("p=0\r\nt=0\r\nz=0\r\n"));
    EXPECT_EQ(ptz.take(), sent({"move=home"}));
    expectNoCommand(HOME, "act= act=g act=Go act=gooooooo go=1");
    const std::string longest(47, 'n');
    // KEPT: words match by their beginning.
    expectCommands(PRESET, {{"name=door&act=add", {"cam=preset&name=door"}},
                            {"act=delete&name=door", {"cam=clearpreset&name=door"}},
                            {"name=" + longest + "&act=gone", {"recall=" + longest}},
                            {"name=&act=go", {"recall="}}});
    expectNoCommand(PRESET, "act=add name=door name=door&act= name=door&act=set name=door&act=deletion name=" +
                                longest + "n&act=go");
    expectCommands(AUTO_PAN,
                   {{"act=go", {"auto=pan"}}, {"act=continued", {"auto=pan"}}, {"act=stop", {"auto=stop"}}});
    expectNoCommand(AUTO_PAN, "act=contin act=continue-pan act=pan pan=go");
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
        expectCommands(DIRECTION, {{query, {command}}});
        if (speedKey.empty())
            expectNoCommand(DIRECTION, query + "&speed=1 " + query + "&speed=10");
        else
            expectCommands(DIRECTION, {{query + "&speed=1", {command + speedKey + "-4"}},
                                       {query + "&speed=10", {command + speedKey + "5"}}});
    }
    expectNoCommand(DIRECTION, "speed=5 direction=1&speed=0 direction=1&speed=11 direction=9 direction=-1");
}

TEST_F(Ptz, EveryCommandCarriesTheCameraId)
{
    const std::pair<std::string, std::string> cases[] = {{"1234567", "1234567"}, {"x", "0"}, {"12345678", ""}};
    for (const auto &[stored, id] : cases) {
        SCOPED_TRACE(stored);
        camera.store.set("camctrl_c0_cameraid", stored);
        EXPECT_EQ(camera.get(AUTO_PAN, "act=go"), id.empty() ? INTERNAL_ERROR : echoReply("act=go"));
        EXPECT_EQ(ptz.take(), Lines{id.empty() ? "" : "channel=0&camid=" + id + "&auto=pan"});
    }
}

TEST_F(Ptz, CommandsThatCannotBeSentAreAnInternalError)
{
    ptz.refuse();
    for (const std::string &request : {MOVE + "?p=1", HOME + "?act=go", PRESET + "?name=a&act=go",
                                       AUTO_PAN + "?act=stop", DIRECTION + "?direction=4"}) {
        const std::vector<std::string> parts = split(request, '?');
        EXPECT_EQ(camera.get(parts[0], parts[1]), INTERNAL_ERROR) << request;
        EXPECT_EQ(camera.get(parts[0]), BAD_REQUEST) << "there is nothing to read";
    }
    EXPECT_EQ(ptz.take(), Lines{});
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
