#include "tests/fakes/child_process.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace
{

struct Outputs {
    FileDescriptor output;
    FileDescriptor error;
};

/** The files that a child writes to, or one end of a pipe, whose other end becomes `read`. */
Outputs openOutputs(const ChildProcess::Options &options, FileDescriptor &read)
{
    const auto copy = [](int fd) { return FileDescriptor(checked(fcntl(fd, F_DUPFD_CLOEXEC, 0), "dup")); };
    const auto file = [](const std::string &path) {
        return FileDescriptor(checked(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), path));
    };
    if (!options.piped)
        return {file(options.outputFile),
                options.errorFile.empty() ? copy(STDERR_FILENO) : file(options.errorFile)};
    int ends[2];
    checked(pipe2(ends, O_CLOEXEC), "pipe");
    read.reset(ends[0]);
    return {FileDescriptor(ends[1]), copy(ends[1])};
}

std::vector<char *> pointers(const std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    for (const std::string &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str()));
    return pointers;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string> &command, const Options &options)
{
    const Outputs outputs = openOutputs(options, output_);
    const FileDescriptor input(open("/dev/null", O_RDONLY | O_CLOEXEC));
    std::vector<char *> arguments = pointers(command);
    arguments.push_back(nullptr);
    std::vector<char *> environment = pointers(options.environment); // first, so that they win
    for (char **variable = environ; *variable != nullptr; ++variable)
        environment.push_back(*variable);
    environment.push_back(nullptr);
    cpu_set_t processors;
    CPU_ZERO(&processors);
    if (options.processor >= 0)
        CPU_SET(static_cast<size_t>(options.processor), &processors);

    pid_ = checked(fork(), "fork");
    if (pid_ == 0) { // other threads may hold locks: system calls only from here on
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (options.processor >= 0)
            sched_setaffinity(0, sizeof processors, &processors);
        dup2(input.get(), STDIN_FILENO);
        dup2(outputs.output.get(), STDOUT_FILENO);
        dup2(outputs.error.get(), STDERR_FILENO);
        execvpe(arguments[0], arguments.data(), environment.data());
        _exit(127);
    }
    pidFd_.reset(static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)));
}

ChildProcess::~ChildProcess()
{
    if (ended_)
        return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
}

void ChildProcess::signal(int signal) const
{
    if (!ended_)
        kill(pid_, signal);
}

void ChildProcess::reap()
{
    int status = 0;
    if (ended_ || waitpid(pid_, &status, WNOHANG) != pid_)
        return;
    ended_ = true;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool ChildProcess::ended()
{
    reap();
    return ended_;
}

int ChildProcess::wait()
{
    pollfd waiting = {pidFd_.get(), POLLIN, 0};
    if (!ended_ && poll(&waiting, 1, static_cast<int>(TEST_DEADLINE.count())) == 1)
        reap();
    return status_;
}
