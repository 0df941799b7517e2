#include "camera/picture/picture.h"

#include "camera/picture/picture_font.h"
#include "camera/picture/picture_scene.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace camera
{

namespace
{

constexpr int MAX_ADJUSTMENT = 5;

double adjustment(int value)
{
    return static_cast<double>(std::clamp(value, -MAX_ADJUSTMENT, MAX_ADJUSTMENT)) / MAX_ADJUSTMENT;
}

using Curve = std::array<std::uint8_t, 256>;

/** What becomes of a level: contrast turns it about the middle, brightness moves it. */
Curve levelCurve(const PictureContent &content)
{
    const double slope = 1 + 0.6 * adjustment(content.contrast);
    const double offset = 90 * adjustment(content.brightness);
    Curve curve{};
    for (size_t level = 0; level < curve.size(); ++level)
        curve[level] = static_cast<std::uint8_t>(
            std::clamp((static_cast<double>(level) - 128) * slope + 128 + offset, 0.0, 255.0));
    return curve;
}

/** Moves every pixel away from its grey, or towards it. `share`: 0 for grey, 256 for no change. */
void saturate(Image &image, int share)
{
    for (size_t at = 0; at < image.pixels.size(); at += Image::BYTES) {
        std::uint8_t *const pixel = image.pixels.data() + at;
        // ITU-R BT.601, in parts of 256.
        const int grey = (77 * pixel[0] + 150 * pixel[1] + 29 * pixel[2]) / 256;
        for (size_t i = 0; i < Image::BYTES; ++i)
            pixel[i] = static_cast<std::uint8_t>(std::clamp(grey + (pixel[i] - grey) * share / 256, 0, 255));
    }
}

void adjust(Image &image, const PictureContent &content)
{
    if (!content.colour)
        saturate(image, 0);
    else if (content.saturation != 0)
        saturate(image, static_cast<int>(256 * (1 + adjustment(content.saturation))));
    if (content.contrast == 0 && content.brightness == 0)
        return;
    const Curve curve = levelCurve(content);
    for (std::uint8_t &level : image.pixels)
        level = curve[level];
}

void mirror(Image &image)
{
    for (int y = 0; y < image.height; ++y)
        for (int left = 0, right = image.width - 1; left < right; ++left, --right)
            std::swap_ranges(image.at(left, y), image.at(left, y) + Image::BYTES, image.at(right, y));
}

void flip(Image &image)
{
    const auto row = static_cast<size_t>(image.width) * Image::BYTES;
    for (int top = 0, bottom = image.height - 1; top < bottom; ++top, --bottom)
        std::swap_ranges(image.at(0, top), image.at(0, top) + row, image.at(0, bottom));
}

/** The texts in the picture: white on a dark ground. */
class Overlay
{
  public:
    explicit Overlay(Image &image) : image_(image), dot_(std::max(1, image.height / 240)) {}

    enum class Side { Left, Right };

    /** Writes a line at the top or the bottom, of at most so many characters; the rest is left out. */
    void write(std::string_view text, Side side, bool top, int atMost)
    {
        std::vector<Glyph> glyphs = glyphsOf(text);
        const int margin = 4 * dot_;
        glyphs.resize(std::min(glyphs.size(), static_cast<size_t>(std::max(0, std::min(atMost, room())))));
        const int width = static_cast<int>(glyphs.size()) * CELL_WIDTH * dot_;
        const int height = CELL_HEIGHT * dot_;
        if (glyphs.empty() || height + 2 * margin > image_.height)
            return;
        int x = side == Side::Left ? margin : image_.width - margin - width;
        const int y = top ? margin : image_.height - margin - height;
        darken(x - 2 * dot_, y - 2 * dot_, width + 3 * dot_, height + 3 * dot_);
        for (const Glyph glyph : glyphs) {
            draw(glyph, x, y);
            x += CELL_WIDTH * dot_;
        }
    }

    /** How many characters find room in a line. */
    [[nodiscard]] int room() const { return image_.width / (CELL_WIDTH * dot_) - 2; }

  private:
    void darken(int left, int top, int width, int height)
    {
        for (int y = std::max(0, top); y < std::min(top + height, image_.height); ++y)
            for (int x = std::max(0, left); x < std::min(left + width, image_.width); ++x)
                for (size_t i = 0; i < Image::BYTES; ++i)
                    image_.at(x, y)[i] = static_cast<std::uint8_t>(image_.at(x, y)[i] * 2 / 5);
    }

    void draw(Glyph glyph, int left, int top)
    {
        for (int y = 0; y < GLYPH_HEIGHT * dot_; ++y)
            for (int x = 0; x < GLYPH_WIDTH * dot_; ++x)
                if (glyphDot(glyph, x / dot_, y / dot_))
                    std::fill_n(image_.at(left + x, top + y), Image::BYTES, std::uint8_t{255});
    }

    Image &image_;
    int dot_;
};

} // namespace

Image drawPicture(const PictureContent &content)
{
    Image image(content.width, content.height);
    drawScene(image, content.view, content.seconds, content.clock);
    adjust(image, content);
    if (content.mirror)
        mirror(image);
    if (content.flip)
        flip(image);

    Overlay overlay(image);
    char clock[32] = "";
    if (content.clock)
        strftime(clock, sizeof clock, "%Y/%m/%d %H:%M:%S", &*content.clock);
    // The clock comes first where title and clock do not both find room.
    const std::string_view time = clock;
    const int rest = overlay.room() - static_cast<int>(time.size()) - 1;
    overlay.write(content.title, Overlay::Side::Left, true, rest);
    overlay.write(time, Overlay::Side::Right, true, overlay.room());
    overlay.write(content.label, Overlay::Side::Left, false, overlay.room());
    return image;
}

} // namespace camera
