#pragma once

#include "netutil/remote_ports.h"
#include "tests/fakes/dns_bytes.h"
#include "tests/fakes/unique_fd.h"

#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <string>
#include <thread>
#include <vector>

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

    explicit FakeDnsServer(Script script);
    ~FakeDnsServer();
    FakeDnsServer(const FakeDnsServer &) = delete;
    FakeDnsServer &operator=(const FakeDnsServer &) = delete;

    /** Its address in network byte order. */
    [[nodiscard]] static in_addr_t Address() { return htonl(INADDR_LOOPBACK); }
    [[nodiscard]] std::vector<DnsQuery> Queries() const;

  private:
    void Run();

    Script m_script;
    NetUtility_RemotePorts m_realPorts = g_tRemotePorts;
    UniqueFd m_socket;
    UniqueFd m_otherSocket;
    UniqueFd m_stop;
    mutable std::mutex m_mutex;
    std::vector<DnsQuery> m_queries;
    std::thread m_thread;
};

/** Binds a socket of this type to a free port of loopback and gives the port. */
[[nodiscard]] UniqueFd BindToLoopback(int type, uint16_t &port);
