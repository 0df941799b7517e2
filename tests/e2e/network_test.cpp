#include "tests/fakes/exchange_cases.h"

#include <gtest/gtest.h>

namespace
{

const std::string NETWORK = "/config/network.cgi";
const std::string DDNS = "/config/ddns.cgi";

/** The longest name of a provider. */
const std::string PROVIDER(31, 's');

} // namespace

TEST(Network, ChangesAreWrittenInTheStoresOrder)
{
    TestCamera camera;
    expectChanges(
        camera, NETWORK,
        {{"rtspport=555&httpexternalport=8081&httpport=65535&upnp=on&ddnspass=dp&ddnsuser=du&ddnshost=dh&"
          "ddnsprovider=dyndns&ddns=off&pppoepass=pp&pppoeuser=pu&pppoe=off&dns2=5.5.5.5&dns1=4.4.4.4&"
          "gateway=3.3.3.3&netmask=2.2.2.2&ip=1.1.1.1&dhcp=off",
          "network_resetip=0&network_ipaddress=1.1.1.1&network_subnet=2.2.2.2&network_router=3.3.3.3&"
          "network_dns1=4.4.4.4&network_dns2=5.5.5.5&network_type=lan&network_pppoe_user=pu&network_pppoe_pass=pp&"
          "ddns_enable=0&ddns_provider=DyndnsDynamic&ddns_DyndnsDynamic_hostname=dh&"
          "ddns_DyndnsDynamic_usernameemail=du&ddns_DyndnsDynamic_passwordkey=dp&upnpportforwarding_enable=1&"
          "network_http_port=65535&network_http_alternateport=8081&network_rtsp_port=555&system_reset=10"},
         {"ip=1.2.3.4", "&network_ipaddress=1.2.3.4"},
         {"pppoe=on", "&network_type=pppoe&system_reset=10"},
         {"ddnsprovider=" + PROVIDER + "&ddnshost=h",
          "&ddns_provider=PomroCN&ddns_PomroCN_hostname=h&ddns_PomroCN_servername=" + PROVIDER},
         {"ddnshost=h&dhcp=on", "network_resetip=1"},
         {"ip=192.168.1.300", "&network_ipaddress=192.168.1.300"}});
    expectRefused(camera, NETWORK,
                  "foo=1 ddnsuser=u dhcp=yes ip=192.168.300.1 dhcp=on&dns2=1.2.3 ddnsprovider=" +
                      std::string(32, 'p'));
    expectRanges(camera, NETWORK, "httpport=1..65535 httpexternalport=1..65535 rtspport=1..65535");
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(NETWORK, "dhcp=on"), INTERNAL_ERROR);
    EXPECT_EQ(camera.store.lastSet(), "network_resetip=1");
}

TEST(Ddns, ChangesAreWrittenInTheStoresOrder)
{
    TestCamera camera;
    expectChanges(camera, DDNS,
                  {{"pass=p&user=u&host=h&provider=pomroddns&ddns=on",
                    "&ddns_enable=1&ddns_provider=Pomro&ddns_Pomro_hostname=h&ddns_Pomro_usernameemail=u&"
                    "ddns_Pomro_passwordkey=p"},
                   {/* KEPT: the network settings' names work too */ "ddnsprovider=dyndns&ddnshost=h",
                    "&ddns_provider=DyndnsDynamic&ddns_DyndnsDynamic_hostname=h"},
                   {"provider=" + PROVIDER, "&ddns_provider=PomroCN&ddns_PomroCN_servername=" + PROVIDER},
                   {"ddns=off", "&ddns_enable=0"}});
    expectRefused(camera, DDNS, "ddns=yes host=( ddns=" + std::string(63, 'o'));
    // A provider of 32 characters is absent; KEPT: a text that begins with 0 sets nothing.
    expectRefused(camera, DDNS, "host=h 0=1&ddns=on ddns=" + std::string(64, 'o') + " provider=" + PROVIDER + "s",
                  INVALID_PARAMETER);
    camera.store.answerNothing();
    EXPECT_EQ(camera.get(DDNS, "ddns=on"), UPDATE_FAILED);
    EXPECT_EQ(camera.store.lastSet(), "&ddns_enable=1");
}
