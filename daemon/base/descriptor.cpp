#include "daemon/base/descriptor.h"

#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{

/** Without a list of the open ones: more than any parent is likely to leave open. The table may be a million long.
 */
constexpr int HIGHEST_TRIED = 1023;

void CloseOnExec(int iDescriptor)
{
    if (const int iFlags = fcntl(iDescriptor, F_GETFD); iDescriptor > STDERR_FILENO && iFlags >= 0)
        fcntl(iDescriptor, F_SETFD, iFlags | FD_CLOEXEC);
}

} // namespace

void Descriptor_OpenStandardStreams()
{
    int iNull = -1;
    do
        iNull = open("/dev/null", O_RDWR); // not close-on-exec: a program that is run has standard streams, too
    while (iNull >= 0 && iNull <= STDERR_FILENO);
    if (iNull >= 0)
        close(iNull);
}

void Descriptor_CloseInheritedOnExec()
{
    DIR *ptOpen = opendir("/proc/self/fd");
    if (ptOpen == nullptr) { // proc(5) may not be mounted
        for (int iDescriptor = 0; iDescriptor <= HIGHEST_TRIED; ++iDescriptor)
            CloseOnExec(iDescriptor);
        return;
    }
    while (const dirent *ptEntry = readdir(ptOpen))
        CloseOnExec(atoi(ptEntry->d_name)); // "." and ".." become 0
    closedir(ptOpen);
}
