#pragma once

#include "camera/picture/canvas.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace camera
{

/** A picture that cannot be encoded. */
class JpegError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/** Encodes a picture; `quality` from 1 to 100. Throws JpegError for a picture that JPEG cannot hold. */
[[nodiscard]] std::string encodeJpeg(const Image &image, int quality);

/** In pixels. */
struct PictureSize {
    int width;
    int height;
    bool operator==(const PictureSize &) const = default;
};

/** The size that a JPEG file says it has; nothing when the bytes are no whole JPEG header. */
[[nodiscard]] std::optional<PictureSize> jpegSize(std::string_view jpeg);

} // namespace camera
