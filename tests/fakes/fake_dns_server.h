#pragma once

#include "netutil/remote_ports.h"
#include "tests/fakes/dns_bytes.h"
#include "tests/fakes/service_thread.h"

#include <mutex>
#include <netinet/in.h>
#include <vector>

/** Binds a socket of this type to a free port of loopback and gives the port. */
[[nodiscard]] UniqueFd BindToLoopback(int type, uint16_t &port);
/** The address of such a port. */
[[nodiscard]] sockaddr_in LoopbackAddress(uint16_t port);

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
    [[nodiscard]] std::vector<DnsQuery> Queries() const;

  private:
    void ServeOne();

    Script m_script;
    NetUtility_RemotePorts m_realPorts = g_tRemotePorts;
    uint16_t m_otherPort = 0;
    UniqueFd m_socket = BindToLoopback(SOCK_DGRAM, g_tRemotePorts.uiDNS);
    UniqueFd m_otherSocket = BindToLoopback(SOCK_DGRAM, m_otherPort);
    mutable std::mutex m_mutex;
    std::vector<DnsQuery> m_queries;
    ServiceThread m_thread{m_socket.Get(), [this] { ServeOne(); }};
};
