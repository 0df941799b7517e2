#include "platform/descriptor.h"

#include <fcntl.h>
#include <unistd.h>

void Descriptor_CloseInheritedOnExec()
{
    // More than any parent leaves open; the table itself may be a million long.
    constexpr int HIGHEST = 1023;
    for (int iDescriptor = STDERR_FILENO + 1; iDescriptor <= HIGHEST; ++iDescriptor)
        if (const int iFlags = fcntl(iDescriptor, F_GETFD); iFlags >= 0)
            fcntl(iDescriptor, F_SETFD, iFlags | FD_CLOEXEC);
}
