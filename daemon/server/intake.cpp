#include "daemon/base/clock.h"
#include "daemon/base/text_builder.h"
#include "daemon/base/text_finder.h"
#include "daemon/dispatch/dispatch.h"
#include "daemon/reply/error.h"
#include "daemon/server/server.h"
#include "platform/escape.h"
#include "platform/log.h"

#include <cerrno>
#include <cstring>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

/** Tells a client that all slots are busy, and closes its socket. */
void RefuseClient(const char *pcCaller, int iClientSocket)
{
    Log_Crit("[%s]The connection is full %d\n", pcCaller, MAX_SESSIONS);
    TextBuffer<128> reply;
    Compose_ErrorMessage(reply, StatusKind::ServiceUnavailable);
    // The socket still blocks or not as the web server left it, and a client that does not read must not stop the
    // loop.
    if (send(iClientSocket, reply.Text(), reply.Length(), MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        Trace("[%s]Send error %d\n", pcCaller, errno);
    close(iClientSocket);
}

SessionSlot *FindFreeSlot(KelpaFdServer &server)
{
    for (SessionSlot &slot : server.atSessions)
        if (slot.tRequest.iClientSocket == SOCKET_NONE)
            return &slot;
    return nullptr;
}

RequestMethod ReadMethod(const char *pcCaller, const char *pcMethod)
{
    if (pcMethod != nullptr && strcmp(pcMethod, "GET") == 0) {
        Trace_Text({"[", pcCaller, "]method = GET \n"});
        return RequestMethod::Get;
    }
    if (pcMethod != nullptr && strcmp(pcMethod, "POST") == 0) {
        Trace_Text({"[", pcCaller, "]method = POST \n"});
        return RequestMethod::Post;
    }
    Log_Crit("[%s]Method not GET/POST\n", pcCaller);
    return RequestMethod::Other;
}

int32_t ReadContentLength(FDCGI_Handle handle)
{
    const char *pcLength = FDCGI_GetContentLength(handle);
    return pcLength != nullptr ? Text_ToInt(pcLength) : 0;
}

/** Copies a query string or body into its field, decoded when it carries an encoded blank; absent is empty. */
template <size_t N>
void TakeText(char (&acField)[N], char *pcText)
{
    if (pcText == nullptr)
        return;
    // KEPT: only a text with "%20" in it is decoded, then as a whole; the filter refuses any other escape.
    if (strstr(pcText, "%20") != nullptr)
        EscapeDecodeString(pcText);
    Text_Copy(acField, pcText);
}

/** Such a body is read by the one to whom the URL's routine gives the connection. */
bool HasStreamedBody(const char *pcUrl)
{
    const UrlRow *ptRow = Dispatch_FindUrl(pcUrl);
    return ptRow != nullptr && ptRow->eTrait == UrlTrait::StreamedBody;
}

} // namespace

int KelpaFdServer_Accept(KelpaFdServer *ptServer)
{
    int iClientSocket = SOCKET_NONE;
    if (FDCGI_read(ptServer->handOver, &iClientSocket) != 0) {
        Log_Crit("[%s]FDCGI_read failed\n", __func__);
        return -1;
    }
    SessionSlot *ptSlot = FindFreeSlot(*ptServer);
    if (ptSlot == nullptr) {
        RefuseClient(__func__, iClientSocket);
        return 0;
    }
    int iOn = 1;
    if (ioctl(iClientSocket, FIONBIO, &iOn) != 0) {
        Log_Crit("[%s]ioctl() set NonBlocking failed, errno=%d\n", __func__, errno);
        close(iClientSocket);
        return -1;
    }
    ptSlot->tRequest.iClientSocket = iClientSocket;
    ptSlot->uiStartTick = NetUtility_GetTickMs();
    KelpaFdServer_Accept_FDIPC(ptServer->handOver, *ptSlot);
    return 0;
}

void KelpaFdServer_Accept_FDIPC(FDCGI_Handle handle, SessionSlot &slot)
{
    FDIPCInfo &request = slot.tRequest;
    if (const char *pcUrl = FDCGI_GetUrl(handle); pcUrl != nullptr)
        Text_Copy(request.acUrl, pcUrl);
    Trace_Text({"[", __func__, "]url = ", request.acUrl, " \n"});
    request.eMethod = ReadMethod(__func__, FDCGI_GetMethod(handle));
    TakeText(request.acQeryString, FDCGI_GetQueryString(handle));
    Trace_Text({"[", __func__, "]query string = ", request.acQeryString, "\n"});
    // The zero of most requests is in the slot already, on a page that nothing else makes resident.
    if (const int32_t iLength = ReadContentLength(handle); iLength != 0)
        request.iContentLength = iLength;
    Trace_Text({"[", __func__, "]content length = ", NumberText(request.iContentLength), " \n"});

    // The bytes as they came count, not the text that decoding makes of them.
    slot.iBufferLength = static_cast<int32_t>(FDCGI_GetPostBodyLength(handle));
    TakeText(request.acPostBody, FDCGI_GetPostBody(handle));
    Trace_Text({"[", __func__, "]post body = ", request.acPostBody, " \n"});

    if (slot.iBufferLength < request.iContentLength && !HasStreamedBody(request.acUrl)) {
        slot.eState = SessionState::Receive;
        // KEPT: off by one, so that a body which comes late has to be one byte longer than announced.
        slot.iBufferLength--;
    } else {
        slot.eState = SessionState::Parse;
    }
}
