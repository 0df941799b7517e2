#include "daemon/server/server.h"
#include "daemon/session/globals.h"

#include <csignal>

namespace
{

void RequestStop(int)
{
    g_tServerGlobals.iStop = 1;
}

void RequestReload(int)
{
    g_tServerGlobals.iReloadPassword = 1;
}

void Handle(int iSignal, void (*pfnHandler)(int))
{
    struct sigaction action = {};
    action.sa_handler = pfnHandler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    sigaction(iSignal, &action, nullptr);
}

} // namespace

void KelpaFdServer_SetupSignals()
{
    Handle(SIGTERM, RequestStop);
    Handle(SIGINT, RequestStop);
    Handle(SIGUSR1, RequestReload);
    Handle(SIGPIPE, SIG_IGN);
}
