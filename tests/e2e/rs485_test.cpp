#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/read_table.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/config/rs485.cgi";

const std::string DRIVERS =
    "uart_ptzdrivers_i0_name=Our DynaColor&uart_ptzdrivers_i1_name=Lilin&uart_ptzdrivers_i2_name=Pelco D&"
    "uart_ptzdrivers_i3_name=Pelco P&uart_ptzdrivers_i4_name=a custom one&";

/** What is read, and the list of drivers. */
FakeStore::Settings settings()
{
    FakeStore::Settings settings = pairs(DRIVERS + "capability_nptzdrivers=5");
    settings.merge(storedFor(URL));
    return settings;
}

using Texts = std::vector<std::string>;

} // namespace

TEST(RS485, NamesTheDriver)
{
    TestCamera camera({.settings = settings()});
    const std::string last = "uart_i0_ptzdriver=19&uart_ptzdrivers_i19_name=" + std::string(43, 'n') + "Dyna";
    expectReads(camera, URL,
                {{"camctrl_c0_isptz=0", "enable=yes", "enable=no"},
                 {"camctrl_c0_isptz=yes", "enable=yes", "enable=no"},
                 {"uart_i0_paritybit=odd8", "Even", "Odd"},
                 {"uart_i0_paritybit=none", "Even", "None"},
                 {"uart_i0_paritybit=Odd", "Even", "None"},
                 {"uart_i0_ptzdriver=0", "PelcoD", "Dyna"},
                 {"uart_i0_ptzdriver=1", "PelcoD", "Lilin"},
                 {"uart_i0_ptzdriver=3", "PelcoD", "PelcoP"},
                 {"uart_i0_ptzdriver=4", "PelcoD", "custom"},
                 {"uart_ptzdrivers_i2_name=Pelco P, Pelco D, Lilin", "PelcoD", "Lilin"},
                 {last, "PelcoD", "Dyna"},
                 {"uart_i0_ptzdriver=20", "PelcoD", ""}});
    camera.waitForTrace("No PTZ driver, iPTZDriver=20\n");
    expectUnreadable(camera, URL, "uart_i0_ptzdriver=-1 uart_i0_ptzdriver=9");
}

TEST(RS485, WritesWhatIsGiven)
{
    TestCamera camera({.settings = settings()});
    const std::string bad(15, 'N'), tooLong(16, 'N');
    expectChanges(
        camera, URL,
        {{"enable=yes&baudrate=9600&parity=Even",
          "camctrl_c0_isptz=1&uart_i0_baudrate=9600&uart_i0_paritybit=even"},
         {"stopbits=2&parity=Odd&databits=7&baudrate=115200&devid=255&proto=PelcoP&enable=no",
          "camctrl_c0_isptz=0&uart_i0_ptzdriver=3&camctrl_c0_cameraid=255&uart_i0_baudrate=115200&"
          "uart_i0_databit=7&uart_i0_paritybit=odd&uart_i0_stopbit=2"},
         {"enable=yes&parity=" + tooLong + "&proto=" + tooLong + "&delaytime=" + tooLong, "camctrl_c0_isptz=1"},
         {/* KEPT: pairs may begin with an ampersand */ "parity=None", "&uart_i0_paritybit=none"}});
    // KEPT: any delay time is refused.
    expectRanges(camera, URL, "devid=0..255 databits=7..8 stopbits=1..2");
    expectRefused(camera, URL,
                  "delaytime=500 enable=yes&delaytime=500 enable=yes&delaytime= enable=on parity=none "
                  "parity=Evenly baud=9600 enable=yes&devid=" +
                      std::string(128, '0') + " enable=yes&parity=" + bad + " enable=yes&proto=" + bad +
                      " enable=yes&delaytime=" + bad);
    for (const int rate : {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200}) {
        const std::string query = "baudrate=" + std::to_string(rate);
        expectChanges(camera, URL, {{query, "&uart_i0_" + query}});
        expectRefused(camera, URL,
                      "baudrate=" + std::to_string(rate - 1) + " baudrate=" + std::to_string(rate + 1));
    }
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(URL, "enable=yes"), INTERNAL_ERROR);
}

TEST(RS485, FindsTheDriverOfAProtocol)
{
    TestCamera camera({.settings = settings()});
    const std::pair<std::string, std::string> cases[] = {
        {"Dyna", "0"},  {"Lilin", "1"}, {"PelcoD", "2"}, {"PelcoP", "3"},  {"custom", "4"}, {"Pel", "2"},
        {"Color", "0"}, {"", "0"},      {"Pelco", "2"},  {"PelcoP9", "3"}, {"c", "2"},
    };
    for (const auto &[proto, driver] : cases)
        expectChanges(camera, URL,
                      {{"enable=no&proto=" + proto, "camctrl_c0_isptz=0&uart_i0_ptzdriver=" + driver}});
    expectChanges(camera, URL, {{"proto=Pelco P", "&uart_i0_ptzdriver=3"}});
    expectRefused(camera, URL, "proto=pelcod proto=Lilin2");
    EXPECT_EQ(camera.get(URL, "proto=Dyna Color"), BAD_REQUEST);
    camera.store.clearRequests();
    EXPECT_EQ(camera.get(URL, "proto=Lilin"), echoReply("proto=Lilin"));
    EXPECT_EQ(camera.store.requests(), (Texts{"get NameValue 99 0\ncapability_nptzdrivers&", getOf(DRIVERS),
                                              "set NameValue 99 0 0\n&uart_i0_ptzdriver=1"}));
}

TEST(RS485, ADriverListThatCannotBeReadRefusesTheProtocol)
{
    TestCamera camera({.settings = settings()});
    const std::string tooLong(48, 'n');
    const struct {
        std::string settings, reply;
    } cases[] = {
        {"capability_nptzdrivers=0", BAD_REQUEST},
        {"capability_nptzdrivers=2", BAD_REQUEST},
        {"capability_nptzdrivers=00000005", BAD_REQUEST},
        {"capability_nptzdrivers=9999999", echoReply("proto=PelcoD")},
        {"uart_ptzdrivers_i1_name=" + tooLong, BAD_REQUEST},
        {"uart_ptzdrivers_i3_name=" + tooLong, echoReply("proto=PelcoD")},
    };
    for (const auto &c : cases) {
        camera.store.set(pairs(c.settings));
        EXPECT_EQ(camera.get(URL, "proto=PelcoD"), c.reply) << c.settings;
        camera.store.set(settings());
    }
    camera.store.set("capability_nptzdrivers", "9999999");
    camera.store.clearRequests();
    EXPECT_EQ(camera.get(URL, "proto=Nobody"), BAD_REQUEST);
    ASSERT_EQ(camera.store.requests().size(), 2U);
    EXPECT_EQ(camera.store.requests()[1].size(), 19U + 639U) << "the list of keys is bounded";
    camera.store.remove("uart_ptzdrivers_i1_name");
    EXPECT_EQ(camera.get(URL, "proto=PelcoD"), BAD_REQUEST) << "a gap ends the list";
    for (const int request : {1, 2}) {
        camera.store.answerNothing(request);
        EXPECT_EQ(camera.get(URL, "proto=Dyna"), BAD_REQUEST) << "request " << request;
    }
}
