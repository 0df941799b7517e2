#include "daemon/configer/pairs.h"

#include "daemon/configer/configer.h"

void PairBuilder::AddGiven(uint32_t uiBits, const char *pcFormat, ...)
{
    if ((m_uiSetMask & uiBits) == 0)
        return;
    va_list args;
    va_start(args, pcFormat);
    Addv(pcFormat, args);
    va_end(args);
}

int Session_WritePairs(SessionSlot &slot, const TextBuilder &pairs, StatusKind failReason, StatusKind emptyReason)
{
    if (pairs.Empty())
        return Session_Refuse(slot, emptyReason);
    char acReply[2048];
    if (Set_Configer_Parameter(acReply, pairs.View()) != 0)
        return Session_Fail(slot, failReason);
    return Session_Succeed(slot);
}
