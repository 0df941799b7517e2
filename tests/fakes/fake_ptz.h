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
        : path_(path), ownPath_(path + ".own"), endpoint_(ownPath_, [this](int c) { serve(c); })
    {
        heal();
    }
    ~FakePtz() { refuse(); }
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
    void wait() const
    {
        // Connections are served in turn, so when one of our own has been served, all before it have been.
        const FileDescriptor socket(UnixSocket_Open(SOCK_STREAM));
        checked(UnixSocket_Connect(socket.get(), ownPath_.c_str()), ownPath_);
        send(socket.get(), OWN_LINE.data(), OWN_LINE.size(), MSG_NOSIGNAL);
        shutdown(socket.get(), SHUT_WR);
        char byte = 0;
        while (recv(socket.get(), &byte, 1, 0) > 0)
            continue;
    }

    /** Later connections are refused; those that are made already are served. */
    void refuse() { unlink(path_.c_str()); }
    /** The nth connection from now is closed unread and noted as "(hung up)". */
    void hangUp(int nth) { hangUpIn_ = nth; }
    /** Connections are taken again. */
    void heal()
    {
        refuse();
        checked(link(ownPath_.c_str(), path_.c_str()), path_);
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
        if (line != OWN_LINE)
            lines_.push_back(line);
    }

    static constexpr std::string_view OWN_LINE = "\n";
    std::string path_;
    std::string ownPath_; ///< the same socket, which stays when the daemon's path goes
    std::atomic<int> hangUpIn_ = 0;
    std::mutex mutex_;
    std::vector<std::string> lines_;
    UnixEndpoint endpoint_;
};
