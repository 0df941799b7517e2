#include "families/network/ddns.h"

#include "configer/pairs.h"
#include "configer/reply.h"
#include "dispatch/request_text.h"

namespace
{

enum Given : uint32_t {
    GIVEN_DDNS = 0x1,
    GIVEN_PROVIDER = 0x2,
    GIVEN_HOST = 0x4,
    GIVEN_USER = 0x8,
    GIVEN_PASS = 0x10,
};

/** Takes a text of the account when it is given and fits. */
template <size_t N>
void TakeText(std::string_view text, std::string_view key, char (&acField)[N], uint32_t uiBit, uint32_t &uiSetMask)
{
    if (GetStringValueFromText(text, key, acField) == 0)
        uiSetMask |= uiBit;
}

} // namespace

int Parser_DDNS_Set(SessionSlot &slot)
{
    std::string_view text;
    if (Parser_Begin(slot, SetIndex::DDNS, __func__, text) != 0)
        return -1;
    auto &param = Session_Param<DDNSParam>(slot);
    // The switch is looked at as a text of up to 63 characters: a long bad value is refused here, not passed over.
    char acWord[64];
    if (GetStringValueFromText(text, "ddns=", acWord) == 0) {
        const std::string_view word = acWord;
        if (word != "on" && word != "off")
            return Session_Refuse(slot, StatusKind::BadRequest);
        param.iDDNSEnable = word == "on" ? 1 : 0;
        param.uiSetMask |= GIVEN_DDNS;
    }
    // KEPT: keys are found by substring, so "ddnsprovider=" and its like, the names of the network settings, work
    // too.
    char acProvider[sizeof param.tDDNS.acProvider];
    if (GetStringValueFromText(text, "provider=", acProvider) == 0) {
        DDNS_SetProvider(param.tDDNS, acProvider);
        param.uiSetMask |= GIVEN_PROVIDER;
    }
    TakeText(text, "host=", param.tDDNS.acHost, GIVEN_HOST, param.uiSetMask);
    TakeText(text, "user=", param.tDDNS.acUser, GIVEN_USER, param.uiSetMask);
    TakeText(text, "pass=", param.tDDNS.acPass, GIVEN_PASS, param.uiSetMask);
    return Session_Accept(slot);
}

int MappingSetRoutine_DDNS(SessionSlot &slot)
{
    const auto &param = Session_Param<DDNSParam>(slot);
    const auto given = [&param](uint32_t uiBit) { return (param.uiSetMask & uiBit) != 0; };
    TextBuffer<2048> pairs;
    if (given(GIVEN_DDNS))
        pairs.Addf("&ddns_enable=%d", param.iDDNSEnable);
    DDNS_AddPairs(pairs, param.tDDNS,
                  {.provider = given(GIVEN_PROVIDER),
                   .host = given(GIVEN_HOST),
                   .user = given(GIVEN_USER),
                   .pass = given(GIVEN_PASS)});
    return Session_WritePairs(slot, pairs, StatusKind::UpdateFailed, StatusKind::InvalidParameter);
}

int MappingGetRoutine_DDNS(SessionSlot &slot)
{
    auto &result = Session_Result<DDNSResult>(slot);
    ConfigerReply<2048> reply(__func__);
    reply.Get({"ddns_enable&", "ddns_provider&"});
    reply.Bool("ddns_enable=", result.iDDNSEnable);
    reply.Text("ddns_provider=", result.tDDNS.acProvider);
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
