#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string NETWORK = "/config/network.cgi";
const std::string DDNS = "/config/ddns.cgi";

const FakeStore::Settings SETTINGS = {
    {"network_resetip", "1"},
    {"network_ipaddress", "192.168.0.20"},
    {"network_subnet", "255.255.0.0"},
    {"network_router", "192.168.0.1"},
    {"network_dns1", "10.0.0.1"},
    {"network_dns2", "10.0.0.2"},
    {"network_http_port", "80"},
    {"network_http_alternateport", "8080"},
    {"network_rtsp_port", "554"},
    {"network_type", "pppoe"},
    {"network_pppoe_user", "me"},
    {"network_pppoe_pass", "secret"},
    {"ddns_enable", "1"},
    {"ddns_provider", "DyndnsDynamic"},
    {"upnpportforwarding_enable", "0"},
    {"ddns_DyndnsDynamic_hostname", "cam.dyndns"},
    {"ddns_DyndnsDynamic_usernameemail", "u1"},
    {"ddns_DyndnsDynamic_passwordkey", "p1"},
    {"ddns_Pomro_hostname", "cam.pomro"},
    {"ddns_Pomro_usernameemail", "u2"},
    {"ddns_Pomro_passwordkey", "p2"},
    {"ddns_PomroCN_hostname", "cam.cn"},
    {"ddns_PomroCN_usernameemail", "u3"},
    {"ddns_PomroCN_passwordkey", "p3"},
    {"ddns_PomroCN_servername", "ns.cn"},
};

std::string NetworkBody(const std::string &dns2, const std::string &ddns)
{
    return "dhcp=on\r\nip=192.168.0.20\r\nnetmask=255.255.0.0\r\ngateway=192.168.0.1\r\ndns1=10.0.0.1\r\ndns2=" +
           dns2 +
           "\r\nhttpport=80\r\nhttpexternalport=8080\r\nrtspport=554\r\nupnp=off\r\npppoe=on\r\npppoeuser=me\r\n"
           "pppoepass=secret\r\n" +
           ddns;
}

const std::string DYNDNS_LINES =
    "ddns=on\r\nddnsprovider=dyndns\r\nddnshost=cam.dyndns\r\nddnsuser=u1\r\nddnspass=p1\r\n";

} // namespace

TEST(Network, IsReadWithTheAccountOfTheStoredProvider)
{
    TestCamera camera({.settings = SETTINGS});
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(NETWORK), OkReply(NetworkBody("10.0.0.2", DYNDNS_LINES)));
    EXPECT_EQ(
        camera.store.Requests(),
        (std::vector<std::string>{
            "get NameValue 99 0\nnetwork_resetip&network_ipaddress&network_subnet&network_router&network_dns1&"
            "network_dns2&network_http_port&network_http_alternateport&network_rtsp_port&network_type&"
            "network_pppoe_user&network_pppoe_pass&ddns_enable&ddns_provider&upnpportforwarding_enable&",
            "get NameValue 99 0\nddns_DyndnsDynamic_hostname&ddns_DyndnsDynamic_usernameemail&"
            "ddns_DyndnsDynamic_passwordkey&"}));

    camera.store.Set("ddns_provider", "PomroCN");
    EXPECT_EQ(camera.Get(NETWORK),
              OkReply(NetworkBody("10.0.0.2", "ddns=on\r\nddnsprovider=ns.cn\r\nddnshost=cam.cn\r\nddnsuser=u3\r\n"
                                              "ddnspass=p3\r\n")));
    EXPECT_EQ(camera.Get(DDNS), OkReply("ddns=on\r\nprovider=ns.cn\r\nhost=cam.cn\r\nuser=u3\r\npass=p3\r\n"));
    EXPECT_EQ(camera.store.Requests().back(),
              "get NameValue 99 0\nddns_PomroCN_hostname&ddns_PomroCN_usernameemail&ddns_PomroCN_passwordkey&"
              "ddns_PomroCN_servername&");
    camera.store.Set("ddns_provider", "Pomro");
    EXPECT_EQ(camera.Get(DDNS),
              OkReply("ddns=on\r\nprovider=pomroddns\r\nhost=cam.pomro\r\nuser=u2\r\npass=p2\r\n"));
}

TEST(Network, ReadFailsWithoutAnyValueButTheSecondDnsServer)
{
    TestCamera camera({.settings = SETTINGS});
    for (const auto &[name, value] : SETTINGS) {
        const bool otherProvider = name.starts_with("ddns_Pomro");
        SCOPED_TRACE(name);
        camera.store.Remove(name);
        if (name == "network_dns2")
            EXPECT_EQ(camera.Get(NETWORK), OkReply(NetworkBody("", DYNDNS_LINES)));
        else
            EXPECT_EQ(camera.Get(NETWORK) == INTERNAL_ERROR, !otherProvider);
        camera.store.Set(name, value);
    }
    camera.store.Set("network_dns2", "1234567890123456");
    EXPECT_EQ(camera.Get(NETWORK), OkReply(NetworkBody("", DYNDNS_LINES)));
    camera.store.Set("network_ipaddress", "1234567890123456");
    EXPECT_EQ(camera.Get(NETWORK), INTERNAL_ERROR);
}

TEST(Network, ChangesAreWrittenInTheStoresOrder)
{
    TestCamera camera({.settings = SETTINGS});
    const std::string all =
        "rtspport=555&httpexternalport=8081&httpport=65535&upnp=on&ddnspass=dp&ddnsuser=du&ddnshost=dh&"
        "ddnsprovider=dyndns&ddns=off&pppoepass=pp&pppoeuser=pu&pppoe=off&dns2=5.5.5.5&dns1=4.4.4.4&"
        "gateway=3.3.3.3&netmask=2.2.2.2&ip=1.1.1.1&dhcp=off";
    ExpectExchanges(
        camera, NETWORK,
        {{"everything, given backwards",
          all,
          EchoReply(all),
          {"network_resetip=0&network_ipaddress=1.1.1.1&network_subnet=2.2.2.2&network_router=3.3.3.3&"
           "network_dns1=4.4.4.4&network_dns2=5.5.5.5&network_type=lan&network_pppoe_user=pu&network_pppoe_pass=pp&"
           "ddns_enable=0&ddns_provider=DyndnsDynamic&ddns_DyndnsDynamic_hostname=dh&"
           "ddns_DyndnsDynamic_usernameemail=du&ddns_DyndnsDynamic_passwordkey=dp&upnpportforwarding_enable=1&"
           "network_http_port=65535&network_http_alternateport=8081&network_rtsp_port=555&system_reset=10"}},
         {"a first pair without DHCP begins with &",
          "ip=1.2.3.4",
          EchoReply("ip=1.2.3.4"),
          {"&network_ipaddress=1.2.3.4"}},
         {"PPPoE restarts the camera", "pppoe=on", EchoReply("pppoe=on"), {"&network_type=pppoe&system_reset=10"}},
         {"an unknown provider is a server name",
          "ddnsprovider=x.y&ddnshost=h",
          EchoReply("ddnsprovider=x.y&ddnshost=h"),
          {"&ddns_provider=PomroCN&ddns_PomroCN_hostname=h&ddns_PomroCN_servername=x.y"}},
         {"an account without provider is dropped",
          "ddnshost=h&dhcp=on",
          EchoReply("ddnshost=h&dhcp=on"),
          {"network_resetip=1"}},
         {"an address of 16 characters is passed over",
          "ip=1111111111111111&dhcp=on",
          EchoReply("ip=1111111111111111&dhcp=on"),
          {"network_resetip=1"}},
         {"the last group of an address is not checked",
          "ip=192.168.1.300",
          EchoReply("ip=192.168.1.300"),
          {"&network_ipaddress=192.168.1.300"}},
         {"no key at all", "foo=1", BAD_REQUEST},
         {"only an account", "ddnsuser=u", BAD_REQUEST},
         {"words in capitals", "dhcp=ON", BAD_REQUEST},
         {"half a word", "dhcp=of", BAD_REQUEST},
         {"a bad address", "ip=192.168.300.1", BAD_REQUEST},
         {"a bad value behind good ones", "dhcp=on&dns2=1.2.3", BAD_REQUEST},
         {"port 0", "httpport=0", BAD_REQUEST},
         {"port above 65535", "rtspport=65536", BAD_REQUEST}});
    camera.store.AnswerNothing();
    ExpectExchanges(camera, NETWORK,
                    {{"the store does not answer", "dhcp=on", INTERNAL_ERROR, {"network_resetip=1"}}});
}

TEST(Ddns, ChangesAreWrittenInTheStoresOrder)
{
    TestCamera camera({.settings = SETTINGS});
    const std::string all = "pass=p&user=u&host=h&provider=pomroddns&ddns=on";
    const std::string longWord(16, 'o');
    ExpectExchanges(
        camera, DDNS,
        {{"everything, given backwards",
          all,
          EchoReply(all),
          {"&ddns_enable=1&ddns_provider=Pomro&ddns_Pomro_hostname=h&ddns_Pomro_usernameemail=u&ddns_Pomro_"
           "passwordkey=p"}},
         {"KEPT: the network settings' names work too",
          "ddnsprovider=dyndns&ddnshost=h",
          EchoReply("ddnsprovider=dyndns&ddnshost=h"),
          {"&ddns_provider=DyndnsDynamic&ddns_DyndnsDynamic_hostname=h"}},
         {"a server name",
          "provider=ns.x",
          EchoReply("provider=ns.x"),
          {"&ddns_provider=PomroCN&ddns_PomroCN_servername=ns.x"}},
         {"off", "ddns=off", EchoReply("ddns=off"), {"&ddns_enable=0"}},
         {"a word in capitals", "ddns=On", BAD_REQUEST},
         {"a long word is bad, not absent", "ddns=" + longWord, BAD_REQUEST},
         {"a provider of 32 characters is absent", "provider=" + std::string(32, 'p'), INVALID_PARAMETER},
         {"an account without provider", "host=h", INVALID_PARAMETER},
         {"KEPT: a text that begins with 0 sets nothing", "0=1&ddns=on", INVALID_PARAMETER},
         {"forbidden characters", "host=(", BAD_REQUEST}});
    camera.store.AnswerNothing();
    ExpectExchanges(camera, DDNS, {{"the store does not answer", "ddns=on", UPDATE_FAILED, {"&ddns_enable=1"}}});
    EXPECT_EQ(camera.Get(DDNS), INTERNAL_ERROR);
}
