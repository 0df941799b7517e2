#pragma once

#include "camera/base/file_descriptor.h"
#include "camera/picture/picture_source.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace camera
{

/**
 * One client of a server push. It is sent whole parts, as many as it takes: while it is still at one, only the
 * newest of those that follow is kept for it. Nothing here waits.
 */
class StreamClient : public std::enable_shared_from_this<StreamClient>
{
  public:
    /** A client that takes nothing for so long is left. */
    static constexpr std::chrono::seconds PATIENCE{30};

    /** Begins with the reply's head. */
    static std::shared_ptr<StreamClient> start(boost::asio::io_context &io, FileDescriptor socket);

    /** Sends a part, now or when there is room. */
    void offer(const JpegPicture &part);

    using Clock = std::chrono::steady_clock;

    /** Whether the client has gone, or has taken nothing for so long by `now` that it was left. */
    [[nodiscard]] bool ended(Clock::time_point now = Clock::now());
    void end();

    [[nodiscard]] std::uint64_t sent() const { return sentParts_; }
    [[nodiscard]] std::uint64_t dropped() const { return droppedParts_; }

  private:
    StreamClient(boost::asio::io_context &io, FileDescriptor socket);

    void write();
    void waitForRoom();
    void watchPeer();

    boost::asio::posix::stream_descriptor socket_;
    JpegPicture current_;
    JpegPicture next_;
    size_t written_ = 0; ///< of the current part
    bool isHead_ = true;
    std::uint64_t sentParts_ = 0;
    std::uint64_t droppedParts_ = 0;
    Clock::time_point lastProgress_;
};

/** A JPEG as a part of the stream. */
[[nodiscard]] JpegPicture makeStreamPart(const std::string &jpeg);

} // namespace camera
