#pragma once

#include "camera/base/awaitable.h"
#include "camera/base/file_descriptor.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <functional>
#include <memory>

namespace camera
{

/**
 * Owns a descriptor and has it read: whenever there is something to read, `read` is called with it, on the camera's
 * thread, and again as long as something is left. Nothing is called any more once the object is destroyed.
 */
class Readable
{
  public:
    using Read = std::function<void(int descriptor)>;

    Readable(boost::asio::io_context &io, FileDescriptor descriptor, Read read);
    ~Readable();
    Readable(const Readable &) = delete;
    Readable &operator=(const Readable &) = delete;

    [[nodiscard]] int descriptor() const { return watched_->descriptor.native_handle(); }

  private:
    /** Shared with the coroutine, which may run on for a moment when the object is gone already. */
    struct Watched {
        boost::asio::posix::stream_descriptor descriptor;
        Read read;
    };
    static boost::asio::awaitable<void> watch(std::shared_ptr<Watched> watched);

    std::shared_ptr<Watched> watched_;
};

} // namespace camera
