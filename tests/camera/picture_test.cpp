#include "camera/picture/jpeg.h"
#include "camera/picture/picture.h"
#include "camera/picture/picture_font.h"
#include "jpeg_reader.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>

/*
 * The picture, by its properties: what settings and view make of it.
 */

namespace
{

using camera::Image;
using camera::PictureContent;

Image draw(void (*change)(PictureContent &))
{
    PictureContent content;
    content.seconds = 1234.5;
    change(content);
    return drawPicture(content);
}

double mean(const Image &image)
{
    return std::accumulate(image.pixels.begin(), image.pixels.end(), 0.0) /
           static_cast<double>(image.pixels.size());
}

/** The share of the pixels of `image` that look like those of `other` at the place given for them, if any. */
template <class Place>
double shareOfEqual(const Image &image, const Image &other, int tolerance, Place place)
{
    int looked = 0;
    int equal = 0;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            const auto [otherX, otherY] = place(x, y);
            if (otherX < 0 || otherX >= other.width || otherY < 0 || otherY >= other.height)
                continue;
            ++looked;
            const camera::Colour one = image.colour(x, y), two = other.colour(otherX, otherY);
            equal += std::abs(one.red - two.red) <= tolerance && std::abs(one.green - two.green) <= tolerance &&
                     std::abs(one.blue - two.blue) <= tolerance;
        }
    return static_cast<double>(equal) / looked;
}

using Place = std::pair<int, int>;

TEST(Picture, ShowsTheSceneAsItIsTurnedMovedAndAdjusted)
{
    // The scene is 5 picture heights wide and 1.7 high; 640 to 480 leaves a way of 1.8333 and of 0.35 to either
    // side.
    const struct {
        void (*change)(PictureContent &);
        Place (*place)(int x, int y);
        int tolerance;
        double share;
    } cases[] = {
        {[](auto &c) { c.mirror = true; }, [](int x, int y) { return Place(639 - x, y); }, 0, 1},
        {[](auto &c) { c.flip = true; }, [](int x, int y) { return Place(x, 479 - y); }, 0, 1},
        {[](auto &c) { c.view.pan = 0.6 / 5.5; }, [](int x, int y) { return Place(x + 96, y); }, 2, 0.999},
        {[](auto &c) { c.view.tilt = 0.1 / 0.35; }, [](int x, int y) { return Place(x, y - 48); }, 2, 0.999},
        {[](auto &c) { c.view.zoom = 2; }, [](int x, int y) { return Place(160 + x / 2, 120 + y / 2); }, 16, 0.97},
    };
    const Image plain = draw([](auto &) {});
    for (const auto &[change, place, tolerance, share] : cases)
        EXPECT_GE(shareOfEqual(draw(change), plain, tolerance, place), share) << &change - &cases[0].change;
    EXPECT_EQ(draw([](auto &c) {
                  c.view = {-7, 7, 99};
              }).pixels,
              draw([](auto &c) {
                  c.view = {-1, 1, 10};
              }).pixels)
        << "the view ends where the scene does";

    EXPECT_GT(mean(draw([](auto &c) { c.brightness = 1; })), mean(plain) + 0.5);
    EXPECT_LT(mean(draw([](auto &c) { c.brightness = -1; })), mean(plain) - 0.5);
    EXPECT_EQ(draw([](auto &c) { c.saturation = 1000; }).pixels, draw([](auto &c) { c.saturation = 5; }).pixels);
    for (const auto change :
         {+[](PictureContent &c) { c.title = "Hall"; }, +[](PictureContent &c) { c.label = "East"; },
          +[](PictureContent &c) { c.clock = std::tm{}; }})
        EXPECT_LT(shareOfEqual(draw(change), plain, 0, [](int x, int y) { return Place(x, y); }), 1);
    const Image grey = draw([](auto &c) { c.contrast = c.saturation = -5; });
    EXPECT_LT(shareOfEqual(grey, plain, 8, [](int x, int y) { return Place(x, y); }), 0.5);
}

TEST(Picture, AnySizeAndTextCanBeDrawn)
{
    for (const auto &[width, height] : {std::pair(16, 16), {17, 33}, {401, 16}, {16, 400}, {1920, 1200}})
        for (const std::string &text : {std::string(2000, 'W'), std::string("\xff\xc3\xf0\x9f\x98", 5)}) {
            PictureContent content;
            content.width = width;
            content.height = height;
            content.title = content.label = text;
            content.clock = std::tm{};
            const Image image = drawPicture(content);
            EXPECT_EQ(image.width, width);
            EXPECT_EQ(image.height, height);
        }
}

TEST(PictureFont, OneGlyphPerCharacter)
{
    const std::pair<const char *, std::vector<camera::Glyph>> cases[] = {
        {" A~", {0, 33, 94}},
        {"\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80", {95, 95, 95}},
        {"a\xe2\x82", {65, 95}},
        {"\xe2\x82!", {95, 1}},
        {"\x80\xff", {95, 95}}};
    for (const auto &[text, glyphs] : cases)
        EXPECT_EQ(camera::glyphsOf(text), glyphs) << text;
}

TEST(Jpeg, IsSmallerOfLessQualityAndRefusesWhatItCannotHold)
{
    const Image picture = draw([](auto &) {});
    const std::string fine = camera::encodeJpeg(picture, 92);
    EXPECT_GT(shareOfEqual(readJpeg(fine), picture, 24, [](int x, int y) { return Place(x, y); }), 0.98);
    EXPECT_LT(camera::encodeJpeg(picture, 30).size(), fine.size() * 2 / 3);
    EXPECT_THROW((void)camera::encodeJpeg(Image(70000, 1), 80), camera::JpegError);
}

} // namespace
