#include "camera/neighbours/streams/stream_client.h"

#include <cerrno>
#include <string_view>
#include <sys/socket.h>

namespace camera
{

namespace asio = boost::asio;
using Descriptor = asio::posix::stream_descriptor;

namespace
{

constexpr std::string_view HEAD = "HTTP/1.1 200 OK\r\n"
                                  "Cache-Control: no-cache, no-store, must-revalidate\r\n"
                                  "Pragma: no-cache\r\n"
                                  "Connection: close\r\n"
                                  "Content-Type: multipart/x-mixed-replace; boundary=myboundary\r\n"
                                  "\r\n";

/** A slow client's pictures are as old as what waits in its socket; a large buffer would make that many seconds. */
constexpr int SEND_BUFFER = 128 * 1024;

} // namespace

JpegPicture makeStreamPart(const std::string &jpeg)
{
    return std::make_shared<const std::string>("--myboundary\r\nContent-Type: image/jpeg\r\nContent-Length: " +
                                               std::to_string(jpeg.size()) + "\r\n\r\n" + jpeg + "\r\n");
}

std::shared_ptr<StreamClient> StreamClient::start(asio::io_context &io, FileDescriptor socket)
{
    std::shared_ptr<StreamClient> client(new StreamClient(io, std::move(socket)));
    client->watchPeer();
    client->write();
    return client;
}

StreamClient::StreamClient(asio::io_context &io, FileDescriptor socket)
    : socket_(io, socket.release()), current_(std::make_shared<const std::string>(HEAD)),
      lastProgress_(Clock::now())
{
    setsockopt(socket_.native_handle(), SOL_SOCKET, SO_SNDBUF, &SEND_BUFFER, sizeof SEND_BUFFER);
}

void StreamClient::offer(const JpegPicture &part)
{
    if (current_) {
        droppedParts_ += next_ ? 1 : 0;
        next_ = part;
        return;
    }
    current_ = part;
    lastProgress_ = Clock::now();
    write();
}

bool StreamClient::ended(Clock::time_point now)
{
    if (current_ && now - lastProgress_ > PATIENCE)
        end();
    return !socket_.is_open();
}

void StreamClient::end()
{
    boost::system::error_code ignored;
    socket_.close(ignored);
}

void StreamClient::write()
{
    while (current_ && socket_.is_open()) {
        const ssize_t written = send(socket_.native_handle(), current_->data() + written_,
                                     current_->size() - written_, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0 && errno == EAGAIN)
            return waitForRoom();
        if (written < 0)
            return end();
        lastProgress_ = Clock::now();
        written_ += static_cast<size_t>(written);
        if (written_ < current_->size())
            continue;
        sentParts_ += isHead_ ? 0 : 1;
        isHead_ = false;
        written_ = 0;
        current_ = std::exchange(next_, nullptr);
    }
}

void StreamClient::waitForRoom()
{
    socket_.async_wait(Descriptor::wait_write, [self = shared_from_this()](const boost::system::error_code &error) {
        if (!error)
            self->write();
    });
}

/**
 * Takes what the client sends, which nobody wants. One that has only closed its sending side still gets pictures;
 * one that has gone altogether is noticed by the next write.
 */
void StreamClient::watchPeer()
{
    socket_.async_wait(Descriptor::wait_read, [self = shared_from_this()](const boost::system::error_code &error) {
        if (error)
            return;
        char unwanted[4096];
        const ssize_t got = recv(self->socket_.native_handle(), unwanted, sizeof unwanted, MSG_DONTWAIT);
        if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR)))
            self->watchPeer();
        else if (got < 0)
            self->end();
    });
}

} // namespace camera
