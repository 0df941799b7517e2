#include "camera/base/client.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <sys/socket.h>
#include <utility>

namespace camera
{

namespace asio = boost::asio;
using Descriptor = asio::posix::stream_descriptor;

namespace
{

constexpr std::chrono::seconds LINGER_TIME(2);
constexpr size_t LINGER_BYTES = 262144;

} // namespace

Client::Client(asio::io_context &io, FileDescriptor socket)
    : connection_(std::make_shared<Connection>(Descriptor(io, socket.release()), asio::steady_timer(io)))
{
    connection_->socket.non_blocking(true);
}

void Client::setTimeLimit(std::chrono::milliseconds limit)
{
    connection_->expired = false;
    connection_->limit.expires_after(limit);
    connection_->limit.async_wait([kept = std::weak_ptr(connection_)](const boost::system::error_code &error) {
        const auto connection = kept.lock();
        // A limit that was replaced at the last moment still calls.
        if (error || !connection || connection->limit.expiry() > asio::steady_timer::clock_type::now())
            return;
        connection->expired = true;
        connection->socket.cancel();
    });
}

asio::awaitable<bool> Client::readable()
{
    if (connection_->expired)
        co_return false;
    boost::system::error_code error;
    co_await connection_->socket.async_wait(Descriptor::wait_read,
                                            asio::redirect_error(asio::use_awaitable, error));
    co_return !error && !connection_->expired;
}

ssize_t Client::receiveNow(std::span<char> into, int flags)
{
    const ssize_t received =
        recv(connection_->socket.native_handle(), into.data(), into.size(), flags | MSG_DONTWAIT);
    if (received >= 0)
        return received;
    return errno == EAGAIN || errno == EINTR ? -1 : 0;
}

asio::awaitable<bool> Client::receiveAll(std::span<char> into)
{
    bool alive = true;
    while (alive && !into.empty()) {
        const ssize_t received = receiveNow(into);
        if (received > 0)
            into = into.subspan(static_cast<size_t>(received));
        else if (received == 0)
            alive = false;
        else
            alive = co_await readable();
    }
    co_return alive;
}

asio::awaitable<bool> Client::send(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t sent =
            ::send(connection_->socket.native_handle(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent >= 0) {
            text.remove_prefix(static_cast<size_t>(sent));
            continue;
        }
        if (errno != EAGAIN || connection_->expired)
            co_return false;
        boost::system::error_code error;
        co_await connection_->socket.async_wait(Descriptor::wait_write,
                                                asio::redirect_error(asio::use_awaitable, error));
        if (error)
            co_return false;
    }
    co_return true;
}

asio::awaitable<void> Client::finish()
{
    shutdown(connection_->socket.native_handle(), SHUT_WR);
    setTimeLimit(LINGER_TIME);
    char rest[4096];
    bool alive = true;
    for (size_t taken = 0; alive && taken < LINGER_BYTES;) {
        const ssize_t received = receiveNow(rest);
        if (received > 0)
            taken += static_cast<size_t>(received);
        else if (received == 0)
            alive = false;
        else
            alive = co_await readable();
    }
}

FileDescriptor Client::release()
{
    connection_->limit.cancel();
    return FileDescriptor(connection_->socket.release());
}

} // namespace camera
