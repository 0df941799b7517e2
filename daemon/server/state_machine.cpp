#include "daemon/base/clock.h"
#include "daemon/base/wait.h"
#include "daemon/dispatch/dispatch.h"
#include "daemon/reply/composer.h"
#include "daemon/server/server.h"
#include "platform/log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

/** A session that is not done by then is closed without a reply. */
constexpr uint32_t SESSION_LIMIT_MS = 8000;
constexpr uint32_t ROUND_BUDGET_MS = 1000;

using StateRoutine = int (*)(KelpaFdServer *ptServer, int32_t iSlot);

int KelpaFdServer_StateRoutine_Idle(KelpaFdServer *, int32_t)
{
    return 0;
}

bool IsOpenStream(const SessionSlot &slot)
{
    return Dispatch_OpenStream(slot) != nullptr;
}

/**
 * How a session waits for its socket. In fair mode it stands back until poll(2) reports one of the events.
 * Otherwise it goes on, and after EAGAIN (`again`) the whole loop pauses first. A stop does not wait for clients.
 */
void AwaitSocket(SessionSlot &slot, short sEvents, bool again)
{
    if (again && !Wait_IsFair())
        NetUtility_SleepMs(AGAIN_SLEEP_MS);
    slot.iAwaited = Wait_IsFair() || Wait_StopRequested() ? sEvents : 0;
}

/** Has the kernel find out within a minute that the client of an open stream is gone without a word. */
void WatchPeer(int iSocket)
{
    constexpr struct {
        int iLevel, iName, iValue;
    } OPTIONS[] = {
        {SOL_SOCKET, SO_KEEPALIVE, 1},          {IPPROTO_TCP, TCP_KEEPIDLE, 30}, // seconds
        {IPPROTO_TCP, TCP_KEEPINTVL, 10},       {IPPROTO_TCP, TCP_KEEPCNT, 3},
        {IPPROTO_TCP, TCP_USER_TIMEOUT, 60000}, // milliseconds
    };
    for (const auto &option : OPTIONS) // another kind of socket knows none of them, and does without
        setsockopt(iSocket, option.iLevel, option.iName, &option.iValue, sizeof option.iValue);
}

/** The client of an open stream has nothing to say; whatever comes is thrown away. */
void ReceiveOnStream(const char *pcCaller, SessionSlot &slot)
{
    slot.iBufferLength = 0;
    const ssize_t received = recv(slot.tRequest.iClientSocket, slot.acBuffer, sizeof slot.acBuffer, MSG_NOSIGNAL);
    if (received != 0) {
        Session_UseBuffer(slot, static_cast<size_t>(std::max<ssize_t>(received, 0)));
        slot.iDrained = received < 0 && errno == EAGAIN ? 1 : 0;
        slot.eState = SessionState::Compose;
        return;
    }
    Trace("[%s]Recv FIN\n", pcCaller);
    slot.eState = SessionState::Finish;
}

/** Takes more of a request's body; it only completes the request on the wire, nobody reads it. */
void ReceiveBody(const char *pcCaller, SessionSlot &slot)
{
    const FDIPCInfo &request = slot.tRequest;
    if (static_cast<uint32_t>(request.iContentLength) > sizeof slot.acBuffer) {
        Log_Crit("[%s]ContentLength overflow\n", pcCaller);
        slot.eStatusKind = StatusKind::InternalError;
        slot.eState = SessionState::Compose;
        return;
    }
    const auto held = static_cast<size_t>(std::max(slot.iBufferLength, 0)); // intake may have left -1
    const ssize_t received = recv(request.iClientSocket, slot.acBuffer + held, sizeof slot.acBuffer - held, 0);
    if (received < 0 && errno == EAGAIN) {
        AwaitSocket(slot, POLLIN, true);
    } else if (received < 0) {
        slot.eState = SessionState::Finish;
    } else if (received == 0) {
        Trace("[%s]Recv FIN\n", pcCaller);
        slot.eState = SessionState::Finish;
    } else {
        slot.iBufferLength += static_cast<int32_t>(received);
        Session_UseBuffer(slot, held + static_cast<size_t>(received));
        if (slot.iBufferLength >= request.iContentLength)
            slot.eState = SessionState::Parse;
        else
            AwaitSocket(slot, POLLIN, false);
    }
}

int KelpaFdServer_StateRoutine_Receive(KelpaFdServer *ptServer, int32_t iSlot)
{
    SessionSlot &slot = ptServer->atSessions[iSlot];
    if (IsOpenStream(slot))
        ReceiveOnStream(__func__, slot);
    else if (slot.tRequest.eMethod != RequestMethod::Get && slot.iBufferLength < slot.tRequest.iContentLength)
        ReceiveBody(__func__, slot);
    else
        slot.eState = SessionState::Parse;
    return 0;
}

int KelpaFdServer_StateRoutine_Parse(KelpaFdServer *ptServer, int32_t iSlot)
{
    SessionSlot &slot = ptServer->atSessions[iSlot];
    slot.eState = Dispatch_Parse(slot) == 0 ? SessionState::Mapping : SessionState::Compose;
    return 0;
}

bool EndsWithoutReply(const SessionSlot &slot)
{
    const ReplyKind eReply = Dispatch_ReplyKind(slot);
    return eReply == ReplyKind::HandedOn || (eReply == ReplyKind::StatusLine && slot.tRequest.iContentLength != 0);
}

int KelpaFdServer_StateRoutine_Mapping(KelpaFdServer *ptServer, int32_t iSlot)
{
    SessionSlot &slot = ptServer->atSessions[iSlot];
    int iResult = -1;
    if (slot.eMappingMethod == MappingMethod::Get)
        iResult = Dispatch_GetRow(slot).pfnRoutine(slot);
    else if (slot.eMappingMethod == MappingMethod::Set)
        iResult = Dispatch_SetRow(slot).pfnRoutine(slot);
    else
        Log_Crit("[%s]The mapping method is incorrect\n", __func__);
    if (iResult == 0 && IsOpenStream(slot))
        WatchPeer(slot.tRequest.iClientSocket);
    slot.eState = iResult == 0 && EndsWithoutReply(slot) ? SessionState::Done : SessionState::Compose;
    return 0;
}

int KelpaFdServer_StateRoutine_Compose(KelpaFdServer *ptServer, int32_t iSlot)
{
    SessionSlot &slot = ptServer->atSessions[iSlot];
    Composer_Routine_KELPAAPI(slot);
    slot.eState = SessionState::Send;
    return 0;
}

int KelpaFdServer_StateRoutine_Send(KelpaFdServer *ptServer, int32_t iSlot)
{
    SessionSlot &slot = ptServer->atSessions[iSlot];
    const bool stream = IsOpenStream(slot);
    if (stream && slot.iBufferLength == 0) {
        slot.eState = SessionState::Rearm;
        return 0;
    }
    const ssize_t sent = send(slot.tRequest.iClientSocket, slot.acBuffer + slot.iBytesSent,
                              static_cast<size_t>(slot.iBufferLength - slot.iBytesSent), MSG_NOSIGNAL);
    if (sent == 0 || (sent < 0 && errno == EAGAIN)) {
        AwaitSocket(slot, POLLOUT, true);
        return 0;
    }
    if (sent < 0) {
        Trace("[%s] Send error %d, finish this session\n", __func__, errno);
        slot.eState = SessionState::Finish;
        return 0;
    }
    // KEPT: the size of the last chunk, not the sum; a reply that needs several sends goes on from there.
    slot.iBytesSent = static_cast<int32_t>(sent);
    if (slot.iBytesSent < slot.iBufferLength) {
        Trace("[%s]Did not send all data out\n", __func__);
        AwaitSocket(slot, POLLOUT, false);
        return 0;
    }
    slot.eState = stream ? SessionState::Rearm : SessionState::Done;
    return 0;
}

// The routines of Done and Rearm are never called: KelpaFdServer_Task looks at the state first, and ends the
// session or its round.
int KelpaFdServer_StateRoutine_Done(KelpaFdServer *, int32_t)
{
    Trace("[%s]The session is finished\n", __func__);
    return 0;
}

int KelpaFdServer_StateRoutine_Finish(KelpaFdServer *ptServer, int32_t iSlot)
{
    ptServer->atSessions[iSlot].eState = SessionState::Done;
    return 0;
}

int KelpaFdServer_StateRoutine_Rearm(KelpaFdServer *ptServer, int32_t iSlot)
{
    ptServer->atSessions[iSlot].eState = SessionState::Compose;
    return 0;
}

constexpr struct {
    SessionState eState;
    StateRoutine pfnRoutine;
} STATE_TABLE[] = {
    {SessionState::Idle, KelpaFdServer_StateRoutine_Idle},
    {SessionState::Receive, KelpaFdServer_StateRoutine_Receive},
    {SessionState::Parse, KelpaFdServer_StateRoutine_Parse},
    {SessionState::Mapping, KelpaFdServer_StateRoutine_Mapping},
    {SessionState::Compose, KelpaFdServer_StateRoutine_Compose},
    {SessionState::Send, KelpaFdServer_StateRoutine_Send},
    {SessionState::Done, KelpaFdServer_StateRoutine_Done},
    {SessionState::Finish, KelpaFdServer_StateRoutine_Finish},
    {SessionState::Rearm, KelpaFdServer_StateRoutine_Rearm},
};

constexpr bool StatesAreIndexes()
{
    for (size_t i = 0; i < std::size(STATE_TABLE); ++i)
        if (static_cast<size_t>(STATE_TABLE[i].eState) != i)
            return false;
    return true;
}
static_assert(std::size(STATE_TABLE) == SESSION_STATE_COUNT && StatesAreIndexes());

/** An open stream between two rounds that is not in the midst of sending. */
bool IsAtRest(const SessionSlot &slot)
{
    return slot.iKeepOpen != 0 && slot.eState == SessionState::Receive;
}

/** Frees the slot, and closes its connection unless that was given away. */
void EndSession(SessionSlot &slot)
{
    if (slot.eSocketOwner == SocketOwner::Session)
        close(slot.tRequest.iClientSocket);
    KelpaFdServer_ResetSlot(slot);
}

} // namespace

void KelpaFdServer_ResetSlot(SessionSlot &slot)
{
    FDIPCInfo &request = slot.tRequest;
    memset(request.acUrl, 0, strlen(request.acUrl));
    memset(request.acQeryString, 0, strlen(request.acQeryString));
    memset(request.acPostBody, 0, strlen(request.acPostBody));
    memset(slot.acBuffer, 0, slot.uiBufferUsed);
    memset(slot.acParameterArea, 0, slot.uiParameterUsed);
    memset(slot.acResultArea, 0, slot.uiResultUsed);
    // On a page that is resident anyway writing costs nothing; on one that nothing else uses it would cost the
    // page.
    if (request.iContentLength != 0)
        request.iContentLength = 0;
    request.eMethod = RequestMethod::Other;
    memset(&slot.eState, 0, offsetof(SessionSlot, acBuffer) - offsetof(SessionSlot, eState));
    request.iClientSocket = SOCKET_NONE;
}

uint32_t KelpaFdServer_SessionDueMs(SessionSlot &slot)
{
    if (slot.iKeepOpen == 0)
        return NetUtility_RemainingMs(slot.uiStartTick, SESSION_LIMIT_MS);
    return IsAtRest(slot) ? Dispatch_OpenStream(slot)->pfnDueMs(slot) : WAIT_FOREVER;
}

bool KelpaFdServer_SessionIsDriven(const SessionSlot &slot)
{
    return slot.iAwaited == 0 || IsAtRest(slot) ||
           (slot.iKeepOpen == 0 && NetUtility_IsTimeout(slot.uiStartTick, SESSION_LIMIT_MS) != 0);
}

void KelpaFdServer_TellStreams(KelpaFdServer &server)
{
    for (SessionSlot &slot : server.atSessions)
        if (IsAtRest(slot))
            Dispatch_OpenStream(slot)->pfnBeforeEvent(slot);
}

int KelpaFdServer_Task(KelpaFdServer *ptServer, int32_t iSlot)
{
    SessionSlot &slot = ptServer->atSessions[iSlot];
    if (slot.iKeepOpen == 0 && NetUtility_IsTimeout(slot.uiStartTick, SESSION_LIMIT_MS) != 0) {
        Log_Crit("[%s]This client is dead after %u MSec\n", __func__, SESSION_LIMIT_MS);
        EndSession(slot);
        return 0;
    }

    slot.iAwaited = 0;
    const uint32_t uiBegin = NetUtility_GetTickMs();
    uint32_t uiBudget = ROUND_BUDGET_MS;
    for (;;) {
        STATE_TABLE[static_cast<size_t>(slot.eState)].pfnRoutine(ptServer, iSlot);
        if (slot.eState == SessionState::Done) {
            EndSession(slot);
            return 0;
        }
        if (slot.eState == SessionState::Rearm) {
            slot.eState = SessionState::Receive;
            slot.iBytesSent = 0;
            slot.iAwaited = slot.iDrained != 0 ? POLLIN : 0;
            return 0;
        }
        if (slot.iAwaited != 0)
            return 0;
        uint32_t uiElapsed = 0;
        // After a request to stop this is the last round, in which a session gets as far as it does without
        // waiting.
        if (NetUtility_IsTimeout(uiBegin, uiBudget, &uiElapsed) != 0 && !Wait_StopRequested())
            return 0;
        // KEPT: the time since the beginning is taken off each time, so a slot gets well under a second a round.
        uiBudget -= uiElapsed;
    }
}
