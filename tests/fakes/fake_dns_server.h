#pragma once

#include "daemon/netutil/remote_ports.h"
#include "tests/fakes/dns_bytes.h"
#include "tests/fakes/service_thread.h"

#include <gtest/gtest.h>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>

/** The address of a port of loopback. */
[[nodiscard]] inline sockaddr_in LoopbackAddress(uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/** Binds a socket of this type to a free port of loopback and gives the port. */
[[nodiscard]] inline UniqueFd BindToLoopback(int type, uint16_t &port)
{
    UniqueFd bound(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    sockaddr_in address = LoopbackAddress(0);
    socklen_t length = sizeof address;
    Checked(bind(bound.Get(), reinterpret_cast<sockaddr *>(&address), length), "bind to loopback");
    Checked(getsockname(bound.Get(), reinterpret_cast<sockaddr *>(&address), &length), "port of loopback");
    port = ntohs(address.sin_port);
    return bound;
}

struct DnsQuery {
    uint16_t identifier;
    std::string name;
};

/**
 * A DNS server on loopback, on a thread, at a port that the kernel chose. As long as it lives, it is the server
 * that the resolver of this process speaks to.
 *
 * What it does not do: know names, or say anything that the test's script does not make up. A query that is not
 * exactly one recursive question for an A record fails the test.
 */
class FakeDnsServer
{
  public:
    struct Datagram {
        std::string bytes;
        bool fromOtherPort = false; ///< sent by a socket that the query did not go to
    };
    /** Called on the server's thread for each query; the datagrams go to the asker in this order. */
    using Script = std::function<std::vector<Datagram>(const DnsQuery &)>;

    explicit FakeDnsServer(Script script) : m_script(std::move(script)) {}
    ~FakeDnsServer() { g_tRemotePorts = m_realPorts; }
    FakeDnsServer(const FakeDnsServer &) = delete;
    FakeDnsServer &operator=(const FakeDnsServer &) = delete;

    /** Its address in network byte order. */
    [[nodiscard]] static in_addr_t Address() { return htonl(INADDR_LOOPBACK); }
    [[nodiscard]] std::vector<DnsQuery> Queries() const
    {
        const std::lock_guard lock(m_mutex);
        return m_queries;
    }

  private:
    void ServeOne()
    {
        char buffer[1024];
        sockaddr_in asker;
        socklen_t length = sizeof asker;
        auto *address = reinterpret_cast<sockaddr *>(&asker);
        const ssize_t received = recvfrom(m_socket.Get(), buffer, sizeof buffer, 0, address, &length);
        if (received < 0)
            return;
        const DnsQuery query = ParseQuery({buffer, static_cast<size_t>(received)});
        {
            const std::lock_guard lock(m_mutex);
            m_queries.push_back(query);
        }
        for (const Datagram &datagram : m_script(query)) {
            const int from = datagram.fromOtherPort ? m_otherSocket.Get() : m_socket.Get();
            sendto(from, datagram.bytes.data(), datagram.bytes.size(), MSG_NOSIGNAL, address, length);
        }
    }
    static DnsQuery ParseQuery(const std::string &bytes)
    {
        DnsQuery query = {0, ""};
        for (size_t at = 12; at < bytes.size() && bytes[at] > 0; at += 1 + static_cast<size_t>(bytes[at]))
            query.name += (query.name.empty() ? "" : ".") + bytes.substr(at + 1, static_cast<size_t>(bytes[at]));
        if (bytes.size() >= 2)
            query.identifier =
                static_cast<uint16_t>(static_cast<uint8_t>(bytes[0]) << 8 | static_cast<uint8_t>(bytes[1]));
        // Recursion desired, one question, nothing else; behind the name type A, class IN.
        EXPECT_EQ(bytes, Dns16(query.identifier) + std::string("\1\0\0\1\0\0\0\0\0\0", 10) + DnsLabels(query.name) +
                             std::string("\0\1\0\1", 4));
        return query;
    }

    Script m_script;
    NetUtility_RemotePorts m_realPorts = g_tRemotePorts;
    uint16_t m_otherPort = 0;
    UniqueFd m_socket = BindToLoopback(SOCK_DGRAM, g_tRemotePorts.uiDNS);
    UniqueFd m_otherSocket = BindToLoopback(SOCK_DGRAM, m_otherPort);
    mutable std::mutex m_mutex;
    std::vector<DnsQuery> m_queries;
    ServiceThread m_thread{m_socket.Get(), [this] { ServeOne(); }};
};
