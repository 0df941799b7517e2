#pragma once

#include "platform/unix_socket.h"
#include "tests/fakes/service_thread.h"

#include <atomic>
#include <optional>
#include <sys/socket.h>

/**
 * A listening AF_UNIX socket with a thread that serves it: what most fakes are made of. The owner's last member, so
 * that the thread ends before what it uses does.
 *
 * It serves one connection at a time and keeps no record of anything.
 */
class UnixEndpoint
{
  public:
    /** Called on the thread with an accepted connection, closed afterwards. A receive gives up after TEST_DEADLINE.
     */
    using Serve = std::function<void(int connection)>;

    UnixEndpoint(std::string path, Serve serve) : m_path(std::move(path)), m_serve(std::move(serve)) { Open(); }
    ~UnixEndpoint() { Close(); }
    UnixEndpoint(const UnixEndpoint &) = delete;
    UnixEndpoint &operator=(const UnixEndpoint &) = delete;

    /** Binds the path and serves it; constructed endpoints are open. */
    void Open()
    {
        if (m_thread)
            return;
        unlink(m_path.c_str());
        m_socket.Reset(UnixSocket_Open(SOCK_STREAM));
        Checked(UnixSocket_Bind(m_socket.Get(), m_path.c_str()), m_path);
        Checked(listen(m_socket.Get(), SOMAXCONN), m_path);
        m_thread.emplace(m_socket.Get(), [this] { ServeOne(); });
    }
    /** Stops serving and removes the socket file. */
    void Close()
    {
        if (!m_thread)
            return;
        m_thread.reset();
        m_socket.Reset();
        unlink(m_path.c_str());
    }
    /** Waits until the connections that clients have had are closed at this end too. */
    void WaitUntilIdle() const
    {
        for (bool busy = true; (busy = m_busy);)
            m_busy.wait(busy);
    }

  private:
    void ServeOne()
    {
        m_busy = true;
        if (const UniqueFd connection(accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC));
            connection.Valid()) {
            const timeval limit = {TEST_DEADLINE.count() / 1000, 0};
            setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            m_serve(connection.Get());
        }
        m_busy = false;
        m_busy.notify_all();
    }

    std::string m_path;
    Serve m_serve;
    UniqueFd m_socket;
    std::atomic<bool> m_busy = false;
    std::optional<ServiceThread> m_thread;
};
