#pragma once

#include "temporary_folder.h"
#include "tests/fakes/test_support.h"

#include <chrono>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <thread>
#include <utility>
#include <vector>

inline constexpr std::chrono::seconds TEST_TIME(10);

/**
 * The built virtual camera with its daemon, on a free port, in a root folder of its own that outlives a restart.
 * What does not happen within ten seconds fails with an exception.
 */
class CameraProcess
{
  public:
    /** Starts it and waits until it listens; `arguments` follow --root and --listen. */
    explicit CameraProcess(std::vector<std::string> arguments = {});
    ~CameraProcess();
    CameraProcess(const CameraProcess &) = delete;
    CameraProcess &operator=(const CameraProcess &) = delete;

    void start();
    /** Sends a signal and waits for the end; returns the exit status, or minus the signal that ended it. */
    int stop(int signal);

    [[nodiscard]] const std::string &root() const { return folder_.path(); }
    [[nodiscard]] pid_t pid() const { return pid_; }
    [[nodiscard]] unsigned short port() const { return port_; }
    /** Everything that it has printed so far, errors included. */
    [[nodiscard]] const std::string &output() const { return output_; }
    /** Waits until it has printed the text. */
    void waitForOutput(const std::string &sign);
    /** The password that a new camera prints. */
    [[nodiscard]] std::string adminPassword() const;

    /** Opens a connection and sends the text on it. */
    [[nodiscard]] FileDescriptor send(const std::string &text) const;
    /** Sends a request and returns all of the reply. */
    [[nodiscard]] std::string exchange(const std::string &request) const;
    /** The same for a request without a body; `fields` are lines of the head. */
    [[nodiscard]] std::string get(const std::string &target, const std::string &fields = "") const;
    [[nodiscard]] std::string post(const std::string &target) const;
    [[nodiscard]] nlohmann::json state() const;
    /** Looks at the state again and again until it is as wanted, and returns it. */
    template <class Wanted>
    [[nodiscard]] nlohmann::json waitFor(Wanted wanted) const
    {
        for (const auto end = Clock::now() + TEST_TIME;;) {
            nlohmann::json now = state();
            if (wanted(std::as_const(now)))
                return now;
            if (Clock::now() > end)
                throw std::runtime_error("never as wanted: " + now.dump(1));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    /** The daemon's process, once it is ready to serve and is not `other`. */
    [[nodiscard]] pid_t daemonPid(pid_t other = 0) const;

    /** Connects to the socket of a neighbour and sends the bytes. */
    [[nodiscard]] FileDescriptor say(const std::string &socketPath, std::string_view bytes) const;
    /** Sends a request to the configuration store and returns its answer. */
    [[nodiscard]] std::string askStore(const std::string &request) const;
    /** Sets keys of the store, past the API and its limits. */
    void setInStore(const std::string &pairs) const;

  private:
    using Clock = std::chrono::steady_clock;
    TemporaryFolder folder_;
    std::vector<std::string> arguments_;
    std::string output_;
    FileDescriptor pipe_;
    pid_t pid_ = -1;
    unsigned short port_ = 0;
};

/** Reads until the peer closes, or `sign` has been read; throws when neither happens in time. */
std::string readUntil(int socket, const std::string &sign = {}, std::chrono::milliseconds limit = TEST_TIME);

/** The status of a reply, 0 when it has none. */
int statusOf(const std::string &reply);
/** What follows a reply's head. */
std::string bodyOf(const std::string &reply);
