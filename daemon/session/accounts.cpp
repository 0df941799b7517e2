#include "daemon/session/accounts.h"

#include "daemon/base/start_fail.h"
#include "daemon/base/text_builder.h"
#include "daemon/base/zero_fill.h"
#include "daemon/session/globals.h"
#include "platform/log.h"

#include <cerrno>

int KelpaFdServer_InitAccountManager()
{
    AM_Context &context = g_tServerGlobals.tAccountContext;
    ZeroFill(&context, sizeof context);
    Text_Copy(context.acTempDirectory, "/tmp");
    Text_Copy(context.acPasswordFile, "/etc/passwd");
    Text_Copy(context.acGroupFile, "/etc/group");
    Text_Copy(context.acConfigFile, "/etc/accountmgr.conf");
    Text_Copy(context.acParameter, "168");
    errno = 0;
    if (AM_ParseConfigFile(&context) != 0)
        return Start_FailFixed(errno != 0 ? "account configuration" : "malformed account configuration",
                               context.acConfigFile, errno);
    AM_ParsePasswordFile(&context);
    return 0;
}

void KelpaFdServer_ReloadPassword()
{
    Trace("[KELPA]reload password file");
    AM_ParsePasswordFile(&g_tServerGlobals.tAccountContext);
}
