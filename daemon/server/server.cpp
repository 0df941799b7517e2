#include "daemon/server/server.h"

#include "daemon/audio/audio_upstream.h"
#include "daemon/base/clock.h"
#include "daemon/base/start_fail.h"
#include "daemon/base/wait.h"
#include "daemon/netutil/network_restart.h"
#include "daemon/notify/notify_stream.h"
#include "daemon/server/event_endpoint.h"
#include "daemon/session/accounts.h"
#include "daemon/session/globals.h"
#include "platform/log.h"
#include "platform/path.h"

#include <cerrno>
#include <cstdlib>

namespace
{

int OpenEndpoint(const char *pcPath, FDCGI_Handle &handle, int32_t &iSocket)
{
    if (FDCGI_init(&handle, pcPath) != 0 || FDCGI_SetNonBlocking(handle) != 0)
        return -1;
    iSocket = FDCGI_GetSocketFd(handle);
    return 0;
}

int OpenEndpoints(const char *pcCaller, KelpaFdServer &server, const char *pcSocketPath)
{
    if (OpenEndpoint(pcSocketPath, server.handOver, server.iHandOverSocket) != 0) {
        Start_Fail("hand-over socket", pcSocketPath, errno);
        Trace("[%s]FDCGI_init() failed\n", pcCaller);
        return -1;
    }
    char acEventPath[EVENT_PATH_SIZE];
    if (Path_Resolve(EVENT_PATH, acEventPath) != 0 ||
        OpenEndpoint(acEventPath, server.event, server.iEventSocket) != 0) {
        Start_FailFixed("event socket", EVENT_PATH, errno);
        Trace("[%s]FDCGI_Emkelpa init() failed\n", pcCaller);
        return -1;
    }
    return 0;
}

int Start(const char *pcCaller, KelpaFdServer &server, const char *pcSocketPath)
{
    if (Wait_Open() != 0)
        return Start_Fail("wake-up event", nullptr, errno);
    if (OpenEndpoints(pcCaller, server, pcSocketPath) != 0)
        return -1;
    for (SessionSlot &slot : server.atSessions)
        slot.tRequest.iClientSocket = SOCKET_NONE;
    if (KelpaFdServer_InitAccountManager() != 0 || NotifyStream_Initial(g_tServerGlobals.tNotifyState) != 0)
        return -1;
    if (AudioUpstream_Initial(g_tServerGlobals.tAudioUpstream) != 0) {
        Trace("[%s]AudioUpstream_Create failed!\n", pcCaller);
        return -1;
    }
    return 0;
}

void Release(KelpaFdServer *ptServer)
{
    if (ptServer->handOver != nullptr)
        FDCGI_close(ptServer->handOver);
    if (ptServer->event != nullptr)
        FDCGI_close(ptServer->event);
    free(ptServer);
    Wait_Close();
}

void RestartNetworkWhenDue(const char *pcCaller)
{
    ServerGlobals &globals = g_tServerGlobals;
    if (globals.iNetworkRestart == 0 ||
        NetUtility_IsTimeout(globals.uiNetworkRestartTick, NETWORK_RESTART_DELAY_MS) == 0)
        return;
    Trace("[%s]Restart network \n", pcCaller);
    globals.iNetworkRestart = 0;
    globals.uiNetworkRestartTick = 0;
    if (NetUtility_RestartNetwork() != 0)
        Log_Crit("[%s]NetUtility_RestartNetwork failed\n", pcCaller);
}

/** Waits for a connection or a message and takes what is there. Returns 0 or -1. */
int TakeInput(const char *pcCaller, KelpaFdServer *ptServer)
{
    const RoundInput input = KelpaFdServer_Wait(*ptServer);
    if (input.handOver && KelpaFdServer_Accept(ptServer) != 0) {
        Log_Crit("[%s]Accept fd failed\n", pcCaller);
        return -1;
    }
    if (input.event && KelpaFdServer_HandleEventMsg(ptServer) != 0) {
        Trace("[%s]KelpaFdServer_HandleEventMsg failed\n", pcCaller);
        return -1;
    }
    return 0;
}

} // namespace

int KelpaFdServer_Initial(KelpaFdServer **pptServer, const char *pcSocketPath)
{
    if (pcSocketPath == nullptr)
        return -1;
    if (OSThread_KeyCreate() != 0)
        return Start_Fail("thread key", nullptr, errno);
    auto *ptServer = static_cast<KelpaFdServer *>(calloc(1, sizeof(KelpaFdServer)));
    if (ptServer == nullptr)
        return Start_Fail("server object", nullptr, errno);
    if (Start(__func__, *ptServer, pcSocketPath) != 0) {
        Release(ptServer);
        return -1;
    }
    *pptServer = ptServer;
    return 0;
}

void KelpaFdServer_Destroy(KelpaFdServer *ptServer)
{
    Release(ptServer);
    AudioUpstream_Release(g_tServerGlobals.tAudioUpstream);
    OSThread_KeyDestroy();
}

int KelpaFdServer_Process(KelpaFdServer *ptServer)
{
    if (g_tServerGlobals.iReloadPassword != 0) {
        g_tServerGlobals.iReloadPassword = 0;
        KelpaFdServer_ReloadPassword();
    }
    RestartNetworkWhenDue(__func__);
    ptServer->iRoundFailed = TakeInput(__func__, ptServer) != 0 ? 1 : 0;
    if (ptServer->iRoundFailed != 0)
        return -1;
    for (int32_t i = 0; i < MAX_SESSIONS; ++i) {
        const SessionSlot &slot = ptServer->atSessions[i];
        if (slot.tRequest.iClientSocket != SOCKET_NONE && KelpaFdServer_SessionIsDriven(slot))
            KelpaFdServer_Task(ptServer, i);
    }
    // Every open notify stream has seen the changes by now.
    g_tServerGlobals.tNotifyState.iMotionFlag = 0;
    g_tServerGlobals.tNotifyState.iInputChangedFlag = 0;
    return 0;
}
