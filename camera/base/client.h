#pragma once

#include "camera/base/awaitable.h"
#include "camera/base/file_descriptor.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace camera
{

/**
 * The connection of one client, TCP or AF_UNIX, for use in a coroutine: everything waits without blocking, and
 * never beyond the time limit that was set last. It takes exactly those bytes off the connection that it is asked
 * for.
 */
class Client
{
  public:
    Client(boost::asio::io_context &io, FileDescriptor socket);

    /** From now on, everything that waits fails once this time is over. */
    void setTimeLimit(std::chrono::milliseconds limit);

    /** Waits until something can be received, or the peer has closed; false when the time is over. */
    boost::asio::awaitable<bool> readable();

    /**
     * Receives what is there, at once; `flags` as for recv(2). Returns the number of bytes, 0 when the peer has
     * closed or the connection is broken, -1 when nothing is there.
     */
    [[nodiscard]] ssize_t receiveNow(std::span<char> into, int flags = 0);

    /** Receives until `into` is full; false when the peer closed before, or the time was over. */
    boost::asio::awaitable<bool> receiveAll(std::span<char> into);

    /** Sends all of it; false when it could not be sent in time. */
    boost::asio::awaitable<bool> send(std::string_view text);

    /**
     * Ends the connection in such a way that what was sent arrives: bytes of the client that nobody has read would
     * otherwise reset the connection, and the reply with it. Takes what still comes for a little while.
     */
    boost::asio::awaitable<void> finish();

    /** Gives the socket away: it is no longer watched here. */
    [[nodiscard]] FileDescriptor release();

  private:
    /** Shared with the timer's handler, which may run when the client is gone already. */
    struct Connection {
        boost::asio::posix::stream_descriptor socket;
        boost::asio::steady_timer limit;
        bool expired = false;
    };

    std::shared_ptr<Connection> connection_;
};

} // namespace camera
