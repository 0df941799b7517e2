#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/families/network/ddns_provider.h"
#include "daemon/session/session.h"

/* "/config/ddns.cgi": the DDNS settings alone, stored where the network settings store them. */

/** What a request gives, or what the store holds (then without mask). */
struct DDNSRecord {
    uint32_t uiSetMask;
    int32_t iDDNSEnable;
    DDNSAccount tDDNS;
};
using DDNSParam = DDNSRecord;
using DDNSResult = DDNSRecord;

[[nodiscard]] int Parser_DDNS_Set(SessionSlot &slot);
[[nodiscard]] int MappingSetRoutine_DDNS(SessionSlot &slot);
[[nodiscard]] int MappingGetRoutine_DDNS(SessionSlot &slot);
void Compose_DDNS(TextBuilder &body, SessionSlot &slot);
