#pragma once

#include <functional>
#include <memory>
#include <string>

namespace camera
{

/** A whole JPEG file. */
using JpegPicture = std::shared_ptr<const std::string>;

/** Who takes pictures of what the camera sees right now. To be used on the camera's thread only. */
class PictureSource
{
  public:
    using Receiver = std::function<void(const JpegPicture &)>;

    virtual ~PictureSource() = default;

    /**
     * Takes one picture in the resolution and quality of a profile, counted from 1, whatever its codec. Returns at
     * once; the receiver is called later, on the camera's thread, with null when it could not be made. False, and
     * the receiver is not called, when there is no such profile or when too many pictures are waiting to be drawn.
     */
    virtual bool takePicture(int profile, Receiver receiver) = 0;
};

} // namespace camera
