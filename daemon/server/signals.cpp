#include "daemon/base/wait.h"
#include "daemon/server/server.h"
#include "daemon/session/globals.h"

#include <csignal>

namespace
{

void RequestStop(int)
{
    Wait_RequestStop();
}

void RequestReload(int)
{
    g_tServerGlobals.iReloadPassword = 1;
    Wait_Wake();
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
    // Who starts the daemon with nohup(1) wants it to outlive the terminal.
    struct sigaction hangUp = {};
    if (sigaction(SIGHUP, nullptr, &hangUp) == 0 && hangUp.sa_handler != SIG_IGN)
        Handle(SIGHUP, RequestStop);
    Handle(SIGUSR1, RequestReload);
    Handle(SIGPIPE, SIG_IGN);
}
