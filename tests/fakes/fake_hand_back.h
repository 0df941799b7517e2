#pragma once

#include <string>

/**
 * The web server's end of the socket hand-back: takes what the daemon sends with a client's socket.
 *
 * What it does not do: serve the client. The passed socket is answered with a few bytes and closed, which shows
 * that it is the client's.
 */
class FakeHandBack
{
  public:
    /** Binds `path`, the resolved place of "/var/run/http/fdipc1". */
    explicit FakeHandBack(std::string path);
    ~FakeHandBack();
    FakeHandBack(const FakeHandBack &) = delete;
    FakeHandBack &operator=(const FakeHandBack &) = delete;

    /** Waits for the next hand-back, sends `greeting` on its socket and closes it. Returns the text that came. */
    std::string Take(const std::string &greeting);
    /** As a restarted web server does: a new socket at the same path. */
    void BindAnew();

  private:
    std::string m_path;
    int m_socket = -1;
};
