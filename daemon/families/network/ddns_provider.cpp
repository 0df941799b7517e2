#include "daemon/families/network/ddns_provider.h"

namespace
{

constexpr struct {
    std::string_view requestName;
    std::string_view storeName;
} PROVIDERS[] = {{"dyndns", "DyndnsDynamic"}, {"pomroddns", "Pomro"}};
/** Takes every other name as its server name. */
constexpr std::string_view REGIONAL_PROVIDER = "PomroCN";

/** By the provider's name. */
constexpr ReadRow<DDNSAccount> ACCOUNT[] = {
    ReadText<&DDNSAccount::acHost>("ddns_*_hostname"),
    ReadText<&DDNSAccount::acUser>("ddns_*_usernameemail"),
    ReadText<&DDNSAccount::acPass>("ddns_*_passwordkey"),
};
constexpr ReadRow<DDNSAccount> REGIONAL_ACCOUNT[] = {ReadText<&DDNSAccount::acServerName>("ddns_*_servername")};

} // namespace

void DDNS_SetProvider(DDNSAccount &account, std::string_view requestName)
{
    for (const auto &provider : PROVIDERS) {
        if (provider.requestName == requestName) {
            Text_Copy(account.acProvider, provider.storeName);
            return;
        }
    }
    Text_Copy(account.acServerName, requestName);
    Text_Copy(account.acProvider, REGIONAL_PROVIDER);
}

std::string_view DDNS_RequestName(const DDNSAccount &account)
{
    for (const auto &provider : PROVIDERS)
        if (provider.storeName == account.acProvider)
            return provider.requestName;
    return account.acServerName;
}

void DDNS_AddPairs(TextBuilder &pairs, const DDNSAccount &account, DDNSGiven given)
{
    if (!given.provider)
        return;
    pairs.Addf("&ddns_provider=%s", account.acProvider);
    if (given.host)
        pairs.Addf("&ddns_%s_hostname=%s", account.acProvider, account.acHost);
    if (given.user)
        pairs.Addf("&ddns_%s_usernameemail=%s", account.acProvider, account.acUser);
    if (given.pass)
        pairs.Addf("&ddns_%s_passwordkey=%s", account.acProvider, account.acPass);
    if (account.acProvider == REGIONAL_PROVIDER)
        pairs.Addf("&ddns_%s_servername=%s", account.acProvider, account.acServerName);
}

void DDNS_ReadAccount(ConfigerReader &reply, DDNSAccount &account)
{
    if (reply.Failed())
        return;
    const KeyParts parts = {.word = account.acProvider};
    const bool regional = account.acProvider == REGIONAL_PROVIDER;
    TextBuffer<256> keys;
    Read_AddKeys(keys, ACCOUNT, parts);
    if (regional)
        Read_AddKeys(keys, REGIONAL_ACCOUNT, parts);
    reply.AskFor(keys.View());
    reply.Take(ACCOUNT, account, parts);
    if (regional)
        reply.Take(REGIONAL_ACCOUNT, account, parts);
}
