#include "camera/base/readable.h"

#include "camera/base/spawn.h"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace camera
{

namespace asio = boost::asio;
using Descriptor = asio::posix::stream_descriptor;

Readable::Readable(asio::io_context &io, FileDescriptor descriptor, Read read)
    : watched_(std::make_shared<Watched>(Watched{Descriptor(io, descriptor.release()), std::move(read)}))
{
    spawn(io, watch(watched_));
}

Readable::~Readable()
{
    boost::system::error_code ignored;
    watched_->descriptor.close(ignored);
}

asio::awaitable<void> Readable::watch(std::shared_ptr<Watched> watched)
{
    boost::system::error_code error;
    for (;;) {
        co_await watched->descriptor.async_wait(Descriptor::wait_read,
                                                asio::redirect_error(asio::use_awaitable, error));
        if (error || !watched->descriptor.is_open())
            co_return;
        watched->read(watched->descriptor.native_handle());
    }
}

} // namespace camera
