#include "daemon/netutil/remote_ports.h"

NetUtility_RemotePorts g_tRemotePorts = {53, 80};
