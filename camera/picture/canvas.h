#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace camera
{

struct Colour {
    std::uint8_t red, green, blue;
    bool operator==(const Colour &) const = default;
};

[[nodiscard]] Colour mix(Colour from, Colour to, double share);

/** A picture: rows of red, green, blue bytes, the topmost row first, nothing between them. */
struct Image {
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels = {};

    static constexpr size_t BYTES = 3;

    Image() = default;
    Image(int imageWidth, int imageHeight)
        : width(imageWidth), height(imageHeight),
          pixels(static_cast<size_t>(imageWidth) * static_cast<size_t>(imageHeight) * BYTES)
    {
    }
    [[nodiscard]] std::uint8_t *at(int x, int y)
    {
        return pixels.data() +
               (static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * BYTES;
    }
    [[nodiscard]] Colour colour(int x, int y) const
    {
        const std::uint8_t *const pixel = const_cast<Image *>(this)->at(x, y);
        return {pixel[0], pixel[1], pixel[2]};
    }
};

struct Point {
    double x, y;
};

/** How points of a drawing become points of the image: the drawing's y grows upwards, the image's downwards. */
struct Projection {
    double scale = 1; ///< pixels per unit
    double left = 0;  ///< the drawing's x at the image's left edge
    double top = 0;   ///< the drawing's y at the image's top edge

    [[nodiscard]] Point operator()(Point point) const
    {
        return {(point.x - left) * scale, (top - point.y) * scale};
    }
};

/** Fills areas of an image with smooth edges. What lies outside of the image is cut off. */
class Canvas
{
  public:
    Canvas(Image &image, Projection projection);

    /** A closed polygon; an area that it goes round in both directions stays as it was. */
    void polygon(std::span<const Point> points, Colour colour, double opacity = 1);
    void rectangle(Point lowerLeft, double width, double height, Colour colour, double opacity = 1);
    void ellipse(Point centre, double radiusX, double radiusY, Colour colour, double opacity = 1);
    void circle(Point centre, double radius, Colour colour, double opacity = 1);
    void line(Point from, Point to, double thickness, Colour colour, double opacity = 1);
    /** Every row from `bottom` to `top` in a colour between the two. */
    void gradient(double bottom, Colour bottomColour, double top, Colour topColour);

    /** Whether anything between these two x can be seen. */
    [[nodiscard]] bool shows(double left, double right) const;

  private:
    void addEdge(Point from, Point to);
    void fillRow(int y, Colour colour, double opacity);

    Image &image_;
    Projection projection_;
    std::vector<Point> corners_;  ///< of the polygon that is filled, in pixels
    std::vector<float> coverage_; ///< how much more of a pixel is covered than of its left neighbour, per row
    int left_ = 0;                ///< the pixels that the polygon touches
    int right_ = 0;
    int top_ = 0;
    int bottom_ = 0;
};

} // namespace camera
