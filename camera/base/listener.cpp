#include "camera/base/listener.h"

#include "camera/base/spawn.h"
#include "platform/unix_socket.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <chrono>
#include <sys/socket.h>
#include <system_error>

namespace camera
{

namespace asio = boost::asio;
using asio::ip::tcp;
using Descriptor = asio::posix::stream_descriptor;

namespace
{

constexpr int BACKLOG = 256;

void check(int result, const std::string &what)
{
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

Listener::Listener(asio::io_context &io, FileDescriptor listening, Accepted accepted)
    : state_(std::make_shared<State>(
          State{Descriptor(io, listening.release()), asio::steady_timer(io), std::move(accepted)}))
{
    spawn(io, acceptClients(state_));
}

Listener::~Listener()
{
    boost::system::error_code ignored;
    state_->listening.close(ignored);
    state_->pause.cancel();
}

asio::awaitable<void> Listener::acceptClients(std::shared_ptr<State> state)
{
    boost::system::error_code error;
    while (state->listening.is_open()) {
        // Asio's own accept makes a descriptor first and close-on-exec later.
        FileDescriptor client(
            accept4(state->listening.native_handle(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        const int reason = client.valid() ? 0 : errno;
        if (client.valid()) {
            state->accepted(std::move(client));
        } else if (reason == EAGAIN) {
            co_await state->listening.async_wait(Descriptor::wait_read,
                                                 asio::redirect_error(asio::use_awaitable, error));
        } else if (reason != ECONNABORTED && reason != EINTR) {
            state->pause.expires_after(std::chrono::milliseconds(100));
            co_await state->pause.async_wait(asio::redirect_error(asio::use_awaitable, error));
        }
    }
}

FileDescriptor listenAtPath(const std::string &path)
{
    FileDescriptor listening(UnixSocket_Open(SOCK_STREAM | SOCK_NONBLOCK));
    check(listening.get(), path);
    check(UnixSocket_Bind(listening.get(), path.c_str()), path);
    check(listen(listening.get(), BACKLOG), path);
    return listening;
}

FileDescriptor listenAtAddress(const std::string &address, unsigned short port)
{
    const tcp::endpoint endpoint(asio::ip::make_address(address), port);
    const std::string name = address + " port " + std::to_string(port);
    FileDescriptor listening(
        socket(endpoint.protocol().family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP));
    check(listening.get(), name);
    const int on = 1;
    check(setsockopt(listening.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on), name);
    check(bind(listening.get(), endpoint.data(), static_cast<socklen_t>(endpoint.size())), name);
    check(listen(listening.get(), BACKLOG), name);
    return listening;
}

unsigned short portOf(int listening)
{
    tcp::endpoint endpoint;
    auto size = static_cast<socklen_t>(endpoint.capacity());
    check(getsockname(listening, endpoint.data(), &size), "getsockname");
    endpoint.resize(size);
    return endpoint.port();
}

} // namespace camera
