#include "camera/picture/painter.h"

#include "camera/picture/jpeg.h"

#include <boost/asio/post.hpp>
#include <exception>

namespace camera
{

namespace
{

constexpr size_t MAX_JOBS = 64;

JpegPicture paintNow(const PictureContent &content, int jpegQuality)
{
    try {
        return std::make_shared<const std::string>(encodeJpeg(drawPicture(content), jpegQuality));
    } catch (const std::exception &) {
        return nullptr;
    }
}

} // namespace

Painter::Painter(boost::asio::io_context &io) : io_(io), thread_([this](const std::stop_token &stop) { run(stop); })
{
}

Painter::~Painter()
{
    thread_.request_stop();
    thread_.join();
}

bool Painter::paint(PictureContent content, int jpegQuality, Done done)
{
    {
        const std::lock_guard lock(mutex_);
        if (jobs_.size() == MAX_JOBS)
            return false;
        jobs_.push_back({std::move(content), jpegQuality, std::move(done)});
    }
    changed_.notify_one();
    return true;
}

void Painter::run(const std::stop_token &stop)
{
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, stop, [this] { return !jobs_.empty(); }) && !stop.stop_requested()) {
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        JpegPicture picture = paintNow(job.content, job.jpegQuality);
        // What the caller gave must end on his thread too, so it goes back whole.
        boost::asio::post(io_, [done = std::move(job.done), picture = std::move(picture)] { done(picture); });
        lock.lock();
    }
}

} // namespace camera
