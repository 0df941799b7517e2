#include "bench/program.h"

#include <csignal>
#include <ctime>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>

void hold(const ChildProcess &program)
{
    program.signal(SIGSTOP);
    checked(waitpid(program.pid(), nullptr, WUNTRACED), "waiting for a program to stop");
}

void resume(const ChildProcess &program)
{
    program.signal(SIGCONT);
}

std::chrono::nanoseconds cpuTime(const ChildProcess &program)
{
    clockid_t clock = 0;
    timespec time = {};
    if (clock_getcpuclockid(program.pid(), &clock) != 0 || clock_gettime(clock, &time) != 0)
        throw std::runtime_error("no processor time of a program that should be running");
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

long statusOf(const ChildProcess &program, const std::string &name)
{
    std::ifstream file("/proc/" + std::to_string(program.pid()) + "/status");
    for (std::string line; std::getline(file, line);)
        if (line.starts_with(name + ":"))
            return std::stol(line.substr(name.size() + 1));
    throw std::runtime_error("no " + name + " of a program that should be running");
}
