#include "tests/fakes/child_process.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>

namespace
{

UniqueFd OpenOutput(const std::string &path)
{
    return UniqueFd(Checked(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), path));
}

std::vector<char *> Pointers(const std::vector<std::string> &texts)
{
    std::vector<char *> pointers;
    for (const std::string &text : texts)
        pointers.push_back(const_cast<char *>(text.c_str()));
    return pointers;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string> &command, const Options &options)
{
    const UniqueFd output = OpenOutput(options.outputFile);
    const UniqueFd error = OpenOutput(options.errorFile);
    const UniqueFd input(open("/dev/null", O_RDONLY | O_CLOEXEC));
    std::vector<char *> arguments = Pointers(command);
    arguments.push_back(nullptr);
    std::vector<char *> environment = Pointers(options.environment); // first, so that they win
    for (char **variable = environ; *variable != nullptr; ++variable)
        environment.push_back(*variable);
    environment.push_back(nullptr);

    m_pid = Checked(fork(), "fork");
    if (m_pid == 0) { // other threads may hold locks: system calls only from here on
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(input.Get(), STDIN_FILENO);
        dup2(output.Get(), STDOUT_FILENO);
        dup2(error.Get(), STDERR_FILENO);
        execve(arguments[0], arguments.data(), environment.data());
        _exit(127);
    }
    m_pidFd.Reset(static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0)));
}

ChildProcess::~ChildProcess()
{
    if (m_ended)
        return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}

void ChildProcess::Signal(int signal) const
{
    if (!m_ended)
        kill(m_pid, signal);
}

void ChildProcess::Reap()
{
    int status = 0;
    if (m_ended || waitpid(m_pid, &status, WNOHANG) != m_pid)
        return;
    m_ended = true;
    m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool ChildProcess::Ended()
{
    Reap();
    return m_ended;
}

int ChildProcess::Wait()
{
    pollfd waiting = {m_pidFd.Get(), POLLIN, 0};
    if (!m_ended && poll(&waiting, 1, static_cast<int>(TEST_DEADLINE.count())) == 1)
        Reap();
    return m_status;
}
