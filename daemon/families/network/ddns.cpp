#include "daemon/families/network/ddns.h"

#include "daemon/configer/pairs.h"
#include "daemon/configer/reply.h"
#include "daemon/request/keys.h"
#include "daemon/request/request_text.h"

namespace
{

enum Given : uint32_t {
    GIVEN_DDNS = 0x1,
    GIVEN_PROVIDER = 0x2,
    GIVEN_HOST = 0x4,
    GIVEN_USER = 0x8,
    GIVEN_PASS = 0x10,
};

bool TakeSwitch(std::string_view value, DDNSParam &param)
{
    param.iDDNSEnable = value == "on" ? 1 : 0;
    return value == "on" || value == "off";
}

bool TakeProvider(std::string_view value, DDNSParam &param)
{
    DDNS_SetProvider(param.tDDNS, value);
    return true;
}

/**
 * KEPT: keys are found by substring, so "ddnsprovider=" and its like, the names of the network settings, work too.
 */
constexpr KeyRow<DDNSParam> KEYS[] = {
    // Longer than other switches: a bad value of up to 63 characters is refused, not passed over.
    KeySpecial<TakeSwitch, 63>("ddns=", GIVEN_DDNS),
    KeySpecial<TakeProvider, sizeof DDNSAccount::acProvider - 1>("provider=", GIVEN_PROVIDER),
    KeyText<&DDNSParam::tDDNS, &DDNSAccount::acHost>("host=", GIVEN_HOST),
    KeyText<&DDNSParam::tDDNS, &DDNSAccount::acUser>("user=", GIVEN_USER),
    KeyText<&DDNSParam::tDDNS, &DDNSAccount::acPass>("pass=", GIVEN_PASS),
};
static_assert(KeyBitsAreDistinct(KEYS));

constexpr ReadRow<DDNSResult> SETTINGS[] = {
    ReadBool<&DDNSResult::iDDNSEnable>("ddns_enable"),
    ReadText<&DDNSResult::tDDNS, &DDNSAccount::acProvider>("ddns_provider"),
};

} // namespace

int Parser_DDNS_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::DDNS, __func__, text) != 0)
        return -1;
    if (Request_TakeKeys(text, KEYS, Session_Param<DDNSParam>(slot)) != 0)
        return Session_Refuse(slot, StatusKind::BadRequest);
    return Session_Accept(slot);
}

int MappingSetRoutine_DDNS(SessionSlot &slot)
{
    const auto &param = Session_Param<DDNSParam>(slot);
    PairBuffer<MAX_SET_PAIRS + 1> pairs(param.uiSetMask);
    pairs.AddGiven(GIVEN_DDNS, "&ddns_enable=%d", param.iDDNSEnable);
    DDNS_AddPairs(pairs, param.tDDNS,
                  {.provider = Request_Gave(param, GIVEN_PROVIDER),
                   .host = Request_Gave(param, GIVEN_HOST),
                   .user = Request_Gave(param, GIVEN_USER),
                   .pass = Request_Gave(param, GIVEN_PASS)});
    return Session_WritePairs(slot, pairs, StatusKind::UpdateFailed, StatusKind::InvalidParameter);
}

int MappingGetRoutine_DDNS(SessionSlot &slot)
{
    auto &result = Session_Result<DDNSResult>(slot);
    ConfigerReply<2048> reply(__func__);
    reply.Read(SETTINGS, result);
    DDNS_ReadAccount(reply, result.tDDNS);
    return reply.Failed() ? Session_Fail(slot, StatusKind::InternalError) : Session_Succeed(slot);
}

void Compose_DDNS(TextBuilder &body, SessionSlot &slot)
{
    const auto &result = Session_Result<DDNSResult>(slot);
    body.LineOnOff("ddns=", result.iDDNSEnable == 1);
    body.Line("provider=", DDNS_RequestName(result.tDDNS));
    body.Line("host=", result.tDDNS.acHost);
    body.Line("user=", result.tDDNS.acUser);
    body.Line("pass=", result.tDDNS.acPass);
}
