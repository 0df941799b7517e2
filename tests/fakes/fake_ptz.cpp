#include "tests/fakes/fake_ptz.h"

#include "platform/unix_socket.h"

#include <string_view>
#include <sys/socket.h>

static constexpr std::string_view OWN_LINE = "\n";

FakePtz::FakePtz(const std::string &path)
    : m_path(path), m_ownPath(path + ".own"), m_endpoint(m_ownPath, [this](int c) { Serve(c); })
{
    Heal();
}

std::vector<std::string> FakePtz::Take()
{
    Wait();
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_lines, {});
}

void FakePtz::Wait() const
{
    // Connections are served in turn, so when one of our own has been served, all before it have been.
    const UniqueFd socket(UnixSocket_Open(SOCK_STREAM));
    Checked(UnixSocket_Connect(socket.Get(), m_ownPath.c_str()), m_ownPath);
    send(socket.Get(), OWN_LINE.data(), OWN_LINE.size(), MSG_NOSIGNAL);
    shutdown(socket.Get(), SHUT_WR);
    char byte = 0;
    while (recv(socket.Get(), &byte, 1, 0) > 0) {
    }
}

void FakePtz::Heal()
{
    if (link(m_ownPath.c_str(), m_path.c_str()) != 0 && errno != EEXIST)
        Checked(-1, m_path);
}

void FakePtz::Serve(int connection)
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
