#include "daemon/base/start_fail.h"

#include "platform/log.h"
#include "platform/path.h"

#include <cstring>

namespace
{

int Say(const char *pcWhat, const char *pcRoot, const char *pcPath, int iErrno)
{
    Log_CritAndShow("[Start_Fail]%s%s%s%s%s%s\n", pcWhat, *pcPath != '\0' ? " " : "", pcRoot, pcPath,
                    iErrno != 0 ? ": " : "", iErrno != 0 ? strerror(iErrno) : "");
    return -1;
}

} // namespace

int Start_Fail(const char *pcWhat, const char *pcPath, int iErrno)
{
    return Say(pcWhat, "", pcPath != nullptr ? pcPath : "", iErrno);
}

int Start_FailFixed(const char *pcWhat, const char *pcFixedPath, int iErrno)
{
    return Say(pcWhat, Path_Root(), pcFixedPath, iErrno);
}
