#pragma once

#include "tests/fakes/unix_endpoint.h"

#include <mutex>
#include <vector>

/**
 * The PTZ daemon's end of its command channel, on a thread: writes down what every connection sends.
 *
 * What it does not do: understand a command, move anything, or answer.
 */
class FakePtz
{
  public:
    /** Listens at `path`, the resolved place of "/tmp/ptzctrl". */
    explicit FakePtz(const std::string &path)
        : m_path(path), m_ownPath(path + ".own"), m_endpoint(m_ownPath, [this](int c) { Serve(c); })
    {
        Heal();
    }
    ~FakePtz() { Refuse(); }
    FakePtz(const FakePtz &) = delete;
    FakePtz &operator=(const FakePtz &) = delete;

    /** What each connection since the last call has sent, in order; those on their way are waited for. */
    std::vector<std::string> Take()
    {
        Wait();
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_lines, {});
    }
    /** Waits until every connection made so far has ended. */
    void Wait() const
    {
        // Connections are served in turn, so when one of our own has been served, all before it have been.
        const UniqueFd socket(UnixSocket_Open(SOCK_STREAM));
        Checked(UnixSocket_Connect(socket.Get(), m_ownPath.c_str()), m_ownPath);
        send(socket.Get(), OWN_LINE.data(), OWN_LINE.size(), MSG_NOSIGNAL);
        shutdown(socket.Get(), SHUT_WR);
        char byte = 0;
        while (recv(socket.Get(), &byte, 1, 0) > 0)
            continue;
    }

    /** Later connections are refused; those that are made already are served. */
    void Refuse() { unlink(m_path.c_str()); }
    /** The nth connection from now is closed unread and noted as "(hung up)". */
    void HangUp(int nth) { m_hangUpIn = nth; }
    /** Connections are taken again. */
    void Heal()
    {
        Refuse();
        Checked(link(m_ownPath.c_str(), m_path.c_str()), m_path);
    }

  private:
    void Serve(int connection)
    {
        const bool hangUp = m_hangUpIn > 0 && --m_hangUpIn == 0;
        std::string line = hangUp ? "(hung up)" : "";
        char bytes[4096];
        for (ssize_t got = 0; !hangUp && (got = recv(connection, bytes, sizeof bytes, 0)) > 0;)
            line.append(bytes, static_cast<size_t>(got));
        const std::lock_guard lock(m_mutex);
        if (line != OWN_LINE)
            m_lines.push_back(line);
    }

    static constexpr std::string_view OWN_LINE = "\n";
    std::string m_path;
    std::string m_ownPath; ///< the same socket, which stays when the daemon's path goes
    std::atomic<int> m_hangUpIn = 0;
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
    UnixEndpoint m_endpoint;
};
