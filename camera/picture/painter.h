#pragma once

#include "camera/picture/picture.h"
#include "camera/picture/picture_source.h"

#include <boost/asio/io_context.hpp>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>

namespace camera
{

/** Draws and encodes pictures on a thread of its own, one after the other. */
class Painter
{
  public:
    /** Takes the JPEG on the camera's thread; null when it could not be made. */
    using Done = std::function<void(const JpegPicture &)>;

    explicit Painter(boost::asio::io_context &io);
    ~Painter();
    Painter(const Painter &) = delete;
    Painter &operator=(const Painter &) = delete;

    /** Returns at once. False, and `done` is not called, when too many pictures wait already. */
    bool paint(PictureContent content, int jpegQuality, Done done);

  private:
    struct Job {
        PictureContent content;
        int jpegQuality;
        Done done;
    };

    void run(const std::stop_token &stop);

    boost::asio::io_context &io_;
    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::deque<Job> jobs_;
    std::jthread thread_; ///< the last member: it uses all others
};

} // namespace camera
