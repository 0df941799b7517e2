#pragma once

#include "daemon/netutil/remote_ports.h"
#include "tests/fakes/service_thread.h"

#include <algorithm>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <vector>

/** Binds a socket of this type to a free port of loopback and gives the port. */
[[nodiscard]] inline FileDescriptor bindToLoopback(int type, uint16_t &port)
{
    FileDescriptor bound(socket(AF_INET, type | SOCK_CLOEXEC, 0));
    sockaddr_in address = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t length = sizeof address;
    checked(bind(bound.get(), reinterpret_cast<sockaddr *>(&address), length), "bind to loopback");
    checked(getsockname(bound.get(), reinterpret_cast<sockaddr *>(&address), &length), "port of loopback");
    port = ntohs(address.sin_port);
    return bound;
}

inline std::string dns16(size_t value)
{
    return {static_cast<char>(value >> 8), static_cast<char>(value)};
}

/** A DNS message (RFC 1035), written independently of the daemon's own. */
struct DnsMessage {
    std::string records; ///< in wire format
    int answers = 1;
    uint16_t flags = 0x8180; ///< an answer, recursion desired and available, response code 0
    uint16_t questions = 1;
    uint16_t wrongBits = 0; ///< of the identifier

    [[nodiscard]] std::string bytes(std::string identifier, const std::string &question) const
    {
        identifier[0] = static_cast<char>(identifier[0] ^ (wrongBits >> 8));
        identifier[1] = static_cast<char>(identifier[1] ^ (wrongBits & 0xFF));
        return identifier + dns16(flags) + dns16(questions) + dns16(static_cast<size_t>(answers)) + dns16(0) +
               dns16(0) + question + records;
    }
};

/**
 * A DNS server on loopback, on a thread, at a port that the kernel chose. As long as it lives, it is the server
 * that the resolver of this process speaks to. It knows no names and sends what the test made up.
 */
class FakeDnsServer
{
  public:
    using Messages = std::vector<DnsMessage>;

    /** The messages for the first query, for the second ...; further queries are answered like the last one. */
    explicit FakeDnsServer(std::vector<Messages> answers) : answers_(std::move(answers)) {}
    ~FakeDnsServer() { g_tRemotePorts = realPorts_; }
    FakeDnsServer(const FakeDnsServer &) = delete;
    FakeDnsServer &operator=(const FakeDnsServer &) = delete;

    [[nodiscard]] std::vector<std::string> queries() const
    {
        const std::lock_guard lock(mutex_);
        return queries_;
    }

  private:
    void serveOne()
    {
        char buffer[1024];
        sockaddr asker;
        socklen_t length = sizeof asker;
        const ssize_t received = recvfrom(socket_.get(), buffer, sizeof buffer, 0, &asker, &length);
        if (received < 12)
            return;
        const std::string query(buffer, static_cast<size_t>(received));
        const std::lock_guard lock(mutex_);
        queries_.push_back(query);
        for (const DnsMessage &message : answers_[std::min(queries_.size(), answers_.size()) - 1]) {
            const std::string bytes = message.bytes(query.substr(0, 2), query.substr(12));
            sendto(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL, &asker, length);
        }
    }

    std::vector<Messages> answers_;
    NetUtility_RemotePorts realPorts_ = g_tRemotePorts;
    FileDescriptor socket_ = bindToLoopback(SOCK_DGRAM, g_tRemotePorts.uiDNS);
    mutable std::mutex mutex_;
    std::vector<std::string> queries_;
    ServiceThread thread_{socket_.get(), [this] { serveOne(); }};
};
