#pragma once

#include "tests/fakes/unix_endpoint.h"

#include <atomic>
#include <mutex>
#include <string>
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
    explicit FakePtz(const std::string &path);
    ~FakePtz() { Refuse(); }
    FakePtz(const FakePtz &) = delete;
    FakePtz &operator=(const FakePtz &) = delete;

    /** What each connection since the last call has sent, in order; those on their way are waited for. */
    std::vector<std::string> Take();
    /** Waits until every connection made so far has ended. */
    void Wait() const;

    /** Later connections are refused; those that are made already are served. */
    void Refuse() { unlink(m_path.c_str()); }
    /** The nth connection from now is closed unread and noted as "(hung up)". */
    void HangUp(int nth) { m_hangUpIn = nth; }
    /** Connections are taken again. */
    void Heal();

  private:
    void Serve(int connection);

    std::string m_path;
    std::string m_ownPath; ///< the same socket, which stays when the daemon's path goes
    std::atomic<int> m_hangUpIn = 0;
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
    UnixEndpoint m_endpoint;
};
