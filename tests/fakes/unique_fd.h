#pragma once

#include <chrono>
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
