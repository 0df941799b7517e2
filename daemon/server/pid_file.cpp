#include "daemon/server/pid_file.h"

#include "daemon/base/text_finder.h"
#include "platform/log.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
constexpr mode_t PID_FILE_MODE = 0644;
}

void StashPid(const char *pcPath)
{
    const int iFile = open(pcPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, PID_FILE_MODE);
    if (iFile < 0) {
        Log_Crit("[%s]open pid file failed\n", __func__);
        return;
    }
    if (dprintf(iFile, "%d\n", getpid()) < 0 || fchmod(iFile, PID_FILE_MODE) != 0)
        Log_Crit("[%s]write pid file failed\n", __func__);
    close(iFile);
}

void RemovePid(const char *pcPath)
{
    const int iFile = open(pcPath, O_RDONLY | O_CLOEXEC);
    if (iFile < 0) {
        Log_Crit("[%s]open pid file failed\n", __func__);
        return;
    }
    char acText[32];
    const ssize_t got = read(iFile, acText, sizeof acText);
    close(iFile);
    if (got > 0 && Text_ToInt({acText, static_cast<size_t>(got)}) == getpid())
        unlink(pcPath);
}
