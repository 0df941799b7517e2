#pragma once

#include "temporary_folder.h"
#include "tests/fakes/child_process.h"
#include "tests/fakes/client_side.h"
#include "tests/fakes/replies.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/**
 * The built virtual camera with its daemon, on a free port, in a root folder of its own that outlives a restart.
 * What a test cannot go on without is thrown as an exception.
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
    /** Sends a signal and waits for the end of it and all that it has started; returns as ChildProcess::wait(). */
    int stop(int signal);

    [[nodiscard]] const std::string &root() const { return folder_.path(); }
    [[nodiscard]] pid_t pid() const { return process_->pid(); }
    [[nodiscard]] unsigned short port() const { return port_; }
    /** What it has printed, errors included, as far as it was waited for. */
    [[nodiscard]] const std::string &output() const { return printed_; }
    /** Waits until it has printed the text. */
    void waitForOutput(const std::string &sign);
    /** The password that a new camera prints. */
    [[nodiscard]] std::string adminPassword() const;

    /** Opens a connection and sends the text on it. */
    [[nodiscard]] ClientSide send(const std::string &text) const;
    /** Sends a request and returns all of the reply. */
    [[nodiscard]] std::string exchange(const std::string &request) const { return send(request).readAll(); }
    /** The same for a request without a body; `fields` are lines of the head. */
    [[nodiscard]] std::string get(const std::string &target, const std::string &fields = "") const;
    [[nodiscard]] std::string post(const std::string &target) const;
    [[nodiscard]] nlohmann::json state() const;
    /** Looks at the state again and again until it is as wanted, and returns it. */
    template <class Wanted>
    [[nodiscard]] nlohmann::json waitFor(Wanted wanted) const
    {
        nlohmann::json now;
        if (!::waitFor([&] { return wanted(std::as_const(now = state())); }))
            throw std::runtime_error("never as wanted: " + now.dump(1));
        return now;
    }
    /** The daemon's process, once it is ready to serve and is not `other`. */
    [[nodiscard]] pid_t daemonPid(pid_t other = 0) const;

    /** Connects to the socket of a neighbour and sends the bytes. */
    [[nodiscard]] ClientSide say(const std::string &socketPath, std::string_view bytes) const;
    /** Sends a request to the configuration store and returns its answer. */
    [[nodiscard]] std::string askStore(const std::string &request) const;
    /** Sets keys of the store, past the API and its limits. */
    void setInStore(const std::string &pairs) const;

  private:
    TemporaryFolder folder_;
    std::vector<std::string> arguments_;
    std::optional<ChildProcess> process_;
    ClientSide output_;
    std::string printed_;
    unsigned short port_ = 0;
};

/** The status of a reply, 0 when it has none. */
int statusOf(const std::string &reply);
