#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string NETWORK = "/config/network.cgi";
const std::string DDNS = "/config/ddns.cgi";

const std::string NETWORK_KEYS =
    "network_resetip=1&network_ipaddress=192.168.0.20&network_subnet=255.255.0.0&network_router=192.168.0.1&"
    "network_dns1=10.0.0.1&network_dns2=10.0.0.2&network_http_port=80&network_http_alternateport=8080&"
    "network_rtsp_port=554&network_type=pppoe&network_pppoe_user=me&network_pppoe_pass=secret&ddns_enable=1&"
    "ddns_provider=DyndnsDynamic&upnpportforwarding_enable=0&";
const std::string DYNDNS_KEYS = "ddns_DyndnsDynamic_hostname=cam.dyndns&ddns_DyndnsDynamic_usernameemail=u1&"
                                "ddns_DyndnsDynamic_passwordkey=p1&";
const std::string OTHER_KEYS =
    "ddns_Pomro_hostname=cam.pomro&ddns_Pomro_usernameemail=u2&ddns_Pomro_passwordkey=p2&"
    "ddns_PomroCN_hostname=cam.cn&ddns_PomroCN_usernameemail=u3&ddns_PomroCN_passwordkey=p3&"
    "ddns_PomroCN_servername=ns.cn&";
const FakeStore::Settings SETTINGS = Pairs(NETWORK_KEYS + DYNDNS_KEYS + OTHER_KEYS);

const std::string BODY =
    "dhcp=on\r\nip=192.168.0.20\r\nnetmask=255.255.0.0\r\ngateway=192.168.0.1\r\n"
    "dns1=10.0.0.1\r\ndns2=10.0.0.2\r\nhttpport=80\r\nhttpexternalport=8080\r\nrtspport=554\r\n"
    "upnp=off\r\npppoe=on\r\npppoeuser=me\r\npppoepass=secret\r\nddns=on\r\n";
const std::string DYNDNS_BODY =
    BODY + "ddnsprovider=dyndns\r\nddnshost=cam.dyndns\r\nddnsuser=u1\r\nddnspass=p1\r\n";

} // namespace

TEST(Network, IsReadWithTheAccountOfTheStoredProvider)
{
    TestCamera camera({.settings = SETTINGS});
    camera.store.ClearRequests();
    EXPECT_EQ(camera.Get(NETWORK), OkReply(DYNDNS_BODY));
    EXPECT_EQ(camera.store.Requests(), (std::vector<std::string>{GetOf(NETWORK_KEYS), GetOf(DYNDNS_KEYS)}));

    camera.store.Set("ddns_provider", "PomroCN");
    EXPECT_EQ(camera.Get(NETWORK),
              OkReply(BODY + "ddnsprovider=ns.cn\r\nddnshost=cam.cn\r\nddnsuser=u3\r\nddnspass=p3\r\n"));
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
    FakeStore::Settings needed = Pairs(NETWORK_KEYS + DYNDNS_KEYS);
    needed.erase("network_dns2");
    ExpectAllNeeded(camera, NETWORK, needed);
    ExpectUnreadable(camera, NETWORK, "network_ipaddress=1234567890123456");
    ExpectReads(camera, NETWORK, DYNDNS_BODY,
                {{"too long", "network_dns2=1234567890123456", "dns2=10.0.0.2", "dns2="}});
    for (const auto &[name, value] : Pairs("network_dns2=&" + OTHER_KEYS))
        camera.store.Remove(name);
    EXPECT_EQ(camera.Get(NETWORK), OkReply(Replaced(DYNDNS_BODY, "dns2=10.0.0.2", "dns2=")));
}

TEST(Network, ChangesAreWrittenInTheStoresOrder)
{
    TestCamera camera({.settings = SETTINGS});
    ExpectChanges(
        camera, NETWORK,
        {{"everything, given backwards",
          "rtspport=555&httpexternalport=8081&httpport=65535&upnp=on&ddnspass=dp&ddnsuser=du&ddnshost=dh&"
          "ddnsprovider=dyndns&ddns=off&pppoepass=pp&pppoeuser=pu&pppoe=off&dns2=5.5.5.5&dns1=4.4.4.4&"
          "gateway=3.3.3.3&netmask=2.2.2.2&ip=1.1.1.1&dhcp=off",
          "network_resetip=0&network_ipaddress=1.1.1.1&network_subnet=2.2.2.2&network_router=3.3.3.3&"
          "network_dns1=4.4.4.4&network_dns2=5.5.5.5&network_type=lan&network_pppoe_user=pu&network_pppoe_pass=pp&"
          "ddns_enable=0&ddns_provider=DyndnsDynamic&ddns_DyndnsDynamic_hostname=dh&"
          "ddns_DyndnsDynamic_usernameemail=du&ddns_DyndnsDynamic_passwordkey=dp&upnpportforwarding_enable=1&"
          "network_http_port=65535&network_http_alternateport=8081&network_rtsp_port=555&system_reset=10"},
         {"a first pair without DHCP begins with &", "ip=1.2.3.4", "&network_ipaddress=1.2.3.4"},
         {"PPPoE restarts the camera", "pppoe=on", "&network_type=pppoe&system_reset=10"},
         {"an unknown provider is a server name", "ddnsprovider=x.y&ddnshost=h",
          "&ddns_provider=PomroCN&ddns_PomroCN_hostname=h&ddns_PomroCN_servername=x.y"},
         {"an account without provider is dropped", "ddnshost=h&dhcp=on", "network_resetip=1"},
         {"an address of 16 characters is passed over", "ip=1111111111111111&dhcp=on", "network_resetip=1"},
         {"the last group is not checked", "ip=192.168.1.300", "&network_ipaddress=192.168.1.300"}});
    ExpectRefused(camera, NETWORK,
                  "foo=1 ddnsuser=u dhcp=ON dhcp=of ip=192.168.300.1 dhcp=on&dns2=1.2.3 httpport=0 rtspport=65536");
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(NETWORK, "dhcp=on"), INTERNAL_ERROR);
    EXPECT_EQ(camera.store.LastSet(), "network_resetip=1");
}

TEST(Ddns, ChangesAreWrittenInTheStoresOrder)
{
    TestCamera camera({.settings = SETTINGS});
    ExpectChanges(camera, DDNS,
                  {{"everything, given backwards", "pass=p&user=u&host=h&provider=pomroddns&ddns=on",
                    "&ddns_enable=1&ddns_provider=Pomro&ddns_Pomro_hostname=h&ddns_Pomro_usernameemail=u&"
                    "ddns_Pomro_passwordkey=p"},
                   {"KEPT: the network settings' names work too", "ddnsprovider=dyndns&ddnshost=h",
                    "&ddns_provider=DyndnsDynamic&ddns_DyndnsDynamic_hostname=h"},
                   {"a server name", "provider=ns.x", "&ddns_provider=PomroCN&ddns_PomroCN_servername=ns.x"},
                   {"off", "ddns=off", "&ddns_enable=0"}});
    ExpectRefused(camera, DDNS, "ddns=On host=( ddns=" + std::string(16, 'o'));
    // A provider of 32 characters is absent; KEPT: a text that begins with 0 sets nothing.
    ExpectRefused(camera, DDNS, "host=h 0=1&ddns=on provider=" + std::string(32, 'p'), INVALID_PARAMETER);
    camera.store.AnswerNothing();
    EXPECT_EQ(camera.Get(DDNS, "ddns=on"), UPDATE_FAILED);
    EXPECT_EQ(camera.store.LastSet(), "&ddns_enable=1");
    EXPECT_EQ(camera.Get(DDNS), INTERNAL_ERROR);
}
