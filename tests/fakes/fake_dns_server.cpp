#include "tests/fakes/fake_dns_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <optional>
#include <sys/socket.h>

namespace
{

/** Takes a query apart; nothing when it is not one recursive question for an A record. */
std::optional<DnsQuery> ParseQuery(const std::string &bytes)
{
    // Behind the identifier: recursion desired, one question, nothing else. Behind the name: type A, class IN.
    const std::string head("\1\0\0\1\0\0\0\0\0\0", 10);
    const std::string tail("\0\1\0\1", 4);
    if (bytes.size() < 2 || bytes.compare(2, head.size(), head) != 0)
        return std::nullopt;
    std::string name;
    size_t at = 12;
    while (at < bytes.size() && bytes[at] != '\0') {
        const auto length = static_cast<uint8_t>(bytes[at]);
        if (length > 63 || at + 1 + length > bytes.size())
            return std::nullopt;
        name += (name.empty() ? "" : ".") + bytes.substr(at + 1, length);
        at += 1U + length;
    }
    if (at >= bytes.size() || bytes.substr(at + 1) != tail)
        return std::nullopt;
    const auto identifier =
        static_cast<uint16_t>(static_cast<uint8_t>(bytes[0]) << 8 | static_cast<uint8_t>(bytes[1]));
    return DnsQuery{identifier, name};
}

} // namespace

sockaddr_in LoopbackAddress(uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

UniqueFd BindToLoopback(int type, uint16_t &port)
{
    UniqueFd bound(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    sockaddr_in address = LoopbackAddress(0);
    socklen_t length = sizeof address;
    Checked(bind(bound.Get(), reinterpret_cast<sockaddr *>(&address), length), "bind to loopback");
    Checked(getsockname(bound.Get(), reinterpret_cast<sockaddr *>(&address), &length), "port of loopback");
    port = ntohs(address.sin_port);
    return bound;
}

std::vector<DnsQuery> FakeDnsServer::Queries() const
{
    const std::lock_guard lock(m_mutex);
    return m_queries;
}

void FakeDnsServer::ServeOne()
{
    char buffer[1024];
    sockaddr_in asker;
    socklen_t length = sizeof asker;
    auto *address = reinterpret_cast<sockaddr *>(&asker);
    const ssize_t received = recvfrom(m_socket.Get(), buffer, sizeof buffer, 0, address, &length);
    if (received < 0)
        return;
    const auto query = ParseQuery({buffer, static_cast<size_t>(received)});
    if (!query) {
        ADD_FAILURE() << "not a query for an address, " << received << " bytes";
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_queries.push_back(*query);
    }
    for (const Datagram &datagram : m_script(*query)) {
        const int from = datagram.fromOtherPort ? m_otherSocket.Get() : m_socket.Get();
        sendto(from, datagram.bytes.data(), datagram.bytes.size(), MSG_NOSIGNAL, address, length);
    }
}
