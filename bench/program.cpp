#include "bench/program.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace
{

[[noreturn]] void runChild(std::vector<char *> &arguments, int cpu, const char *output)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (cpu >= 0) {
        cpu_set_t only;
        CPU_ZERO(&only);
        CPU_SET(static_cast<size_t>(cpu), &only);
        sched_setaffinity(0, sizeof only, &only);
    }
    dup2(open(output, O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDOUT_FILENO);
    execvp(arguments[0], arguments.data());
    perror(arguments[0]);
    _exit(127);
}

} // namespace

Program::Program(const std::vector<std::string> &arguments, int cpu, const char *output)
{
    std::vector<char *> texts;
    for (const std::string &argument : arguments)
        texts.push_back(const_cast<char *>(argument.c_str()));
    texts.push_back(nullptr);
    pid_ = fork();
    if (pid_ == 0)
        runChild(texts, cpu, output);
    if (pid_ < 0)
        throw std::system_error(errno, std::generic_category(), "fork");
}

Program::~Program()
{
    stop(SIGKILL);
}

void Program::stop(int signal)
{
    if (pid_ < 0)
        return;
    kill(pid_, signal);
    kill(pid_, SIGCONT);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

void Program::pause() const
{
    kill(pid_, SIGSTOP);
    waitpid(pid_, nullptr, WUNTRACED);
}

void Program::resume() const
{
    kill(pid_, SIGCONT);
}

bool Program::running()
{
    if (pid_ > 0 && waitpid(pid_, nullptr, WNOHANG) == pid_)
        pid_ = -1;
    return pid_ > 0;
}

std::chrono::nanoseconds Program::cpuTime() const
{
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(pid_, &clock) != 0 || clock_gettime(clock, &time) != 0)
        throw std::runtime_error("no processor time of a program that should be running");
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

long Program::status(const std::string &name) const
{
    std::ifstream file("/proc/" + std::to_string(pid_) + "/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(name + ":"))
            return std::stol(line.substr(name.size() + 1));
    throw std::runtime_error("no " + name + " of a program that should be running");
}
