#include "daemon/families/network/network_config.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/netutil/address.h"
#include "daemon/netutil/network_restart.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

enum Given : uint32_t {
    GIVEN_DHCP = 0x1,
    GIVEN_IP = 0x2,
    GIVEN_NETMASK = 0x4,
    GIVEN_GATEWAY = 0x8,
    GIVEN_DNS1 = 0x10,
    GIVEN_DNS2 = 0x20,
    GIVEN_PPPOE = 0x40,
    GIVEN_PPPOE_USER = 0x80,
    GIVEN_PPPOE_PASS = 0x100,
    GIVEN_DDNS = 0x200,
    GIVEN_DDNS_PROVIDER = 0x400,
    GIVEN_DDNS_HOST = 0x800,
    GIVEN_DDNS_USER = 0x1000,
    GIVEN_DDNS_PASS = 0x2000,
    GIVEN_UPNP = 0x4000,
    GIVEN_HTTP_PORT = 0x8000,
    GIVEN_HTTP_EXTERNAL_PORT = 0x10000,
    GIVEN_RTSP_PORT = 0x20000,
};
/** What takes effect only when the network restarts. */
constexpr uint32_t RESTARTS_NETWORK = GIVEN_DHCP | GIVEN_IP | GIVEN_NETMASK | GIVEN_GATEWAY | GIVEN_DNS1 |
                                      GIVEN_DNS2 | GIVEN_UPNP | GIVEN_HTTP_PORT | GIVEN_HTTP_EXTERNAL_PORT |
                                      GIVEN_RTSP_PORT;
/** What takes effect only when the camera restarts. */
constexpr uint32_t RESTARTS_CAMERA = GIVEN_PPPOE | GIVEN_PPPOE_USER | GIVEN_PPPOE_PASS;

using Param = NetworkConfigParam;
using Result = NetworkConfigResult;

bool TakeProvider(std::string_view value, Param &param)
{
    DDNS_SetProvider(param.tDDNS, value);
    return true;
}

constexpr KeyRow<Param> KEYS[] = {
    KeyWord<&Param::iDHCP>("dhcp=", GIVEN_DHCP, "on", "off"),
    KeyText<&Param::acIPAddr>("ip=", GIVEN_IP, NetUtility_IsAddressText),
    KeyText<&Param::acNetmask>("netmask=", GIVEN_NETMASK, NetUtility_IsAddressText),
    KeyText<&Param::acGateway>("gateway=", GIVEN_GATEWAY, NetUtility_IsAddressText),
    KeyText<&Param::acDNS1>("dns1=", GIVEN_DNS1, NetUtility_IsAddressText),
    KeyText<&Param::acDNS2>("dns2=", GIVEN_DNS2, NetUtility_IsAddressText),
    KeyWord<&Param::iPPPoE>("pppoe=", GIVEN_PPPOE, "on", "off"),
    KeyText<&Param::acPPPoEUser>("pppoeuser=", GIVEN_PPPOE_USER),
    KeyText<&Param::acPPPoEPass>("pppoepass=", GIVEN_PPPOE_PASS),
    KeyWord<&Param::iDDNSEnable>("ddns=", GIVEN_DDNS, "on", "off"),
    KeySpecial<TakeProvider, sizeof DDNSAccount::acProvider - 1>("ddnsprovider=", GIVEN_DDNS_PROVIDER),
    KeyText<&Param::tDDNS, &DDNSAccount::acHost>("ddnshost=", GIVEN_DDNS_HOST),
    KeyText<&Param::tDDNS, &DDNSAccount::acUser>("ddnsuser=", GIVEN_DDNS_USER),
    KeyText<&Param::tDDNS, &DDNSAccount::acPass>("ddnspass=", GIVEN_DDNS_PASS),
    KeyWord<&Param::iUPnP>("upnp=", GIVEN_UPNP, "on", "off"),
    KeyInt<&Param::iHTTPPort>("httpport=", GIVEN_HTTP_PORT, 1, 65535),
    KeyInt<&Param::iHTTPExternalPort>("httpexternalport=", GIVEN_HTTP_EXTERNAL_PORT, 1, 65535),
    KeyInt<&Param::iRTSPPort>("rtspport=", GIVEN_RTSP_PORT, 1, 65535),
};
static_assert(KeyBitsAreDistinct(KEYS));

/** KEPT: pairs that follow an absent DHCP pair begin with "&" all the same; the store passes over it. */
void AddPairs(PairBuilder &pairs, const Param &param)
{
    pairs.AddGiven(GIVEN_DHCP, "network_resetip=%d", param.iDHCP);
    pairs.AddGiven(GIVEN_IP, "&network_ipaddress=%s", param.acIPAddr);
    pairs.AddGiven(GIVEN_NETMASK, "&network_subnet=%s", param.acNetmask);
    pairs.AddGiven(GIVEN_GATEWAY, "&network_router=%s", param.acGateway);
    pairs.AddGiven(GIVEN_DNS1, "&network_dns1=%s", param.acDNS1);
    pairs.AddGiven(GIVEN_DNS2, "&network_dns2=%s", param.acDNS2);
    pairs.AddGiven(GIVEN_PPPOE, "&network_type=%s", param.iPPPoE == 1 ? "pppoe" : "lan");
    pairs.AddGiven(GIVEN_PPPOE_USER, "&network_pppoe_user=%s", param.acPPPoEUser);
    pairs.AddGiven(GIVEN_PPPOE_PASS, "&network_pppoe_pass=%s", param.acPPPoEPass);
    pairs.AddGiven(GIVEN_DDNS, "&ddns_enable=%d", param.iDDNSEnable);
    DDNS_AddPairs(pairs, param.tDDNS,
                  {.provider = Request_Gave(param, GIVEN_DDNS_PROVIDER),
                   .host = Request_Gave(param, GIVEN_DDNS_HOST),
                   .user = Request_Gave(param, GIVEN_DDNS_USER),
                   .pass = Request_Gave(param, GIVEN_DDNS_PASS)});
    pairs.AddGiven(GIVEN_UPNP, "&upnpportforwarding_enable=%d", param.iUPnP);
    pairs.AddGiven(GIVEN_HTTP_PORT, "&network_http_port=%d", param.iHTTPPort);
    pairs.AddGiven(GIVEN_HTTP_EXTERNAL_PORT, "&network_http_alternateport=%d", param.iHTTPExternalPort);
    pairs.AddGiven(GIVEN_RTSP_PORT, "&network_rtsp_port=%d", param.iRTSPPort);
    pairs.AddGiven(RESTARTS_CAMERA, "&system_reset=10");
}

void TakeType(std::string_view type, Result &result)
{
    result.iPPPoE = type.starts_with("pppoe") ? 1 : 0;
}

constexpr ReadRow<Result> SETTINGS[] = {
    ReadBool<&Result::iDHCP>("network_resetip"),
    ReadText<&Result::acIPAddr>("network_ipaddress"),
    ReadText<&Result::acNetmask>("network_subnet"),
    ReadText<&Result::acGateway>("network_router"),
    ReadText<&Result::acDNS1>("network_dns1"),
    ReadTextIfGiven<&Result::acDNS2>("network_dns2"),
    ReadInt<&Result::iHTTPPort>("network_http_port"),
    ReadInt<&Result::iHTTPExternalPort>("network_http_alternateport"),
    ReadInt<&Result::iRTSPPort>("network_rtsp_port"),
    ReadSpecial<TakeType, 15>("network_type"),
    ReadText<&Result::acPPPoEUser>("network_pppoe_user"),
    ReadText<&Result::acPPPoEPass>("network_pppoe_pass"),
    ReadBool<&Result::iDDNSEnable>("ddns_enable"),
    ReadText<&Result::tDDNS, &DDNSAccount::acProvider>("ddns_provider"),
    ReadBool<&Result::iUPnP>("upnpportforwarding_enable"),
};

} // namespace

int Parser_NetworkConfig_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::NetworkConfig, __func__, text) != 0)
        return -1;
    if (Request_TakeKeys(text, KEYS, Session_Param<Param>(slot)) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_NetworkConfig(SessionSlot &slot)
{
    const auto &param = Session_Param<Param>(slot);
    PairBuffer<MAX_SET_PAIRS + 1> pairs(param.uiSetMask);
    AddPairs(pairs, param);
    if (Session_WritePairs(slot, pairs, StatusKind::InternalError) != 0)
        return -1;
    if (Request_Gave(param, RESTARTS_NETWORK))
        NetUtility_RequestNetworkRestart();
    return 0;
}

int MappingGetRoutine_NetworkConfig(SessionSlot &slot)
{
    auto &result = Session_Result<Result>(slot);
    ConfigerReply<2048> reply(__func__);
    reply.Read(SETTINGS, result);
    DDNS_ReadAccount(reply, result.tDDNS);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_NetworkConfig(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<Result>(slot);
    body.LineOnOff("dhcp=", result.iDHCP == 1);
    body.Line("ip=", result.acIPAddr);
    body.Line("netmask=", result.acNetmask);
    body.Line("gateway=", result.acGateway);
    body.Line("dns1=", result.acDNS1);
    body.Line("dns2=", result.acDNS2);
    body.Line("httpport=", result.iHTTPPort);
    body.Line("httpexternalport=", result.iHTTPExternalPort);
    body.Line("rtspport=", result.iRTSPPort);
    body.LineOnOff("upnp=", result.iUPnP == 1);
    body.LineOnOff("pppoe=", result.iPPPoE == 1);
    body.Line("pppoeuser=", result.acPPPoEUser);
    body.Line("pppoepass=", result.acPPPoEPass);
    body.LineOnOff("ddns=", result.iDDNSEnable == 1);
    body.Line("ddnsprovider=", DDNS_RequestName(result.tDDNS));
    body.Line("ddnshost=", result.tDDNS.acHost);
    body.Line("ddnsuser=", result.tDDNS.acUser);
    body.Line("ddnspass=", result.tDDNS.acPass);
}
