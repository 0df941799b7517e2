#include "server/accounts.h"

#include "platform/log.h"
#include "platform/zero_fill.h"
#include "server/globals.h"
#include "text/builder.h"

int KelpaFdServer_InitAccountManager()
{
    AM_Context &context = g_tServerGlobals.tAccountContext;
    ZeroFill(&context, sizeof context);
    Text_Copy(context.acTempDirectory, "/tmp");
    Text_Copy(context.acPasswordFile, "/etc/passwd");
    Text_Copy(context.acGroupFile, "/etc/group");
    Text_Copy(context.acConfigFile, "/etc/accountmgr.conf");
    Text_Copy(context.acParameter, "168");
    if (AM_ParseConfigFile(&context) != 0)
        return -1;
    AM_ParsePasswordFile(&context);
    return 0;
}

void KelpaFdServer_ReloadPassword()
{
    Trace("[KELPA]reload password file");
    AM_ParsePasswordFile(&g_tServerGlobals.tAccountContext);
}
