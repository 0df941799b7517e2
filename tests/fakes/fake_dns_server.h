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

/** A query as it came, and what a fake server sends for it. */
struct DnsQuery {
    uint16_t identifier;
    std::string name;
};
struct DnsDatagram {
    DnsMessage message = {};
    uint16_t wrongBits = 0; ///< of the identifier: somebody guesses it
    size_t size = SIZE_MAX; ///< of the datagram, cut or filled up; SIZE_MAX: the message's own
    bool fromOtherPort = false;
};
using DnsDatagrams = std::vector<DnsDatagram>;

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
    /** Called on the server's thread for each query; the datagrams go to the asker in this order. */
    using Script = std::function<DnsDatagrams(const std::string &name)>;

    explicit FakeDnsServer(Script script) : m_script(std::move(script)) {}
    explicit FakeDnsServer(DnsDatagrams each = {}) : m_script([each](const std::string &) { return each; }) {}
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
        char buffer[1024] = {};
        sockaddr_in asker;
        socklen_t length = sizeof asker;
        auto *address = reinterpret_cast<sockaddr *>(&asker);
        const ssize_t received = recvfrom(m_socket.Get(), buffer, sizeof buffer - 1, 0, address, &length);
        if (received < 0)
            return;
        const auto identifier =
            static_cast<uint16_t>(static_cast<uint8_t>(buffer[0]) << 8 | static_cast<uint8_t>(buffer[1]));
        DnsQuery query = {identifier, ""};
        for (size_t at = 12; at < sizeof buffer && buffer[at] > 0; at += 1 + static_cast<size_t>(buffer[at]))
            query.name +=
                (query.name.empty() ? "" : ".") + std::string(buffer + at + 1, static_cast<size_t>(buffer[at]));
        EXPECT_EQ(std::string(buffer, static_cast<size_t>(received)), DnsQuestion(query.identifier, query.name));
        {
            const std::lock_guard lock(m_mutex);
            m_queries.push_back(query);
        }
        for (const DnsDatagram &datagram : m_script(query.name)) {
            const int from = datagram.fromOtherPort ? m_otherSocket.Get() : m_socket.Get();
            std::string bytes = datagram.message.Bytes(identifier ^ datagram.wrongBits, query.name);
            bytes.resize(datagram.size == SIZE_MAX ? bytes.size() : datagram.size, '\xC0');
            sendto(from, bytes.data(), bytes.size(), MSG_NOSIGNAL, address, length);
        }
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
