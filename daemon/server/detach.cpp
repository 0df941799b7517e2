#include "daemon/server/detach.h"

#include "platform/log.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <initializer_list>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/** The writing end of the pipe to the process that waits. */
int g_iOutcome = -1;
int g_iNull = -1;

/** Reads one byte, which says that the daemon serves; the end of the pipe says that its process has ended. */
[[noreturn]] void AwaitOutcome(int iOutcome, pid_t iProcess)
{
    char cServing = 0;
    if (read(iOutcome, &cServing, 1) == 1)
        _exit(EXIT_SUCCESS);
    int iStatus = 0;
    if (waitpid(iProcess, &iStatus, 0) == iProcess && WIFEXITED(iStatus))
        _exit(WEXITSTATUS(iStatus)); // it has said why
    const int iSignal = WTERMSIG(iStatus);
    Log_CritAndShow("[main]the daemon was ended by signal %d (%s) before it served\n", iSignal, strsignal(iSignal));
    _exit(EXIT_FAILURE);
}

int CloseAll(std::initializer_list<int> descriptors)
{
    const int iSavedErrno = errno;
    for (const int iDescriptor : descriptors)
        close(iDescriptor);
    errno = iSavedErrno;
    return -1;
}

} // namespace

int Detach()
{
    if (g_iOutcome >= 0)
        return 0;
    g_iNull = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (g_iNull < 0)
        return -1;
    int aiPipe[2];
    if (pipe2(aiPipe, O_CLOEXEC) != 0)
        return CloseAll({g_iNull});
    signal(SIGCHLD, SIG_DFL); // a parent may have left it ignored, and then nobody can ask for the status
    const pid_t iProcess = fork();
    if (iProcess < 0)
        return CloseAll({g_iNull, aiPipe[0], aiPipe[1]});
    if (iProcess > 0) {
        close(aiPipe[1]);
        AwaitOutcome(aiPipe[0], iProcess);
    }
    close(aiPipe[0]);
    g_iOutcome = aiPipe[1];
    setsid();
    if (chdir("/") != 0)
        Log_Crit("[%s]chdir() failed\n", "main");
    dup2(g_iNull, STDIN_FILENO);
    dup2(g_iNull, STDOUT_FILENO);
    return 0;
}

void Detach_Serving()
{
    if (g_iOutcome < 0)
        return;
    dup2(g_iNull, STDERR_FILENO);
    close(g_iNull);
    const char cServing = 1;
    [[maybe_unused]] const ssize_t written = write(g_iOutcome, &cServing, 1); // nobody may be waiting any more
    close(g_iOutcome);
}
