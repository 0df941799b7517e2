#include "camera/web/hand_over.h"

#include "platform/fdcgi.h"

#include <algorithm>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <cerrno>
#include <chrono>
#include <sys/socket.h>

namespace camera
{

namespace asio = boost::asio;
using Descriptor = asio::posix::stream_descriptor;

namespace
{

constexpr std::chrono::seconds MAX_QUEUE_WAIT(30);

} // namespace

HandOver::HandOver(asio::io_context &io, std::string socketPath) : io_(io), socketPath_(std::move(socketPath)) {}

asio::awaitable<bool> HandOver::deliver(const HttpHead &head, const std::string &body, const FileDescriptor &client)
{
    Request request{head, body, client.get(), asio::steady_timer(io_, MAX_QUEUE_WAIT)};
    waiting_.push_back(&request);
    if (!waitsForRoom_)
        deliverWaiting();
    if (request.outcome == Outcome::Waiting) {
        boost::system::error_code ignored;
        co_await request.done.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    if (request.outcome == Outcome::Waiting)
        std::erase(waiting_, &request);
    co_return request.outcome == Outcome::Delivered;
}

void HandOver::deliverWaiting()
{
    while (!waiting_.empty()) {
        Request &request = *waiting_.front();
        const Outcome outcome = tryDeliver(request);
        if (outcome == Outcome::Waiting)
            return waitForRoom();
        request.outcome = outcome;
        request.done.cancel();
        waiting_.pop_front();
    }
}

void HandOver::waitForRoom()
{
    waitsForRoom_ = true;
    // A daemon that dies wakes this too: the next try then finds nobody.
    daemon_->async_wait(Descriptor::wait_write, [this](const boost::system::error_code &error) {
        if (error == asio::error::operation_aborted)
            return; // the camera is stopped
        waitsForRoom_ = false;
        deliverWaiting();
    });
}

HandOver::Outcome HandOver::tryDeliver(const Request &request)
{
    const std::string contentLength = std::to_string(request.head.contentLength);
    const FDCGI_Request message = {.method = request.head.method,
                                   .url = request.head.path,
                                   .query = request.head.query,
                                   .contentLength = contentLength,
                                   .body = request.body};
    // The second try is for a daemon that has taken the place of the one that this socket is connected to.
    for (int attempt = 0; attempt < 2 && (daemon_ || connect()); ++attempt) {
        if (FDCGI_send(daemon_->native_handle(), message, request.client, MSG_DONTWAIT) == 0)
            return Outcome::Delivered;
        if (errno == EAGAIN || errno == ENOBUFS)
            return Outcome::Waiting;
        daemon_.reset();
    }
    return Outcome::NoDaemon;
}

bool HandOver::connect()
{
    FileDescriptor socket(FDCGI_client_socket(socketPath_.c_str()));
    if (!socket.valid())
        return false;
    daemon_.emplace(io_, socket.release());
    return true;
}

} // namespace camera
