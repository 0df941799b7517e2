#include "netutil/network_restart.h"

#include "configer/configer.h"
#include "netutil/clock.h"
#include "server/globals.h"

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
