#pragma once

#include "tests/fakes/unix_endpoint.h"

#include <gtest/gtest.h>
#include <mutex>
#include <vector>

/**
 * The PTZ daemon's end of its command channel, on a thread: writes down what every connection sends.
 *
 * What it does not do: understand a command, move anything, or answer. What the test has not taken at the end fails
 * it.
 */
class FakePtz
{
  public:
    /** Listens at `path`, the resolved place of "/tmp/ptzctrl". */
    explicit FakePtz(const std::string &path) : endpoint_(path, [this](int c) { serve(c); }) {}
    ~FakePtz() { EXPECT_EQ(take(), std::vector<std::string>{}); }
    FakePtz(const FakePtz &) = delete;
    FakePtz &operator=(const FakePtz &) = delete;

    /** What each connection since the last call has sent, in order; those on their way are waited for. */
    std::vector<std::string> take()
    {
        wait();
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }
    /** Waits until every connection made so far has ended. */
    void wait() const { endpoint_.waitUntilIdle(); }

    /** Later connections are refused; those that are made already are served. */
    void refuse() { endpoint_.hide(); }
    /** The nth connection from now is closed unread and noted as "(hung up)". */
    void hangUp(int nth) { hangUpIn_ = nth; }
    /** Connections are taken again. */
    void heal()
    {
        wait();
        endpoint_.close();
        endpoint_.open();
    }

  private:
    void serve(int connection)
    {
        const bool hangUp = hangUpIn_ > 0 && --hangUpIn_ == 0;
        std::string line = hangUp ? "(hung up)" : "";
        char bytes[4096];
        for (ssize_t got = 0; !hangUp && (got = recv(connection, bytes, sizeof bytes, 0)) > 0;)
            line.append(bytes, static_cast<size_t>(got));
        const std::lock_guard lock(mutex_);
        lines_.push_back(line);
    }

    std::atomic<int> hangUpIn_ = 0;
    std::mutex mutex_;
    std::vector<std::string> lines_;
    UnixEndpoint endpoint_;
};
