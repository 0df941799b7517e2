#include "daemon/base/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

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
    // More than any parent leaves open: with higher ones the server does not start. The table may be a million
    // long.
    constexpr int HIGHEST = 1023;
    for (int iDescriptor = STDERR_FILENO + 1; iDescriptor <= HIGHEST; ++iDescriptor)
        if (const int iFlags = fcntl(iDescriptor, F_GETFD); iFlags >= 0)
            fcntl(iDescriptor, F_SETFD, iFlags | FD_CLOEXEC);
}
