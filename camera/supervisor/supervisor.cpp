#include "camera/supervisor/supervisor.h"

#include "camera/base/files.h"
#include "camera/base/root_folder.h"
#include "platform/log.h"
#include "platform/path.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <nlohmann/json.hpp>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace camera
{

namespace asio = boost::asio;

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds READINESS_LOOK(10);
constexpr milliseconds FIRST_BACK_OFF(100);
constexpr milliseconds MAX_BACK_OFF(10000);
/** A daemon that has run for this long is healthy: the next start comes soon again. */
constexpr milliseconds HEALTHY_TIME(10000);
/** A request may keep the daemon busy for a few seconds; after that it is killed. */
constexpr milliseconds STOP_TIME(5000);
/** What is kept of the daemon's output, for the message of its end. */
constexpr size_t MAX_LAST_WORDS = 1000;

/** The daemon's switch of fair mode. */
constexpr std::string_view FAIR_VARIABLE = "KELPA_FAIR=";

/** The environment of this process with some variables of the daemon's. */
class Environment
{
  public:
    Environment(const std::string &root, bool fair, bool verbose)
    {
        const std::string rootVariable = std::string(PATH_ROOT_VARIABLE) + "=";
        for (char **at = environ; *at != nullptr; ++at)
            if (const std::string_view text = *at;
                !text.starts_with(rootVariable) && !text.starts_with(FAIR_VARIABLE))
                texts_.emplace_back(text);
        texts_.push_back(rootVariable + root);
        texts_.push_back(std::string(FAIR_VARIABLE) + (fair ? "1" : "0"));
        if (verbose && getenv(LOG_DEBUG_VARIABLE) == nullptr)
            texts_.push_back(std::string(LOG_DEBUG_VARIABLE) + "=2");
        for (std::string &text : texts_)
            pointers_.push_back(text.data());
        pointers_.push_back(nullptr);
    }

    [[nodiscard]] char *const *get() const { return pointers_.data(); }

  private:
    std::vector<std::string> texts_;
    std::vector<char *> pointers_;
};

/** The child's side, between fork and exec: system calls only, because other threads may hold locks. */
[[noreturn]] void becomeDaemon(const char *program, char *const *arguments, char *const *environment, int input,
                               int output)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    close_range(STDERR_FILENO + 1, ~0U, 0);
    execve(program, arguments, environment);
    _exit(127);
}

std::string describe(int status)
{
    if (WIFSIGNALED(status))
        return std::string("ended by signal ") + std::to_string(WTERMSIG(status));
    if (WEXITSTATUS(status) == 127)
        return "cannot be run";
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

Supervisor::Supervisor(Surroundings &around, Options options)
    : around_(around), options_(std::move(options)), socketPath_(around.root.path(HAND_OVER_SOCKET)),
      pidFile_(around.root.path(DAEMON_PID_FILE)), childSignal_(around.io, SIGCHLD), timer_(around.io)
{
    around.state.add("daemon", [this] {
        return nlohmann::json{{"pid", child_ > 0 ? nlohmann::json(child_) : nlohmann::json()},
                              {"ready", ready_},
                              {"starts", starts_}};
    });
    waitForChild();
}

Supervisor::~Supervisor()
{
    if (child_ <= 0)
        return;
    signalGroup(SIGKILL);
    waitpid(child_, nullptr, 0);
}

void Supervisor::start(std::function<void()> settled)
{
    settled_ = std::move(settled);
    tryToSpawn();
}

void Supervisor::tryToSpawn()
{
    try {
        spawn();
    } catch (const std::system_error &failure) { // no process or descriptor is to be had at the moment
        std::cerr << "kelpa-camera: " << failure.what() << "\n";
        backOff_ = std::max(backOff_, FIRST_BACK_OFF);
        settle();
        startLater();
    }
}

void Supervisor::settle()
{
    if (const auto settled = std::exchange(settled_, nullptr))
        settled();
}

void Supervisor::stopped()
{
    std::exchange(stopped_, nullptr)();
}

void Supervisor::spawn()
{
    unlink(pidFile_.c_str());
    int pipeEnds[2];
    const FileDescriptor input(open("/dev/null", O_RDONLY | O_CLOEXEC));
    if (!input.valid() || pipe2(pipeEnds, O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot start the daemon");
    FileDescriptor readEnd(pipeEnds[0]);
    const FileDescriptor writeEnd(pipeEnds[1]);

    const Environment environment(around_.root.folder(), options_.fair, options_.verbose);
    std::string arguments[] = {options_.program, socketPath_, pidFile_};
    char *const argumentPointers[] = {arguments[0].data(), arguments[1].data(), arguments[2].data(), nullptr};

    child_ = fork();
    if (child_ == 0)
        becomeDaemon(options_.program.c_str(), argumentPointers, environment.get(), input.get(), writeEnd.get());
    if (child_ < 0)
        throw std::system_error(errno, std::generic_category(), "cannot start the daemon");
    setpgid(child_, child_); // the child does it too: whoever comes first
    ++starts_;
    lastWords_.clear();
    startedAt_ = std::chrono::steady_clock::now();
    output_.emplace(around_.io, readEnd.release());
    readOutput();
    watchForReadiness();
}

void Supervisor::readOutput()
{
    output_->async_read_some(asio::buffer(outputBuffer_),
                             [this](const boost::system::error_code &error, size_t got) {
                                 if (error)
                                     return;
                                 takeOutput({outputBuffer_, got});
                                 readOutput();
                             });
}

void Supervisor::takeOutput(std::string_view text)
{
    if (options_.verbose)
        std::cout << text << std::flush;
    lastWords_.append(text);
    if (lastWords_.size() > MAX_LAST_WORDS)
        lastWords_.erase(0, lastWords_.size() - MAX_LAST_WORDS);
}

void Supervisor::takeRemainingOutput()
{
    boost::system::error_code error;
    output_->non_blocking(true, error);
    while (!error)
        if (const size_t got = output_->read_some(asio::buffer(outputBuffer_), error); got > 0)
            takeOutput({outputBuffer_, got});
    output_.reset();
}

void Supervisor::watchForReadiness()
{
    timer_.expires_after(READINESS_LOOK);
    timer_.async_wait([this](const boost::system::error_code &error) {
        if (error || child_ <= 0)
            return;
        // The daemon writes its pid file when it is able to take requests.
        try {
            ready_ = readFile(pidFile_) == std::to_string(child_) + "\n";
        } catch (const std::system_error &) {
            ready_ = false;
        }
        if (!ready_)
            return watchForReadiness();
        around_.daemonReady.emit();
        settle();
    });
}

void Supervisor::waitForChild()
{
    childSignal_.async_wait([this](const boost::system::error_code &error, int) {
        if (error)
            return;
        int status = 0;
        if (child_ > 0 && waitpid(child_, &status, WNOHANG) == child_)
            childEnded(status);
        waitForChild();
    });
}

void Supervisor::childEnded(int status)
{
    signalGroup(SIGKILL); // what it has started goes with it
    child_ = -1;
    ready_ = false;
    takeRemainingOutput();
    unlink(pidFile_.c_str());
    if (stopped_) {
        timer_.cancel();
        return stopped();
    }
    const bool healthy = std::chrono::steady_clock::now() - startedAt_ > HEALTHY_TIME;
    backOff_ = healthy || backOff_ == milliseconds(0) ? FIRST_BACK_OFF : std::min(backOff_ * 2, MAX_BACK_OFF);
    std::cerr << "kelpa-camera: the daemon " << options_.program << " " << describe(status)
              << "; it is started again in " << backOff_.count() << " ms\n";
    if (!healthy && !options_.verbose && !lastWords_.empty())
        std::cerr << "It said last:\n" << lastWords_ << (lastWords_.ends_with('\n') ? "" : "\n");
    settle();
    startLater();
}

void Supervisor::startLater()
{
    timer_.expires_after(backOff_);
    timer_.async_wait([this](const boost::system::error_code &error) {
        if (!error)
            tryToSpawn();
    });
}

void Supervisor::stop(std::function<void()> whenStopped)
{
    const bool again = stopped_ != nullptr;
    stopped_ = std::move(whenStopped);
    if (again)
        return signalGroup(SIGKILL);
    timer_.cancel();
    if (child_ <= 0)
        return stopped();
    signalGroup(SIGTERM);
    timer_.expires_after(STOP_TIME);
    timer_.async_wait([this](const boost::system::error_code &error) {
        if (!error)
            signalGroup(SIGKILL);
    });
}

void Supervisor::signalGroup(int signal) const
{
    if (child_ > 0)
        kill(-child_, signal);
}

} // namespace camera
