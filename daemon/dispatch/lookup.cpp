#include "daemon/dispatch/dispatch.h"
#include "daemon/request/request_text.h"
#include "platform/log.h"

#include <cstring>

namespace
{

/** The URLs that a single selector, such as "profileid=1", reads instead of changing. */
constexpr const char *SELECTOR_URLS[] = {"/config/video.cgi", "/config/rtspurl.cgi", "/video/mjpg.cgi",
                                         "/config/audio.cgi"};
/** KEPT: "profileid=" and one digit; with two digits it is a change. */
constexpr size_t SELECTOR_LENGTH = 11;

bool TakesSelector(const char *pcUrl)
{
    for (const char *pcSelectorUrl : SELECTOR_URLS)
        if (strcmp(pcUrl, pcSelectorUrl) == 0)
            return true;
    return false;
}

/** A GET with parameters is a change, but for an empty query string and for selectors. */
bool IsRead(FDIPCInfo &request)
{
    if (request.acQeryString[0] == '\0') {
        Trace("!!!! ptFDIPCInfo->acQeryString[0]: %s\n", request.acQeryString);
        return true;
    }
    return TakesSelector(request.acUrl) && strlen(request.acQeryString) == SELECTOR_LENGTH &&
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
    if (request.eMethod == RequestMethod::Get && IsRead(request))
        return ptRow->pfnGetPrepare(slot);
    return ptRow->pfnSetParser(slot);
}
