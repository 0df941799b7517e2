#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string URL = "/config/rs485.cgi";

const FakeStore::Settings SETTINGS = {
    {"camctrl_c0_isptz", "1"},
    {"camctrl_c0_cameraid", "7"},
    {"uart_i0_ptzdriver", "2"},
    {"uart_i0_baudrate", "9600"},
    {"uart_i0_databit", "8"},
    {"uart_i0_paritybit", "even"},
    {"uart_i0_stopbit", "1"},
    {"capability_nptzdrivers", "5"},
    {"uart_ptzdrivers_i0_name", "Our DynaColor"},
    {"uart_ptzdrivers_i1_name", "Lilin"},
    {"uart_ptzdrivers_i2_name", "Pelco D"},
    {"uart_ptzdrivers_i3_name", "Pelco P"},
    {"uart_ptzdrivers_i4_name", "a custom one"},
};

std::string Body(const std::string &enable, const std::string &proto, const std::string &parity)
{
    return "enable=" + enable + "\r\nproto=" + proto +
           "\r\ndevid=7\r\nbaudrate=9600\r\ndatabits=8\r\nparity=" + parity + "\r\nstopbits=1\r\ndelaytime=500\r\n";
}

using Texts = std::vector<std::string>;

} // namespace

TEST(RS485, IsReadWithTheNameOfTheDriver)
{
    TestCamera camera({.settings = SETTINGS});
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL), OkReply(Body("yes", "PelcoD", "Even")));
    EXPECT_EQ(camera.store.Requests(),
              (Texts{"get NameValue 99 0\ncamctrl_c0_isptz&camctrl_c0_cameraid&uart_i0_ptzdriver&uart_i0_baudrate&"
                     "uart_i0_databit&uart_i0_paritybit&uart_i0_stopbit&",
                     "get NameValue 99 0\nuart_ptzdrivers_i2_name&"}));

    const struct {
        const char *description;
        FakeStore::Settings settings;
        std::string reply;
    } cases[] = {
        {"off", {{"camctrl_c0_isptz", "0"}}, OkReply(Body("no", "PelcoD", "Even"))},
        {"a word is no 1", {{"camctrl_c0_isptz", "yes"}}, OkReply(Body("no", "PelcoD", "Even"))},
        {"odd", {{"uart_i0_paritybit", "odd8"}}, OkReply(Body("yes", "PelcoD", "Odd"))},
        {"none", {{"uart_i0_paritybit", "none"}}, OkReply(Body("yes", "PelcoD", "None"))},
        {"capitals are none", {{"uart_i0_paritybit", "Odd"}}, OkReply(Body("yes", "PelcoD", "None"))},
        {"driver 0", {{"uart_i0_ptzdriver", "0"}}, OkReply(Body("yes", "Dyna", "Even"))},
        {"driver 1", {{"uart_i0_ptzdriver", "1"}}, OkReply(Body("yes", "Lilin", "Even"))},
        {"driver 3", {{"uart_i0_ptzdriver", "3"}}, OkReply(Body("yes", "PelcoP", "Even"))},
        {"another driver", {{"uart_i0_ptzdriver", "4"}}, OkReply(Body("yes", "custom", "Even"))},
        {"a driver of several names is the first of ours",
         {{"uart_ptzdrivers_i2_name", "Pelco P, Pelco D, Lilin"}},
         OkReply(Body("yes", "Lilin", "Even"))},
        {"the last driver that is asked for",
         {{"uart_i0_ptzdriver", "19"}, {"uart_ptzdrivers_i19_name", std::string(43, 'n') + "Dyna"}},
         OkReply(Body("yes", "Dyna", "Even"))},
        {"a name of 48 characters", {{"uart_ptzdrivers_i2_name", std::string(48, 'n')}}, INTERNAL_ERROR},
        {"no driver", {{"uart_i0_ptzdriver", "20"}}, OkReply(Body("yes", "", "Even"))},
        {"a driver below the list", {{"uart_i0_ptzdriver", "-1"}}, INTERNAL_ERROR},
        {"a driver that is not there", {{"uart_i0_ptzdriver", "9"}}, INTERNAL_ERROR},
        {"a parity of 8 characters", {{"uart_i0_paritybit", "evenodd8"}}, INTERNAL_ERROR},
        {"a rate of 8 characters", {{"uart_i0_baudrate", "00009600"}}, INTERNAL_ERROR},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        camera.store.Set(c.settings);
        EXPECT_EQ(camera.Get(URL), c.reply);
        camera.store.Set(SETTINGS);
    }
    camera.WaitForTrace("No PTZ driver, iPTZDriver=20\n");
}

TEST(RS485, EveryMissingValueFailsTheRead)
{
    TestCamera camera({.settings = SETTINGS});
    for (const auto &[name, value] : SETTINGS) {
        if (name.starts_with("capability_") || (name.starts_with("uart_ptzdrivers_") && name[17] != '2'))
            continue;
        camera.store.Remove(name);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR) << name;
        camera.store.Set(name, value);
    }
    for (const int request : {1, 2}) {
        camera.store.AnswerNothing(request);
        EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR) << "request " << request;
    }
    EXPECT_EQ(camera.Get(URL), OkReply(Body("yes", "PelcoD", "Even")));
}

TEST(RS485, WritesWhatIsGiven)
{
    TestCamera camera({.settings = SETTINGS});
    const auto taken = [](const std::string &query, const std::string &pairs) {
        return ExchangeCase{"taken", query, EchoReply(query), {pairs}};
    };
    ExpectExchanges(camera, URL,
                    {taken("enable=yes&baudrate=9600&parity=Even",
                           "camctrl_c0_isptz=1&uart_i0_baudrate=9600&uart_i0_paritybit=even"),
                     taken("stopbits=2&parity=Odd&databits=7&baudrate=115200&devid=255&proto=PelcoP&enable=no",
                           "camctrl_c0_isptz=0&uart_i0_ptzdriver=3&camctrl_c0_cameraid=255&uart_i0_baudrate=115200&"
                           "uart_i0_databit=7&uart_i0_paritybit=odd&uart_i0_stopbit=2"),
                     {"a capital", "enable=YES", BAD_REQUEST},
                     {"a number for a word", "enable=1", BAD_REQUEST},
                     {"device 256", "devid=256", BAD_REQUEST},
                     {"device -1", "devid=-1", BAD_REQUEST},
                     {"6 bits", "databits=6", BAD_REQUEST},
                     {"9 bits", "databits=9", BAD_REQUEST},
                     {"no stop bit", "stopbits=0", BAD_REQUEST},
                     {"3 stop bits", "stopbits=3", BAD_REQUEST},
                     {"none in lower case", "parity=none", BAD_REQUEST},
                     {"a longer word", "parity=Evenly", BAD_REQUEST},
                     {"a bad one spoils good ones", "enable=yes&devid=1&stopbits=3", BAD_REQUEST},
                     {"no key", "baud=9600", BAD_REQUEST},
                     {"15 characters are refused", "enable=yes&parity=" + std::string(15, 'N'), BAD_REQUEST},
                     {"16 characters are passed over",
                      "enable=yes&parity=" + std::string(16, 'N') + "&proto=" + std::string(16, 'P'),
                      EchoReply("enable=yes&parity=" + std::string(16, 'N') + "&proto=" + std::string(16, 'P')),
                      {"camctrl_c0_isptz=1"}},
                     {"nothing but what is passed over", "proto=" + std::string(16, 'P'), BAD_REQUEST},
                     {"a long number", "enable=yes&devid=" + std::string(100, '9'), BAD_REQUEST},
                     {"a number too long to be read", "enable=yes&devid=" + std::string(128, '0'), BAD_REQUEST}});
    for (const int rate : {1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200}) {
        const std::string query = "baudrate=" + std::to_string(rate);
        ExpectExchanges(camera, URL,
                        {{"listed", query, EchoReply(query), {"&uart_i0_" + query}},
                         {"one less", "baudrate=" + std::to_string(rate - 1), BAD_REQUEST},
                         {"one more", "baudrate=" + std::to_string(rate + 1), BAD_REQUEST}});
    }
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(URL, "enable=yes"), INTERNAL_ERROR);
}

TEST(RS485, KeptPairsMayBeginWithAnAmpersand)
{
    TestCamera camera;
    ExpectExchanges(camera, URL,
                    {{"no enable", "parity=None", EchoReply("parity=None"), {"&uart_i0_paritybit=none"}}});
}

TEST(RS485, KeptAnyDelayTimeIsRefused)
{
    TestCamera camera;
    ExpectExchanges(camera, URL,
                    {{"the one that is reported", "delaytime=500", BAD_REQUEST},
                     {"with a good key", "enable=yes&delaytime=500", BAD_REQUEST},
                     {"none", "enable=yes&delaytime=", BAD_REQUEST},
                     {"15 characters", "enable=yes&delaytime=" + std::string(15, '5'), BAD_REQUEST},
                     {"16 characters are passed over",
                      "enable=yes&delaytime=" + std::string(16, '5'),
                      EchoReply("enable=yes&delaytime=" + std::string(16, '5')),
                      {"camctrl_c0_isptz=1"}}});
}

TEST(RS485, FindsTheDriverOfAProtocol)
{
    TestCamera camera({.settings = SETTINGS});
    const struct {
        std::string proto;
        const char *driver; ///< null: refused
    } cases[] = {
        {"Dyna", "0"},       {"Lilin", "1"}, {"PelcoD", "2"},  {"PelcoP", "3"},     {"custom", "4"},
        {"Pel", "2"},        {"Color", "0"}, {"Pelco P", "3"}, {"", "0"},           {"PelcoP9", "3"},
        {"pelcod", nullptr}, {"Pelco", "2"}, {"c", "2"},       {"Lilin2", nullptr}, {"Dyna Color", nullptr},
    };
    for (const auto &c : cases) {
        const std::string query = "enable=no&proto=" + c.proto;
        ExpectExchanges(camera, URL,
                        {c.driver == nullptr
                             ? ExchangeCase{"unknown", query, BAD_REQUEST}
                             : ExchangeCase{"known",
                                            query,
                                            EchoReply(query),
                                            {std::string("camctrl_c0_isptz=0&uart_i0_ptzdriver=") + c.driver}}});
    }
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL, "proto=Lilin"), EchoReply("proto=Lilin"));
    EXPECT_EQ(camera.store.Requests(),
              (Texts{"get NameValue 99 0\ncapability_nptzdrivers&",
                     "get NameValue 99 0\nuart_ptzdrivers_i0_name&uart_ptzdrivers_i1_name&uart_ptzdrivers_i2_name&"
                     "uart_ptzdrivers_i3_name&uart_ptzdrivers_i4_name&",
                     "set NameValue 99 0 0\n&uart_i0_ptzdriver=1"}));
}

TEST(RS485, ADriverListThatCannotBeReadRefusesTheProtocol)
{
    TestCamera camera({.settings = SETTINGS});
    const struct {
        const char *description;
        FakeStore::Settings settings;
        std::string reply;
    } cases[] = {
        {"no driver", {{"capability_nptzdrivers", "0"}}, BAD_REQUEST},
        {"fewer than none", {{"capability_nptzdrivers", "-3"}}, BAD_REQUEST},
        {"the driver lies behind the count", {{"capability_nptzdrivers", "2"}}, BAD_REQUEST},
        {"a count of 8 digits", {{"capability_nptzdrivers", "00000005"}}, BAD_REQUEST},
        {"more than there are, but it comes first",
         {{"capability_nptzdrivers", "9999999"}},
         EchoReply("proto=PelcoD")},
        {"a name of 48 characters before it", {{"uart_ptzdrivers_i1_name", std::string(48, 'n')}}, BAD_REQUEST},
        {"a name of 48 characters behind it",
         {{"uart_ptzdrivers_i3_name", std::string(48, 'n')}},
         EchoReply("proto=PelcoD")},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        camera.store.Set(c.settings);
        EXPECT_EQ(camera.Get(URL, "proto=PelcoD"), c.reply);
        camera.store.Set(SETTINGS);
    }
    camera.store.Set("capability_nptzdrivers", "9999999");
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(URL, "proto=Nobody"), BAD_REQUEST);
    ASSERT_EQ(camera.store.Requests().size(), 2U);
    EXPECT_EQ(camera.store.Requests()[1].size(), 19U + 639U) << "the list of keys is bounded";
    camera.store.Remove("uart_ptzdrivers_i1_name");
    EXPECT_EQ(camera.Get(URL, "proto=PelcoD"), BAD_REQUEST) << "a gap ends the list";
    for (const int request : {1, 2}) {
        camera.store.AnswerNothing(request);
        EXPECT_EQ(camera.Get(URL, "proto=Dyna"), BAD_REQUEST) << "request " << request;
    }
}
