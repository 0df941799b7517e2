#pragma once

#include "tests/fakes/unique_fd.h"

#include <string>
#include <vector>

/**
 * The audio decoder: a bound datagram socket. The test takes its messages one by one.
 *
 * What it does not do: read by itself. A sender blocks once a few messages (net.unix.max_dgram_qlen) wait.
 */
class FakeDecoder
{
  public:
    /** Listens at `path`, the resolved place of "/var/run/aenc/s0/decodesck_0"; or is not there until Start. */
    explicit FakeDecoder(std::string path, bool running = true) : m_path(std::move(path))
    {
        if (running)
            Start();
    }
    ~FakeDecoder() { Vanish(); }
    FakeDecoder(const FakeDecoder &) = delete;
    FakeDecoder &operator=(const FakeDecoder &) = delete;

    /** Binds the path, as a decoder does that was started again. */
    void Start();
    /** Closes the socket and removes its file; messages not taken are lost. */
    void Vanish();

    /** Waits for the next message; fails the test when none comes. */
    std::string Next();
    /** What has come already, without waiting. */
    std::vector<std::string> Messages();

    /** Takes no message from anybody until Unblock. */
    void Block();
    void Unblock();

  private:
    bool Receive(std::string &message, bool wait);

    std::string m_path;
    UniqueFd m_socket;
    std::vector<UniqueFd> m_fillers;
};
