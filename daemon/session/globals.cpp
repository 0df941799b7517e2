#include "daemon/session/globals.h"

ServerGlobals g_tServerGlobals;
