#include "camera/base/worker.h"

#include <boost/asio/post.hpp>
#include <exception>

namespace camera
{

namespace asio = boost::asio;

Worker::~Worker()
{
    if (atTheEnd_ == AtTheEnd::Drop)
        thread_.stop();
    thread_.join();
}

void Worker::post(Work work, Done done)
{
    ++waiting_;
    asio::post(thread_, [this, work = std::move(work), done = std::move(done)]() mutable {
        std::string error;
        try {
            work();
        } catch (const std::exception &exception) {
            error = exception.what();
        }
        // What the caller gave must end on his thread too, so it goes back whole.
        asio::post(io_, [this, work = std::move(work), done = std::move(done), error = std::move(error)] {
            --waiting_;
            done(error);
        });
    });
}

} // namespace camera
