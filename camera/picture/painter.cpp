#include "camera/picture/painter.h"

#include "camera/picture/jpeg.h"

namespace camera
{

namespace
{

/** The one that is being drawn, and those that wait. */
constexpr size_t MAX_PICTURES = 65;

} // namespace

bool Painter::paint(PictureContent content, int jpegQuality, Done done)
{
    if (worker_.waiting() == MAX_PICTURES)
        return false;
    const auto picture = std::make_shared<JpegPicture>();
    worker_.post(
        [picture, content = std::move(content), jpegQuality] {
            *picture = std::make_shared<const std::string>(encodeJpeg(drawPicture(content), jpegQuality));
        },
        [picture, done = std::move(done)](const std::string &) { done(*picture); });
    return true;
}

} // namespace camera
