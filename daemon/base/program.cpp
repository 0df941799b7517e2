#include "daemon/base/program.h"

#include "daemon/base/text_builder.h"
#include "daemon/base/wait.h"
#include "platform/path.h"

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr std::string_view QUERY_STRING = "QUERY_STRING=";
/** More than a camera's init system sets; what does not fit is left out. */
constexpr size_t MAX_ENVIRONMENT = 128;

/** Copies the environment without a query string of an earlier request, and adds the one of this. */
void MakeEnvironment(char *(&apcEnvironment)[MAX_ENVIRONMENT], char *pcQuery)
{
    size_t count = 0;
    if (pcQuery != nullptr)
        apcEnvironment[count++] = pcQuery;
    for (char **ppc = environ; *ppc != nullptr && count < MAX_ENVIRONMENT - 1; ++ppc)
        if (!std::string_view(*ppc).starts_with(QUERY_STRING))
            apcEnvironment[count++] = *ppc;
    apcEnvironment[count] = nullptr;
}

/** Starts the shell, with SIGPIPE at its default, which the daemon ignores. Returns 0 or an error number. */
int Spawn(char *pcCommand, char **ppcEnvironment, pid_t &iProcess)
{
    char acShell[] = "sh";
    char acOption[] = "-c";
    char *apcArguments[] = {acShell, acOption, pcCommand, nullptr};
    posix_spawnattr_t attributes;
    if (const int iError = posix_spawnattr_init(&attributes); iError != 0)
        return iError;
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    const int iResult = posix_spawn(&iProcess, "/bin/sh", nullptr, &attributes, apcArguments, ppcEnvironment);
    posix_spawnattr_destroy(&attributes);
    return iResult;
}

} // namespace

int Program_Run(const char *pcProgram, const char *pcArguments, const char *pcQueryString)
{
    char acCommand[1024];
    if (Path_ShellCommand(pcProgram, pcArguments, acCommand) != 0)
        return -1;
    TextBuffer<1024> query;
    query.Add(QUERY_STRING);
    if (pcQueryString != nullptr)
        query.Add(pcQueryString);
    char *apcEnvironment[MAX_ENVIRONMENT];
    MakeEnvironment(apcEnvironment, pcQueryString != nullptr ? const_cast<char *>(query.Text()) : nullptr);
    pid_t iProcess = -1;
    if (Spawn(acCommand, apcEnvironment, iProcess) != 0)
        return -1;

    const WaitLimit limit = Wait_Limit(WAIT_FOREVER);
    int iStatus = -1;
    for (bool inTime = true;; inTime = Wait_ForWake(limit)) {
        const pid_t iEnded = waitpid(iProcess, &iStatus, WNOHANG);
        if (iEnded == iProcess)
            return iStatus;
        if ((iEnded < 0 && errno != EINTR) || !inTime)
            return -1;
    }
}
