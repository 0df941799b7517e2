#include "daemon/base/descriptor.h"
#include "daemon/base/wait.h"
#include "daemon/server/detach.h"
#include "daemon/server/event_endpoint.h"
#include "daemon/server/pid_file.h"
#include "daemon/server/server.h"
#include "daemon/server/version.h"
#include "platform/log.h"
#include "platform/path.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace
{

constexpr char USAGE[] = "Usage:\n"
                         "    kelpa [-h] [-v] unixsocket_path pid_file\n"
                         "Options:\n"
                         "    -d    Run as daemon. Must set the file name for saving pid.\n"
                         "    -v    Get program version.\n"
                         "    -h    This help.";

void KelpaFdServer_Usage()
{
    puts(USAGE);
}

void KelpaFdServer_ShowVersion()
{
    char acVersion[16];
    Version_Format(KELPA_VERSION, acVersion);
    printf("KelpafdServer version: %s\n", acVersion);
    puts("Configuration and control API of the camera.");
}

void RunAsDaemon()
{
    printf("run as daemon mode");
    fflush(stdout); // the buffer would die with the process that waits
    if (Detach() != 0)
        Log_CritAndShow("[%s]daemon() failed\n", "main");
}

/** Handles the options; they may end the process. */
void ParseOptions(int iArgumentCount, char **ppcArguments)
{
    for (int iOption = 0; (iOption = getopt(iArgumentCount, ppcArguments, "h?vd")) != -1;) {
        switch (iOption) {
        case 'd':
            RunAsDaemon();
            break;
        case 'v':
            KelpaFdServer_ShowVersion();
            exit(EXIT_SUCCESS);
        default:
            KelpaFdServer_Usage();
            exit(EXIT_FAILURE);
        }
    }
}

/** A previous instance's socket file would keep the path from being bound. */
void RemoveStaleSocket(const char *pcPath)
{
    if (access(pcPath, R_OK | W_OK) != 0)
        return;
    Trace("[%s]Remove previous socket file %s ok\n", "main", pcPath);
    unlink(pcPath);
}

} // namespace

int main(int iArgumentCount, char **ppcArguments)
{
    Descriptor_OpenStandardStreams();
    Descriptor_CloseInheritedOnExec();
    Log_Open();
    Path_Open();
    ParseOptions(iArgumentCount, ppcArguments);
    Trace_Open();
    if (iArgumentCount - optind != 2) {
        Log_CritAndShow("[%s]Wrong number of arguments\n", __func__);
        KelpaFdServer_Usage();
        return EXIT_FAILURE;
    }
    const char *pcSocketPath = ppcArguments[optind];
    const char *pcPidFile = ppcArguments[optind + 1];

    RemoveStaleSocket(pcSocketPath);
    char acEventPath[EVENT_PATH_SIZE];
    if (Path_Resolve(EVENT_PATH, acEventPath) == 0)
        RemoveStaleSocket(acEventPath);

    KelpaFdServer *ptServer = nullptr;
    if (KelpaFdServer_Initial(&ptServer, pcSocketPath) != 0) {
        Log_Crit("[%s]Initial KelpaFdServer failed\n", __func__);
        return EXIT_FAILURE;
    }
    StashPid(pcPidFile);
    KelpaFdServer_SetupSignals();
    Detach_Serving();
    Log_Crit("Start KelpaFdServer\n");
    const char *pcFair = getenv("KELPA_FAIR");
    Wait_SetFair(pcFair != nullptr && strcmp(pcFair, "1") == 0); // from here on: the start waits without limit
    while (!Wait_StopRequested())
        KelpaFdServer_Process(ptServer);
    RemovePid(pcPidFile);
    KelpaFdServer_Destroy(ptServer);
    return EXIT_SUCCESS;
}
