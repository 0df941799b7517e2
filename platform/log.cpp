#include "platform/log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <syslog.h>
#include <unistd.h>

namespace
{

int g_iDebugLevel = 0;
bool g_traceIsRead = true;

void Write(bool shown, const char *pcFormat, va_list args)
{
    const int iSavedErrno = errno;
    if (shown) {
        va_list copy;
        va_copy(copy, args);
        vfprintf(stderr, pcFormat, copy);
        va_end(copy);
    }
    vsyslog(LOG_CRIT, pcFormat, args);
    errno = iSavedErrno;
}

} // namespace

void Log_Open()
{
    openlog("[KELPA]", 0, LOG_USER);
    if (const char *pcLevel = getenv(LOG_DEBUG_VARIABLE); pcLevel != nullptr && *pcLevel != '\0')
        Debug_Init(atoi(pcLevel));
}

void Log_Crit(const char *pcFormat, ...)
{
    va_list args;
    va_start(args, pcFormat);
    Write(g_iDebugLevel >= LOG_CRIT, pcFormat, args);
    va_end(args);
}

void Log_CritAndShow(const char *pcFormat, ...)
{
    va_list args;
    va_start(args, pcFormat);
    Write(true, pcFormat, args);
    va_end(args);
}

void Debug_Init(int iLevel)
{
    g_iDebugLevel = iLevel;
    Trace("Debug Init:level = %d\r\n", iLevel);
}

void Debug_ChangeLevel(int iLevel)
{
    g_iDebugLevel = iLevel;
    Trace("Change debug level to %d\r\n", iLevel);
}

void Trace_Open()
{
    struct stat output;
    const dev_t nullDevice = makedev(1, 3); // null(4)
    g_traceIsRead = fstat(STDOUT_FILENO, &output) != 0 || !S_ISCHR(output.st_mode) || output.st_rdev != nullDevice;
}

bool Trace_Pending()
{
    return __fpending(stdout) != 0;
}

void Trace_Flush()
{
    fflush(stdout);
}

void Trace(const char *pcFormat, ...)
{
    if (!g_traceIsRead)
        return;
    va_list args;
    va_start(args, pcFormat);
    vprintf(pcFormat, args);
    va_end(args);
}

void Trace_Text(std::initializer_list<std::string_view> pieces)
{
    if (!g_traceIsRead)
        return;
    char acLine[1024];
    size_t length = 0;
    flockfile(stdout); // a line stays whole
    for (const std::string_view piece : pieces) {
        if (piece.size() > sizeof acLine - length) {
            fwrite_unlocked(acLine, 1, length, stdout);
            length = 0;
        }
        if (piece.size() > sizeof acLine) {
            fwrite_unlocked(piece.data(), 1, piece.size(), stdout);
            continue;
        }
        if (!piece.empty())
            memcpy(acLine + length, piece.data(), piece.size());
        length += piece.size();
    }
    fwrite_unlocked(acLine, 1, length, stdout);
    funlockfile(stdout);
}
