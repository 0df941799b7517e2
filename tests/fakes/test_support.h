#pragma once

#include "camera/base/file_descriptor.h"

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

/** How long a test waits for something that must happen; only a failing test ever waits this long. */
inline constexpr std::chrono::milliseconds TEST_DEADLINE{20000};

using camera::FileDescriptor;

/** Gives the result of a system call on; throws when it is -1, naming what was called for. */
inline int checked(int result, const std::string &what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

/** Open descriptors of a process, this one unless its id is given. */
[[nodiscard]] inline size_t countDescriptors(const std::string &process = "self")
{
    const std::filesystem::directory_iterator open("/proc/" + process + "/fd");
    return static_cast<size_t>(std::distance(begin(open), end(open)));
}

/** Waits until `condition` holds, looking again every few milliseconds; false when it does not come to that. */
template <typename Condition>
[[nodiscard]] bool waitFor(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + TEST_DEADLINE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        usleep(2000);
    }
    return true;
}
