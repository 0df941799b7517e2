#include "talk/connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace talk
{
namespace
{

constexpr char DEFAULT_PORT[] = "8080";
constexpr timeval PATIENCE = {10, 0};

/** Throws errno's meaning for the user. */
[[noreturn]] void fail(const std::string &what = {})
{
    throw std::runtime_error(what +
                             (errno == EAGAIN || errno == EINPROGRESS ? "it does not answer" : strerror(errno)));
}

/** Connects to one of a name's addresses; -1 with errno. */
int connectTo(const addrinfo &candidate)
{
    const int socket = ::socket(candidate.ai_family, candidate.ai_socktype | SOCK_CLOEXEC, candidate.ai_protocol);
    if (socket < 0)
        return -1;
    // The limits also hold for connect(2); see socket(7).
    setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &PATIENCE, sizeof PATIENCE);
    setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &PATIENCE, sizeof PATIENCE);
    if (connect(socket, candidate.ai_addr, candidate.ai_addrlen) == 0)
        return socket;
    const int savedErrno = errno;
    close(socket);
    errno = savedErrno;
    return -1;
}

} // namespace

Address parseAddress(std::string_view text)
{
    // A colon within brackets belongs to a numeric IPv6 address.
    const size_t bracket = text.starts_with('[') ? text.find(']') : std::string_view::npos;
    const size_t colon = text.find(':', bracket != std::string_view::npos ? bracket : 0);
    Address address = {std::string(text.substr(0, colon)), DEFAULT_PORT};
    if (colon != std::string_view::npos)
        address.port = text.substr(colon + 1);
    if (bracket != std::string_view::npos && address.host.ends_with(']'))
        address.host = address.host.substr(1, bracket - 1);

    const bool badPort = address.port.empty() || address.port.find_first_not_of("0123456789") != std::string::npos;
    if (address.host.empty() || address.host.find_first_of("[]") != std::string::npos || badPort)
        throw std::runtime_error("not an ADDRESS:PORT");
    return address;
}

std::string toText(const Address &address)
{
    const bool numericV6 = address.host.find(':') != std::string::npos;
    return (numericV6 ? "[" + address.host + "]" : address.host) + ":" + address.port;
}

Connection::Connection(const Address &address)
{
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *found = nullptr;
    if (const int error = getaddrinfo(address.host.c_str(), address.port.c_str(), &hints, &found); error != 0)
        throw std::runtime_error(gai_strerror(error));
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> candidates(found, freeaddrinfo);
    for (const addrinfo *candidate = found; candidate != nullptr && socket_ < 0; candidate = candidate->ai_next)
        socket_ = connectTo(*candidate);
    if (socket_ < 0)
        fail();
}

Connection::~Connection()
{
    close(socket_);
}

bool Connection::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && (errno == EPIPE || errno == ECONNRESET))
            return false;
        if (sent < 0)
            fail("sending to the camera: ");
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return true;
}

void Connection::endSending()
{
    shutdown(socket_, SHUT_WR);
}

bool Connection::waitForInput(std::chrono::steady_clock::time_point deadline) const
{
    using std::chrono::ceil, std::chrono::milliseconds;
    for (;;) {
        const auto left = std::max(deadline - std::chrono::steady_clock::now(), std::chrono::nanoseconds(0));
        pollfd input = {socket_, POLLIN, 0};
        const int ready = poll(&input, 1, static_cast<int>(ceil<milliseconds>(left).count()));
        if (ready >= 0)
            return ready > 0;
        if (errno != EINTR)
            fail("waiting for the camera: ");
    }
}

std::string Connection::receiveAll()
{
    std::string text;
    for (char bytes[4096];;) {
        const ssize_t got = recv(socket_, bytes, sizeof bytes, 0);
        if (got == 0 || (got < 0 && errno == ECONNRESET))
            return text;
        if (got < 0)
            fail("waiting for the camera: ");
        text.append(bytes, static_cast<size_t>(got));
    }
}

} // namespace talk
