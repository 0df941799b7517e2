#include "daemon/netutil/network_restart.h"

#include "daemon/base/clock.h"
#include "daemon/configer/configer.h"
#include "daemon/session/globals.h"

void NetUtility_RequestNetworkRestart()
{
    g_tServerGlobals.uiNetworkRestartTick = NetUtility_GetTickMs();
    g_tServerGlobals.iNetworkRestart = 1;
}

int NetUtility_RestartNetwork()
{
    char acReply[32];
    return Set_Configer_Parameter(acReply, "network_restart=1");
}
