#pragma once

#include "daemon/netutil/remote_ports.h"
#include "tests/fakes/dns_bytes.h"
#include "tests/fakes/service_thread.h"

#include <gtest/gtest.h>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>

/** The address of a port of loopback. */
[[nodiscard]] inline sockaddr_in loopbackAddress(uint16_t port)
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/** Binds a socket of this type to a free port of loopback and gives the port. */
[[nodiscard]] inline FileDescriptor bindToLoopback(int type, uint16_t &port)
{
    FileDescriptor bound(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    sockaddr_in address = loopbackAddress(0);
    socklen_t length = sizeof address;
    checked(bind(bound.get(), reinterpret_cast<sockaddr *>(&address), length), "bind to loopback");
    checked(getsockname(bound.get(), reinterpret_cast<sockaddr *>(&address), &length), "port of loopback");
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

    explicit FakeDnsServer(Script script) : script_(std::move(script)) {}
    explicit FakeDnsServer(DnsDatagrams each = {}) : script_([each](const std::string &) { return each; }) {}
    ~FakeDnsServer() { g_tRemotePorts = realPorts_; }
    FakeDnsServer(const FakeDnsServer &) = delete;
    FakeDnsServer &operator=(const FakeDnsServer &) = delete;

    /** Its address in network byte order. */
    [[nodiscard]] static in_addr_t address() { return htonl(INADDR_LOOPBACK); }
    [[nodiscard]] std::vector<DnsQuery> queries() const
    {
        const std::lock_guard lock(mutex_);
        return queries_;
    }

  private:
    void serveOne()
    {
        char buffer[1024] = {};
        sockaddr_in asker;
        socklen_t length = sizeof asker;
        auto *address = reinterpret_cast<sockaddr *>(&asker);
        const ssize_t received = recvfrom(socket_.get(), buffer, sizeof buffer - 1, 0, address, &length);
        if (received < 0)
            return;
        const auto identifier =
            static_cast<uint16_t>(static_cast<uint8_t>(buffer[0]) << 8 | static_cast<uint8_t>(buffer[1]));
        DnsQuery query = {identifier, ""};
        for (size_t at = 12; at < sizeof buffer && buffer[at] > 0; at += 1 + static_cast<size_t>(buffer[at]))
            query.name +=
                (query.name.empty() ? "" : ".") + std::string(buffer + at + 1, static_cast<size_t>(buffer[at]));
        EXPECT_EQ(std::string(buffer, static_cast<size_t>(received)), dnsQuestion(query.identifier, query.name));
        {
            const std::lock_guard lock(mutex_);
            queries_.push_back(query);
        }
        for (const DnsDatagram &datagram : script_(query.name)) {
            const int from = datagram.fromOtherPort ? otherSocket_.get() : socket_.get();
            std::string bytes = datagram.message.bytes(identifier ^ datagram.wrongBits, query.name);
            bytes.resize(datagram.size == SIZE_MAX ? bytes.size() : datagram.size, '\xC0');
            sendto(from, bytes.data(), bytes.size(), MSG_NOSIGNAL, address, length);
        }
    }

    Script script_;
    NetUtility_RemotePorts realPorts_ = g_tRemotePorts;
    uint16_t otherPort_ = 0;
    FileDescriptor socket_ = bindToLoopback(SOCK_DGRAM, g_tRemotePorts.uiDNS);
    FileDescriptor otherSocket_ = bindToLoopback(SOCK_DGRAM, otherPort_);
    mutable std::mutex mutex_;
    std::vector<DnsQuery> queries_;
    ServiceThread thread_{socket_.get(), [this] { serveOne(); }};
};
