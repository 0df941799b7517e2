#include "daemon/base/program.h"

#include "platform/path.h"

#include <cstdlib>

int Program_Run(const char *pcProgram, const char *pcArguments)
{
    char acCommand[1024];
    return Path_ShellCommand(pcProgram, pcArguments, acCommand) == 0 ? system(acCommand) : -1;
}
