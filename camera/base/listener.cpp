#include "camera/base/listener.h"

#include "platform/unix_socket.h"

#include <boost/asio/ip/tcp.hpp>
#include <cerrno>
#include <chrono>
#include <sys/socket.h>
#include <system_error>

namespace camera
{

namespace asio = boost::asio;
using asio::ip::tcp;

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
    : listening_(io, listening.release()), pause_(io), accepted_(std::move(accepted))
{
    wait();
}

void Listener::wait()
{
    listening_.async_wait(asio::posix::stream_descriptor::wait_read,
                          [this, alive = std::weak_ptr(alive_)](const boost::system::error_code &error) {
                              if (!error && !alive.expired())
                                  acceptAll();
                          });
}

void Listener::acceptAll()
{
    for (;;) {
        FileDescriptor client(accept4(listening_.native_handle(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (client.valid()) {
            accepted_(std::move(client));
            continue;
        }
        if (errno == ECONNABORTED || errno == EINTR)
            continue;
        if (errno == EAGAIN)
            return wait();
        pause_.expires_after(std::chrono::milliseconds(100));
        return pause_.async_wait([this, alive = std::weak_ptr(alive_)](const boost::system::error_code &error) {
            if (!error && !alive.expired())
                acceptAll();
        });
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
