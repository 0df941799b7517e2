#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/configer/reply.h"

#include <cstdint>
#include <string_view>

/* What the network settings and the DDNS settings share: the account at a DDNS provider. */

/** The provider of a DDNS account as the store names it, and the account there. */
struct DDNSAccount {
    char acProvider[32];
    char acHost[128];
    char acUser[64];       ///< user name or e-mail address
    char acPass[64];       ///< password or key
    char acServerName[64]; ///< of a regional provider; used with that one only
};

/** What of an account a request has given; a request that names no provider sets nothing of it. */
struct DDNSGiven {
    bool provider, host, user, pass;
};

/** Takes a provider as requests name it; a name that is not known is the server name of the regional provider. */
void DDNS_SetProvider(DDNSAccount &account, std::string_view requestName);

/** The provider as requests and replies name it. */
[[nodiscard]] std::string_view DDNS_RequestName(const DDNSAccount &account);

/** Appends the "&name=value" pairs of what was given. */
void DDNS_AddPairs(TextBuilder &pairs, const DDNSAccount &account, DDNSGiven given);

/** Reads the account at acProvider, which must be set, with a request of its own. */
void DDNS_ReadAccount(ConfigerReader &reply, DDNSAccount &account);
