#include "daemon/families/events/fifo.h"

#include "daemon/base/wait.h"
#include "platform/log.h"
#include "platform/path.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr mode_t FIFO_MODE = 0777;
constexpr uint32_t RETRY_MS = 100;
constexpr uint32_t FAIR_LIMIT_MS = 500;

int MakeFifo(const char *pcPath)
{
    // chmod, because the process's mask takes permissions away from what mkfifo asks for.
    return mkfifo(pcPath, FIFO_MODE) == 0 ? chmod(pcPath, FIFO_MODE) : -1;
}

int OpenForWriting(const char *pcPath)
{
    const WaitLimit limit = Wait_NeighbourLimit(FAIR_LIMIT_MS);
    int iFifo = -1;
    while ((iFifo = open(pcPath, O_WRONLY | O_NONBLOCK | O_CLOEXEC)) <= 0 && Wait_Pause(RETRY_MS, limit))
        continue;
    return iFifo;
}

} // namespace

int CfgParser_GetFIFO(const char *pcFixedPath, int *piFifo, int iWrite)
{
    char acPath[256];
    if (Path_Resolve(pcFixedPath, acPath) != 0)
        return -1;
    if (access(acPath, F_OK) != 0 && MakeFifo(acPath) != 0) {
        Trace("Could not create fifo %s\n", acPath);
        Log_Crit("[%s]Could not create fifo %s\n", __func__, acPath);
        return -1;
    }
    const int iFifo = iWrite != 0 ? OpenForWriting(acPath) : open(acPath, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (iFifo < 0) {
        const int iSavedErrno = errno; // the trace may fail with a reason of its own
        Trace("open fifo %s failed %d\r\n", acPath, iSavedErrno);
        Log_Crit("[%s]open fifo %s failed %d\n", __func__, acPath, iSavedErrno);
        return -1;
    }
    Trace("FIFO %s is %d\r\n", acPath, iFifo);
    *piFifo = iFifo;
    return 0;
}
