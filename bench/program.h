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
    Program(Program &&other) noexcept : pid_(std::exchange(other.pid_, -1)) {}
    Program &operator=(Program &&) = delete;

    /** Ends the process with a signal and waits for its end. */
    void stop(int signal);

    /* A paused program takes no processor time. */
    void pause() const;
    void resume() const;

    [[nodiscard]] pid_t pid() const { return pid_; }
    /** False once the process has ended by itself. */
    [[nodiscard]] bool running();
    /** The processor time that all its threads have taken so far, at the kernel's full resolution. */
    [[nodiscard]] std::chrono::nanoseconds cpuTime() const;
    /** A number out of /proc/<pid>/status, by its name, such as "VmHWM" (in kB). */
    [[nodiscard]] long status(const std::string &name) const;

  private:
    pid_t pid_ = -1;
};
