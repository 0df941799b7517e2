#pragma once

#include "tests/fakes/unique_fd.h"

#include <atomic>
#include <functional>
#include <string>
#include <thread>

/**
 * A bound AF_UNIX socket with a thread that serves it: what most fakes are made of. The owner's last member, so
 * that the thread ends before what it uses does.
 *
 * It serves one connection (SOCK_STREAM) or datagram (SOCK_DGRAM) at a time and keeps no record of anything.
 */
class UnixEndpoint
{
  public:
    /**
     * Called on the thread: for SOCK_STREAM with an accepted connection, closed afterwards; for SOCK_DGRAM with the
     * bound socket when a datagram is there. A receive on either gives up after TEST_DEADLINE.
     */
    using Serve = std::function<void(int socket)>;

    UnixEndpoint(std::string path, int type, Serve serve);
    ~UnixEndpoint();
    UnixEndpoint(const UnixEndpoint &) = delete;
    UnixEndpoint &operator=(const UnixEndpoint &) = delete;

    /** Binds the path and serves it; constructed endpoints are open. */
    void Open();
    /** Stops serving and removes the socket file. */
    void Close();
    /** Waits until the connections that clients have had are closed at this end too. */
    void WaitUntilIdle() const;
    /** For Serve: waits `duration`; false when the endpoint is to stop meanwhile. */
    [[nodiscard]] bool Pause(std::chrono::milliseconds duration) const;

  private:
    void Run();

    std::string m_path;
    int m_type;
    Serve m_serve;
    std::atomic<int> m_connections = 0;
    UniqueFd m_socket;
    UniqueFd m_stop;
    std::thread m_thread;
};
