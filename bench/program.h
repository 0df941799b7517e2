#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

/** A child process. It ends with this object, and also when this process dies. All failures throw. */
class Program
{
  public:
    /**
     * Starts arguments[0], looked up along PATH, on processor `cpu` alone unless that is negative. What it prints
     * goes to the file `output`.
     */
    explicit Program(const std::vector<std::string> &arguments, int cpu = -1, const char *output = "/dev/null");
    ~Program();
    Program(Program &&other) noexcept : m_pid(std::exchange(other.m_pid, -1)) {}
    Program &operator=(Program &&) = delete;

    /** Ends the process with a signal and waits for its end. */
    void Stop(int signal);

    /* A paused program takes no processor time. */
    void Pause() const;
    void Resume() const;

    [[nodiscard]] pid_t Pid() const { return m_pid; }
    /** False once the process has ended by itself. */
    [[nodiscard]] bool Running();
    /** The processor time that all its threads have taken so far, at the kernel's full resolution. */
    [[nodiscard]] std::chrono::nanoseconds CpuTime() const;
    /** A number out of /proc/<pid>/status, by its name, such as "VmHWM" (in kB). */
    [[nodiscard]] long Status(const std::string &name) const;

  private:
    pid_t m_pid = -1;
};
