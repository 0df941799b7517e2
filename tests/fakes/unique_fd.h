#pragma once

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

/** How long a test waits for something that must happen; only a failing test ever waits this long. */
inline constexpr std::chrono::milliseconds TEST_DEADLINE{20000};

/** Owns a descriptor. */
class UniqueFd
{
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : m_fd(fd) {}
    UniqueFd(UniqueFd &&other) noexcept : m_fd(std::exchange(other.m_fd, -1)) {}
    UniqueFd &operator=(UniqueFd &&other) noexcept
    {
        Reset(std::exchange(other.m_fd, -1));
        return *this;
    }
    ~UniqueFd() { Reset(); }

    void Reset(int fd = -1)
    {
        if (m_fd >= 0)
            close(m_fd);
        m_fd = fd;
    }
    [[nodiscard]] int Get() const { return m_fd; }
    [[nodiscard]] bool Valid() const { return m_fd >= 0; }

  private:
    int m_fd = -1;
};

/** Gives the result of a system call on; throws when it is -1, naming what was called for. */
inline int Checked(int result, const std::string &what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

/** Open descriptors of a process, this one unless its id is given. */
[[nodiscard]] inline size_t CountDescriptors(const std::string &process = "self")
{
    const std::filesystem::directory_iterator open("/proc/" + process + "/fd");
    return static_cast<size_t>(std::distance(begin(open), end(open)));
}

/** Waits until `condition` holds, looking again every few milliseconds; false when it does not come to that. */
template <typename Condition>
[[nodiscard]] bool WaitFor(Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + TEST_DEADLINE;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        usleep(2000);
    }
    return true;
}
