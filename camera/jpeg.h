#pragma once

#include "camera/canvas.h"

#include <stdexcept>
#include <string>

namespace camera
{

class JpegError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/** Encodes a picture; `quality` from 1 to 100. Throws JpegError for a picture that JPEG cannot hold. */
[[nodiscard]] std::string encodeJpeg(const Image &image, int quality);

} // namespace camera
