#include "daemon/configer/pairs.h"

namespace
{

int Write(SessionSlot &slot, const TextBuilder &pairs, StatusKind failReason)
{
    char acReply[2048];
    if (pairs.Cut() || Set_Configer_Parameter(acReply, pairs.View()) != 0)
        return Session_Fail(slot, failReason);
    return Session_Succeed(slot);
}

} // namespace

void PairBuilder::AddGiven(uint32_t uiBits, const char *pcFormat, ...)
{
    if ((m_uiSetMask & uiBits) == 0)
        return;
    va_list args;
    va_start(args, pcFormat);
    Addv(pcFormat, args);
    va_end(args);
}

int Session_AddPairs(SessionSlot &slot, TextBuilder &pairs, const TextBuilder &group, StatusKind failReason)
{
    if (group.Cut())
        return Session_Fail(slot, failReason);
    if (!pairs.Empty() && group.Length() >= pairs.Rest().size()) {
        if (Write(slot, pairs, failReason) != 0)
            return -1;
        pairs.Clear();
    }
    pairs.Add(group.View());
    return 0;
}

int Session_WritePairs(SessionSlot &slot, const TextBuilder &pairs, StatusKind failReason, StatusKind emptyReason)
{
    return pairs.Empty() ? Session_Refuse(slot, emptyReason) : Write(slot, pairs, failReason);
}
