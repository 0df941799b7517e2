#include "tests/fakes/unix_endpoint.h"

#include "platform/unix_socket.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>

namespace
{

void LimitReceive(int socket)
{
    const timeval limit = {TEST_DEADLINE.count() / 1000, 0};
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

} // namespace

UnixEndpoint::UnixEndpoint(std::string path, int type, Serve serve)
    : m_path(std::move(path)), m_type(type), m_serve(std::move(serve))
{
    Open();
}

UnixEndpoint::~UnixEndpoint()
{
    Close();
}

void UnixEndpoint::Open()
{
    if (m_thread.joinable())
        return;
    m_stop.Reset(eventfd(0, EFD_CLOEXEC));
    m_socket.Reset(UnixSocket_Open(m_type));
    unlink(m_path.c_str());
    if (UnixSocket_Bind(m_socket.Get(), m_path.c_str()) != 0 ||
        (m_type == SOCK_STREAM && listen(m_socket.Get(), SOMAXCONN) != 0))
        throw std::system_error(errno, std::generic_category(), m_path);
    LimitReceive(m_socket.Get());
    m_thread = std::thread([this] { Run(); });
}

void UnixEndpoint::Close()
{
    if (!m_thread.joinable())
        return;
    eventfd_write(m_stop.Get(), 1);
    m_thread.join();
    m_socket.Reset();
    unlink(m_path.c_str());
}

bool UnixEndpoint::Pause(std::chrono::milliseconds duration) const
{
    pollfd stop = {m_stop.Get(), POLLIN, 0};
    return poll(&stop, 1, static_cast<int>(duration.count())) == 0;
}

void UnixEndpoint::WaitUntilIdle() const
{
    for (int connections = 0; (connections = m_connections) != 0;)
        m_connections.wait(connections);
}

void UnixEndpoint::Run()
{
    for (;;) {
        pollfd waiting[] = {{m_stop.Get(), POLLIN, 0}, {m_socket.Get(), POLLIN, 0}};
        if (poll(waiting, 2, -1) < 0 || waiting[0].revents != 0)
            return;
        if (m_type != SOCK_STREAM) {
            m_serve(m_socket.Get());
            continue;
        }
        m_connections = 1;
        UniqueFd connection(accept4(m_socket.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection.Valid()) {
            LimitReceive(connection.Get());
            m_serve(connection.Get());
        }
        connection.Reset();
        m_connections = 0;
        m_connections.notify_all();
    }
}
