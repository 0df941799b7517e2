#include "daemon/families/network/ddns_provider.h"

namespace
{

constexpr struct {
    std::string_view requestName;
    std::string_view storeName;
} PROVIDERS[] = {{"dyndns", "DyndnsDynamic"}, {"pomroddns", "Pomro"}};
/** Takes every other name as its server name. */
constexpr std::string_view REGIONAL_PROVIDER = "PomroCN";

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
    const char *pcProvider = account.acProvider;
    const bool regional = account.acProvider == REGIONAL_PROVIDER;
    TextBuffer<256> keys;
    keys.Addf("ddns_%s_hostname&ddns_%s_usernameemail&ddns_%s_passwordkey&", pcProvider, pcProvider, pcProvider);
    if (regional)
        keys.Addf("ddns_%s_servername&", pcProvider);
    reply.Get({keys.View()});
    reply.Text(Key("ddns_%s_hostname=", pcProvider), account.acHost);
    reply.Text(Key("ddns_%s_usernameemail=", pcProvider), account.acUser);
    reply.Text(Key("ddns_%s_passwordkey=", pcProvider), account.acPass);
    if (regional)
        reply.Text(Key("ddns_%s_servername=", pcProvider), account.acServerName);
}
