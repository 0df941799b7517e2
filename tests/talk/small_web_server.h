#pragma once

#include "tests/fakes/unique_fd.h"

#include <string>
#include <thread>
#include <vector>

/**
 * The least that a web server does between a client and the daemon: takes one TCP connection after the other on a
 * free port of loopback, reads the request's head to its last byte and no further, and hands the connection over.
 *
 * What it does not do: check anything, answer by itself unless told to, or serve two connections at once.
 */
class SmallWebServer
{
  public:
    /** Hands requests over to the daemon at `handOverPath`; with a `reply` it sends that instead, and closes. */
    explicit SmallWebServer(std::string handOverPath, std::string reply = {});
    ~SmallWebServer();
    SmallWebServer(const SmallWebServer &) = delete;
    SmallWebServer &operator=(const SmallWebServer &) = delete;

    /** "127.0.0.1:PORT" */
    [[nodiscard]] std::string Address() const;
    /** The heads of all requests so far; read it when nobody sends any more. */
    [[nodiscard]] const std::vector<std::string> &Heads() const { return m_heads; }

  private:
    void Run();
    void Serve(const UniqueFd &connection);

    std::string m_handOverPath;
    std::string m_reply;
    UniqueFd m_listener;
    UniqueFd m_stop;
    std::vector<std::string> m_heads;
    std::thread m_thread;
};
