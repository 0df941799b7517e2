#pragma once

#include "platform/fdipc.h"
#include "tests/fakes/test_support.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

/**
 * The web server's end of the socket hand-back: takes what the daemon sends with a client's socket.
 *
 * What it does not do: serve the client. The passed socket is answered with a few bytes and closed, which shows
 * that it is the client's. What the test has not taken at the end fails it.
 */
class FakeHandBack
{
  public:
    /** Binds `path`, the resolved place of "/var/run/http/fdipc1". */
    explicit FakeHandBack(std::string path) : path_(std::move(path)) { bindAnew(); }
    ~FakeHandBack()
    {
        pollfd waiting = {socket_.get(), POLLIN, 0};
        EXPECT_EQ(poll(&waiting, 1, 0), 0);
    }
    FakeHandBack(const FakeHandBack &) = delete;
    FakeHandBack &operator=(const FakeHandBack &) = delete;

    /** As a restarted web server does: a new socket at the same path. */
    void bindAnew() { socket_.reset(checked(fdipc_server_socket(path_.c_str()), path_)); }
    /** Nobody has the path bound any more. */
    void close() { socket_.reset(); }

    /** Waits for the next hand-back, sends `greeting` on its socket and closes it. Returns the text that came. */
    std::string take(const std::string &greeting)
    {
        pollfd waiting = {socket_.get(), POLLIN, 0};
        char text[4096];
        int passed = -1;
        const bool came = poll(&waiting, 1, static_cast<int>(TEST_DEADLINE.count())) == 1;
        const long length = came ? fdipc_receive(socket_.get(), text, &passed) : -1;
        const FileDescriptor client(passed);
        if (length < 0) {
            ADD_FAILURE() << (came ? "a hand-back without exactly one descriptor" : "no socket was handed back");
            return {};
        }
        EXPECT_EQ(send(passed, greeting.data(), greeting.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(greeting.size()));
        return {text, static_cast<size_t>(length)};
    }

  private:
    std::string path_;
    FileDescriptor socket_;
};
