#pragma once

#include "camera/base/worker.h"
#include "camera/picture/picture.h"
#include "camera/picture/picture_source.h"

#include <boost/asio/io_context.hpp>
#include <functional>

namespace camera
{

/** Draws and encodes pictures on a thread of its own, one after the other. */
class Painter
{
  public:
    /** Takes the JPEG on the camera's thread; null when it could not be made. */
    using Done = std::function<void(const JpegPicture &)>;

    explicit Painter(boost::asio::io_context &io) : worker_(io, Worker::AtTheEnd::Drop) {}

    /** Returns at once. False, and `done` is not called, when too many pictures wait already. */
    bool paint(PictureContent content, int jpegQuality, Done done);

  private:
    Worker worker_;
};

} // namespace camera
