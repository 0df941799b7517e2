#include "platform/path.h"

#include "platform/log.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace
{

const char *g_pcRoot = "";

int TooLong(const char *pcPath)
{
    Log_Crit("[Path]%s%s is too long\n", g_pcRoot, pcPath);
    errno = ENAMETOOLONG;
    return -1;
}

/** Appends to `out` what fits and moves `length`; false when it did not fit with a terminator. */
bool Append(std::span<char> out, size_t &length, const char *pcText, size_t textLength)
{
    if (textLength >= out.size() - length)
        return false;
    memcpy(out.data() + length, pcText, textLength);
    length += textLength;
    out[length] = '\0';
    return true;
}

} // namespace

void Path_Open()
{
    const char *pcRoot = getenv(PATH_ROOT_VARIABLE);
    g_pcRoot = pcRoot != nullptr ? pcRoot : "";
}

const char *Path_Root()
{
    return g_pcRoot;
}

int Path_Resolve(const char *pcPath, std::span<char> out)
{
    size_t length = 0;
    if (!Append(out, length, g_pcRoot, strlen(g_pcRoot)) || !Append(out, length, pcPath, strlen(pcPath)))
        return TooLong(pcPath);
    return 0;
}

int Path_ShellCommand(const char *pcProgram, const char *pcArguments, std::span<char> out)
{
    size_t length = 0;
    bool fits = true;
    if (*g_pcRoot == '\0') {
        fits = Append(out, length, pcProgram, strlen(pcProgram));
    } else {
        // POSIX sh: nothing is special between single quotes; a quote itself ends them, stands escaped, opens anew.
        fits = Append(out, length, "'", 1);
        for (const char *pcPart : {g_pcRoot, pcProgram})
            for (const char *pc = pcPart; fits && *pc != '\0'; ++pc)
                fits = *pc == '\'' ? Append(out, length, "'\\''", 4) : Append(out, length, pc, 1);
        fits = fits && Append(out, length, "'", 1);
    }
    if (fits && *pcArguments != '\0')
        fits = Append(out, length, " ", 1) && Append(out, length, pcArguments, strlen(pcArguments));
    return fits ? 0 : TooLong(pcProgram);
}
