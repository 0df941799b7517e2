#include "camera/picture/canvas.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace camera
{

namespace
{

/** An opacity is computed in that many parts. */
constexpr int OPAQUE = 256;

std::uint8_t between(std::uint8_t from, std::uint8_t to, int share)
{
    return static_cast<std::uint8_t>(from + (to - from) * share / OPAQUE);
}

void blend(std::uint8_t *pixel, Colour colour, int share)
{
    pixel[0] = between(pixel[0], colour.red, share);
    pixel[1] = between(pixel[1], colour.green, share);
    pixel[2] = between(pixel[2], colour.blue, share);
}

} // namespace

Colour mix(Colour from, Colour to, double share)
{
    const int parts = static_cast<int>(std::lround(std::clamp(share, 0.0, 1.0) * OPAQUE));
    return {between(from.red, to.red, parts), between(from.green, to.green, parts),
            between(from.blue, to.blue, parts)};
}

Canvas::Canvas(Image &image, Projection projection) : image_(image), projection_(projection) {}

bool Canvas::shows(double left, double right) const
{
    return projection_({right, 0}).x > 0 && projection_({left, 0}).x < image_.width;
}

void Canvas::polygon(std::span<const Point> points, Colour colour, double opacity)
{
    if (points.size() < 3 || image_.width <= 0 || image_.height <= 0)
        return;
    corners_.clear();
    double left = image_.width;
    double right = 0;
    double top = image_.height;
    double bottom = 0;
    for (const Point point : points) {
        const Point corner = projection_(point);
        corners_.push_back(corner);
        left = std::min(left, corner.x);
        right = std::max(right, corner.x);
        top = std::min(top, corner.y);
        bottom = std::max(bottom, corner.y);
    }
    if (left >= image_.width || right <= 0 || top >= image_.height || bottom <= 0)
        return;
    left_ = std::max(0, static_cast<int>(std::floor(left)));
    right_ = std::min(image_.width, static_cast<int>(std::ceil(right)));
    top_ = std::max(0, static_cast<int>(std::floor(top)));
    bottom_ = std::min(image_.height, static_cast<int>(std::ceil(bottom)));

    // Two more than the image has: the right edge of the last pixel begins the first, and adds to the second.
    const auto stride = static_cast<size_t>(image_.width) + 2;
    coverage_.assign(stride * static_cast<size_t>(bottom_ - top_), 0.0F);
    for (size_t i = 0; i < corners_.size(); ++i)
        addEdge(corners_[i], corners_[(i + 1) % corners_.size()]);
    for (int y = top_; y < bottom_; ++y)
        fillRow(y, colour, opacity);
}

/**
 * Adds what lies to the right of an edge, with the sign of the edge's direction. The part of the edge in one row is
 * looked at column by column: there it covers its height times what is right of its middle in this pixel, and its
 * height in every pixel further right.
 */
void Canvas::addEdge(Point from, Point to)
{
    const float direction = from.y < to.y ? 1.0F : -1.0F;
    if (from.y > to.y)
        std::swap(from, to);
    if (from.y == to.y)
        return;
    const double slope = (to.x - from.x) / (to.y - from.y);
    const auto stride = static_cast<size_t>(image_.width) + 2;
    const int first = std::max(top_, static_cast<int>(std::floor(from.y)));
    const int end = std::min(bottom_, static_cast<int>(std::ceil(to.y)));
    for (int y = first; y < end; ++y) {
        float *const row = coverage_.data() + static_cast<size_t>(y - top_) * stride;
        const double upper = std::max<double>(y, from.y);
        const double lower = std::min<double>(y + 1, to.y);
        const double width = image_.width;
        const double atUpper = std::clamp(from.x + (upper - from.y) * slope, 0.0, width);
        const double atLower = std::clamp(from.x + (lower - from.y) * slope, 0.0, width);
        const double low = std::min(atUpper, atLower);
        const double high = std::max(atUpper, atLower);
        const double heightPerColumn = high > low ? (lower - upper) / (high - low) : 0;
        for (int x = static_cast<int>(low); x <= static_cast<int>(high); ++x) {
            const double begin = std::max<double>(x, low);
            const double stop = std::min<double>(x + 1, high);
            const double height = high > low ? (stop - begin) * heightPerColumn : lower - upper;
            const double middle = (begin + stop) / 2 - x;
            row[x] += direction * static_cast<float>(height * (1 - middle));
            row[x + 1] += direction * static_cast<float>(height * middle);
        }
    }
}

void Canvas::fillRow(int y, Colour colour, double opacity)
{
    const auto stride = static_cast<size_t>(image_.width) + 2;
    const float *const row = coverage_.data() + static_cast<size_t>(y - top_) * stride;
    const auto full = static_cast<float>(opacity * OPAQUE);
    float covered = 0;
    std::uint8_t *pixel = image_.at(left_, y);
    for (int x = left_; x < right_; ++x, pixel += Image::BYTES) {
        covered += row[x];
        const int share = static_cast<int>(std::min(std::fabs(covered), 1.0F) * full + 0.5F);
        if (share >= OPAQUE) {
            pixel[0] = colour.red;
            pixel[1] = colour.green;
            pixel[2] = colour.blue;
        } else if (share > 0) {
            blend(pixel, colour, share);
        }
    }
}

void Canvas::rectangle(Point lowerLeft, double width, double height, Colour colour, double opacity)
{
    const double right = lowerLeft.x + width;
    const double top = lowerLeft.y + height;
    const Point corners[] = {lowerLeft, {right, lowerLeft.y}, {right, top}, {lowerLeft.x, top}};
    polygon(corners, colour, opacity);
}

void Canvas::ellipse(Point centre, double radiusX, double radiusY, Colour colour, double opacity)
{
    constexpr size_t CORNERS = 48;
    Point corners[CORNERS];
    for (size_t i = 0; i < CORNERS; ++i) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(i) / CORNERS;
        corners[i] = {centre.x + radiusX * std::cos(angle), centre.y + radiusY * std::sin(angle)};
    }
    polygon(corners, colour, opacity);
}

void Canvas::circle(Point centre, double radius, Colour colour, double opacity)
{
    ellipse(centre, radius, radius, colour, opacity);
}

void Canvas::line(Point from, Point to, double thickness, Colour colour, double opacity)
{
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    if (length == 0)
        return;
    const double acrossX = (from.y - to.y) / length * thickness / 2;
    const double acrossY = (to.x - from.x) / length * thickness / 2;
    const Point corners[] = {{from.x + acrossX, from.y + acrossY},
                             {to.x + acrossX, to.y + acrossY},
                             {to.x - acrossX, to.y - acrossY},
                             {from.x - acrossX, from.y - acrossY}};
    polygon(corners, colour, opacity);
}

void Canvas::gradient(double bottom, Colour bottomColour, double top, Colour topColour)
{
    const int first = std::max(0, static_cast<int>(std::floor(projection_({0, top}).y)));
    const int end = std::min(image_.height, static_cast<int>(std::ceil(projection_({0, bottom}).y)));
    for (int y = first; y < end; ++y) {
        const double height = projection_.top - (y + 0.5) / projection_.scale;
        const Colour colour = mix(bottomColour, topColour, (height - bottom) / (top - bottom));
        std::uint8_t *const row = image_.at(0, y);
        for (int x = 0; x < image_.width; ++x) {
            row[static_cast<size_t>(x) * Image::BYTES] = colour.red;
            row[static_cast<size_t>(x) * Image::BYTES + 1] = colour.green;
            row[static_cast<size_t>(x) * Image::BYTES + 2] = colour.blue;
        }
    }
}

} // namespace camera
