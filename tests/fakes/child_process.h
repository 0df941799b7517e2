#pragma once

#include "tests/fakes/test_support.h"

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

/**
 * A program run as a child, found along PATH when its name holds no slash. It is killed when it still runs at the
 * end, also when the thread dies that has started it.
 */
class ChildProcess
{
  public:
    struct Options {
        std::vector<std::string> environment = {}; ///< "NAME=value", in addition to this process's own
        std::string outputFile = "/dev/null";
        std::string errorFile = "/dev/null"; ///< empty: this process's own standard error
        bool piped = false;                  ///< both outputs go into a pipe instead, see output()
        int processor = -1;                  ///< the only one that it may use; -1: any
    };
    ChildProcess(const std::vector<std::string> &command, const Options &options);
    ChildProcess(ChildProcess &&other) noexcept
        : pid_(other.pid_), pidFd_(std::move(other.pidFd_)), output_(std::move(other.output_)),
          ended_(std::exchange(other.ended_, true)), status_(other.status_)
    {
    }
    ChildProcess &operator=(ChildProcess &&) = delete;
    ~ChildProcess();

    [[nodiscard]] pid_t pid() const { return pid_; }
    /** Gives away the end at which its piped outputs are read: they end with it and all that it has started. */
    [[nodiscard]] FileDescriptor takeOutput() { return std::move(output_); }
    void signal(int signal) const;
    [[nodiscard]] bool ended();
    /** Waits for the end: the exit status, 128 + signal for one that a signal ended, -1 when it does not end. */
    [[nodiscard]] int wait();

  private:
    void reap();

    pid_t pid_ = -1;
    FileDescriptor pidFd_;
    FileDescriptor output_;
    bool ended_ = false;
    int status_ = -1;
};
