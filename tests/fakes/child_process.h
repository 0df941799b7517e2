#pragma once

#include "tests/fakes/test_support.h"

#include <string>
#include <sys/types.h>
#include <vector>

/**
 * A program run as a child with its standard output and error in files. It is killed when it still runs at the end,
 * also when the test program dies.
 */
class ChildProcess
{
  public:
    struct Options {
        std::vector<std::string> environment; ///< "NAME=value", in addition to this process's own
        std::string outputFile = "/dev/null";
        std::string errorFile = "/dev/null";
    };
    ChildProcess(const std::vector<std::string> &command, const Options &options);
    ~ChildProcess();
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }
    void signal(int signal) const;
    [[nodiscard]] bool ended();
    /** Waits for the end: the exit status, 128 + signal for one that a signal ended, -1 when it does not end. */
    [[nodiscard]] int wait();

  private:
    void reap();

    pid_t pid_ = -1;
    FileDescriptor pidFd_;
    bool ended_ = false;
    int status_ = -1;
};
