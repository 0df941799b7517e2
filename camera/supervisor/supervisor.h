#pragma once

#include "camera/surroundings/neighbour.h"

#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace camera
{

/**
 * Runs the daemon as a child in a process group of its own, starts it again when it dies, and stops it with
 * everything that it has started. Its part of GET /camera/state is "daemon".
 */
class Supervisor
{
  public:
    struct Options {
        std::string program;  ///< the daemon's path
        bool fair = false;    ///< run it in fair mode
        bool verbose = false; ///< print what the daemon prints
    };

    Supervisor(Surroundings &around, Options options);
    ~Supervisor();

    /**
     * Starts the daemon; `settled` is called once, when it has taken up its work or has failed to. For every daemon
     * that has taken up its work, `around.daemonReady` is emitted.
     */
    void start(std::function<void()> settled);
    /**
     * Stops the daemon, which stays stopped until it is started again; calls `whenStopped` when it is gone. A
     * second call in the meantime kills it at once and has its own `whenStopped` called instead.
     */
    void stop(std::function<void()> whenStopped);

  private:
    void spawn();
    void tryToSpawn();
    void startLater();
    void waitForChild();
    void childEnded(int status);
    void readOutput();
    void takeOutput(std::string_view text);
    void takeRemainingOutput();
    void watchForReadiness();
    void settle();
    void stopped();
    void signalGroup(int signal) const;

    Surroundings &around_;
    Options options_;
    std::string socketPath_;
    std::string pidFile_;
    boost::asio::signal_set childSignal_;
    boost::asio::steady_timer timer_; ///< until the next look for readiness, the next start, or the kill
    std::optional<boost::asio::posix::stream_descriptor> output_;
    char outputBuffer_[4096];
    std::string lastWords_; ///< the end of what the daemon has printed
    pid_t child_ = -1;
    bool ready_ = false;
    int starts_ = 0;
    std::chrono::steady_clock::time_point startedAt_;
    std::chrono::milliseconds backOff_{0};
    std::function<void()> settled_;
    std::function<void()> stopped_;
};

} // namespace camera
