#include "stream_reader.h"

#include <poll.h>
#include <stdexcept>
#include <unistd.h>

StreamReader::StreamReader(FileDescriptor socket) : socket_(std::move(socket)), head_(takeUntil("\r\n\r\n")) {}

std::string StreamReader::readPart()
{
    const std::string head = takeUntil("\r\n\r\n");
    const std::string begin = "--myboundary\r\nContent-Type: image/jpeg\r\nContent-Length: ";
    if (!head.starts_with(begin))
        throw std::runtime_error("not the head of a part: " + head);
    std::string jpeg = take(std::stoul(head.substr(begin.size())));
    if (take(2) != "\r\n")
        throw std::runtime_error("a part that does not end where its length says");
    return jpeg;
}

bool StreamReader::ends()
{
    for (const auto limit = std::chrono::steady_clock::now() + TEST_TIME; std::chrono::steady_clock::now() < limit;)
        if (!fill())
            return true;
    return false;
}

bool StreamReader::fill()
{
    pollfd wait = {socket_.get(), POLLIN, 0};
    const std::chrono::milliseconds limit = TEST_TIME;
    if (poll(&wait, 1, static_cast<int>(limit.count())) <= 0)
        throw std::runtime_error("the stream has stopped");
    char bytes[65536];
    const ssize_t got = read(socket_.get(), bytes, sizeof bytes);
    if (got > 0)
        buffer_.append(bytes, static_cast<size_t>(got));
    return got > 0;
}

std::string StreamReader::takeUntil(const std::string &sign)
{
    while (buffer_.find(sign) == std::string::npos)
        if (!fill())
            throw std::runtime_error("the stream has ended: " + buffer_);
    return take(buffer_.find(sign) + sign.size());
}

std::string StreamReader::take(size_t length)
{
    while (buffer_.size() < length)
        if (!fill())
            throw std::runtime_error("the stream has ended");
    std::string taken = buffer_.substr(0, length);
    buffer_.erase(0, length);
    return taken;
}
