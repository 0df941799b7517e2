#include "daemon/dispatch/dispatch.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

#include <cstring>

namespace
{

/** KEPT: a selector's key and one digit; with two digits it is a change. */
constexpr size_t SELECTOR_LENGTH = 11;

/** A GET with parameters is a change, but for an empty query string and for selectors. */
bool IsRead(const UrlRow &row, FDIPCInfo &request)
{
    if (request.acQeryString[0] == '\0') {
        Trace_Text({"!!!! ptFDIPCInfo->acQeryString[0]: \n"}); // of an empty text there is nothing to print
        return true;
    }
    return row.eTrait == UrlTrait::Selector && strlen(request.acQeryString) == SELECTOR_LENGTH &&
           Request_AppendAmpersand(request.acQeryString);
}

} // namespace

int Dispatch_Parse(SessionSlot &slot)
{
    FDIPCInfo &request = slot.tRequest;
    if (request.eMethod != RequestMethod::Get && request.eMethod != RequestMethod::Post)
        return Session_Refuse(slot, StatusKind::InternalError);
    const UrlRow *ptRow = Dispatch_FindUrl(request.acUrl);
    if (ptRow == nullptr)
        return Session_Refuse(slot, StatusKind::BadRequest);
    if (request.eMethod == RequestMethod::Get && IsRead(*ptRow, request))
        return ptRow->pfnGetPrepare(slot);
    return ptRow->pfnSetParser(slot);
}
