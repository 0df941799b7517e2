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

    UnixEndpoint(std::string path, Serve serve) : path_(std::move(path)), serve_(std::move(serve)) { open(); }
    ~UnixEndpoint() { close(); }
    UnixEndpoint(const UnixEndpoint &) = delete;
    UnixEndpoint &operator=(const UnixEndpoint &) = delete;

    /** Binds the path and serves it; constructed endpoints are open. */
    void open()
    {
        if (thread_)
            return;
        unlink(path_.c_str());
        socket_.reset(UnixSocket_Open(SOCK_STREAM));
        checked(UnixSocket_Bind(socket_.get(), path_.c_str()), path_);
        checked(listen(socket_.get(), SOMAXCONN), path_);
        thread_.emplace(socket_.get(), [this] { serveOne(); });
    }
    /** Stops serving and removes the socket file. */
    void close()
    {
        if (!thread_)
            return;
        thread_.reset();
        socket_.reset();
        unlink(path_.c_str());
    }
    /** Removes the socket file only: later connections are refused, those that are made already are served. */
    void hide() const { unlink(path_.c_str()); }
    /** Waits until the connections that clients have had, queued ones included, are closed at this end too. */
    void waitUntilIdle() const
    {
        pollfd queue = {socket_.get(), POLLIN, 0};
        while (thread_ && (poll(&queue, 1, 0) > 0 || busy_))
            usleep(200);
    }

  private:
    void serveOne()
    {
        busy_ = true;
        if (const FileDescriptor connection(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC));
            connection.valid()) {
            const timeval limit = {TEST_DEADLINE.count() / 1000, 0};
            setsockopt(connection.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
            serve_(connection.get());
        }
        busy_ = false;
    }

    std::string path_;
    Serve serve_;
    FileDescriptor socket_;
    std::atomic<bool> busy_ = false;
    std::optional<ServiceThread> thread_;
};
