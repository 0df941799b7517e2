#pragma once

#include "camera/base/awaitable.h"
#include "camera/base/file_descriptor.h"
#include "camera/http/http_message.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <optional>
#include <string>

namespace camera
{

/**
 * Hands requests over to the daemon, each with its client's socket, in the order in which they came. A daemon whose
 * queue is full makes them wait.
 */
class HandOver
{
  public:
    /** `socketPath`: where the daemon takes requests, whether it is there or not. */
    HandOver(boost::asio::io_context &io, std::string socketPath);

    /**
     * Delivers a request; true when the daemon has it. False when no daemon is there, or when it has taken nothing
     * for 30 seconds. The socket stays the caller's, who closes his copy when the daemon has its own.
     */
    boost::asio::awaitable<bool> deliver(const HttpHead &head, const std::string &body,
                                         const FileDescriptor &client);

  private:
    enum class Outcome { Waiting, Delivered, NoDaemon };

    struct Request {
        const HttpHead &head;
        const std::string &body;
        int client;
        boost::asio::steady_timer done; ///< cancelled when the outcome is known
        Outcome outcome = Outcome::Waiting;
    };

    void deliverWaiting();
    void waitForRoom();
    [[nodiscard]] Outcome tryDeliver(const Request &request);
    [[nodiscard]] bool connect();

    boost::asio::io_context &io_;
    std::string socketPath_;
    std::optional<boost::asio::posix::stream_descriptor> daemon_;
    std::deque<Request *> waiting_;
    bool waitsForRoom_ = false;
};

} // namespace camera
