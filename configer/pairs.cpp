#include "configer/pairs.h"

#include "configer/configer.h"

int Session_WritePairs(SessionSlot &slot, const TextBuilder &pairs, StatusKind failReason, StatusKind emptyReason)
{
    if (pairs.Empty())
        return Session_Refuse(slot, emptyReason);
    char acReply[2048];
    if (Set_Configer_Parameter(acReply, pairs.View()) != 0)
        return Session_Fail(slot, failReason);
    return Session_Succeed(slot);
}
