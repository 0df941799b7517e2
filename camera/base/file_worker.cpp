#include "camera/base/file_worker.h"

#include <boost/asio/post.hpp>
#include <exception>

namespace camera
{

namespace asio = boost::asio;

void FileWorker::post(Work work, Done done)
{
    ++waiting_;
    asio::post(thread_, [this, work = std::move(work), done = std::move(done)]() mutable {
        std::string error;
        try {
            work();
        } catch (const std::exception &exception) {
            error = exception.what();
        }
        asio::post(io_, [this, done = std::move(done), error = std::move(error)] {
            --waiting_;
            done(error);
        });
    });
}

} // namespace camera
