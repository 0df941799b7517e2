#pragma once

#include "camera/base/awaitable.h"
#include "camera/base/file_descriptor.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <functional>
#include <memory>
#include <string>

namespace camera
{

/**
 * Accepts the clients of a listening socket, as close-on-exec, non-blocking descriptors. When no descriptor is left
 * it waits a little and goes on: the clients stay in the socket's queue. It may be destroyed at any time, then the
 * socket listens no more.
 */
class Listener
{
  public:
    using Accepted = std::function<void(FileDescriptor)>;

    Listener(boost::asio::io_context &io, FileDescriptor listening, Accepted accepted);
    ~Listener();
    Listener(const Listener &) = delete;
    Listener &operator=(const Listener &) = delete;

  private:
    /** Shared with the coroutine, which may run on for a moment when the listener is gone already. */
    struct State {
        boost::asio::posix::stream_descriptor listening;
        boost::asio::steady_timer pause;
        Accepted accepted;
    };
    static boost::asio::awaitable<void> acceptClients(std::shared_ptr<State> state);

    std::shared_ptr<State> state_;
};

/** A stream socket that listens at a path, which must not exist. Throws std::system_error. */
[[nodiscard]] FileDescriptor listenAtPath(const std::string &path);

/** A TCP socket that listens at an IPv4 or IPv6 address. Throws std::system_error. */
[[nodiscard]] FileDescriptor listenAtAddress(const std::string &address, unsigned short port);

/** The port that a listening TCP socket was given. */
[[nodiscard]] unsigned short portOf(int listening);

} // namespace camera
