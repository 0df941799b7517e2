#pragma once

#include "tests/fakes/test_support.h"

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
    /** Listens at `path`, the resolved place of "/var/run/aenc/s0/decodesck_0"; or is not there until start(). */
    explicit FakeDecoder(std::string path, bool running = true) : path_(std::move(path))
    {
        if (running)
            start();
    }
    ~FakeDecoder() { vanish(); }
    FakeDecoder(const FakeDecoder &) = delete;
    FakeDecoder &operator=(const FakeDecoder &) = delete;

    /** Binds the path, as a decoder does that was started again. */
    void start();
    /** Closes the socket and removes its file; messages not taken are lost. */
    void vanish();

    /** Waits for the next message; fails the test when none comes. */
    std::string next();
    /** What has come already, without waiting. */
    std::vector<std::string> messages();

    /** Takes no message from anybody until unblock(). */
    void block();
    void unblock();

  private:
    bool receive(std::string &message, bool wait);

    std::string path_;
    FileDescriptor socket_;
    std::vector<FileDescriptor> fillers_;
};
