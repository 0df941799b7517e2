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

using camera::Colour;
using camera::drawPicture;
using camera::Image;
using camera::PictureContent;

/** The scene alone. */
PictureContent scene()
{
    PictureContent content;
    content.seconds = 1234.5;
    return content;
}

double mean(const Image &image)
{
    return std::accumulate(image.pixels.begin(), image.pixels.end(), 0.0) /
           static_cast<double>(image.pixels.size());
}

double spread(const Image &image)
{
    const double middle = mean(image);
    double sum = 0;
    for (const std::uint8_t level : image.pixels)
        sum += std::abs(level - middle);
    return sum / static_cast<double>(image.pixels.size());
}

/** How far the pixels are from grey, in the mean. */
double colourfulness(const Image &image)
{
    double sum = 0;
    for (size_t i = 0; i + 2 < image.pixels.size(); i += 3) {
        const auto [least, most] = std::minmax({image.pixels[i], image.pixels[i + 1], image.pixels[i + 2]});
        sum += most - least;
    }
    return 3 * sum / static_cast<double>(image.pixels.size());
}

int distance(Colour one, Colour other)
{
    return std::max(
        {std::abs(one.red - other.red), std::abs(one.green - other.green), std::abs(one.blue - other.blue)});
}

/** The share of the pixels of `image` that look like what `place` gives for them, of those for which it does. */
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
            equal += distance(image.colour(x, y), other.colour(otherX, otherY)) <= tolerance ? 1 : 0;
        }
    return looked == 0 ? 0 : static_cast<double>(equal) / looked;
}

using Place = std::pair<int, int>;

TEST(Picture, MirrorAndFlipTurnIt)
{
    const Image plain = drawPicture(scene());
    const auto turned = [](bool mirror, bool flip) {
        PictureContent content = scene();
        content.mirror = mirror;
        content.flip = flip;
        return drawPicture(content);
    };
    const Image mirrored = turned(true, false);
    EXPECT_EQ(shareOfEqual(mirrored, plain, 0, [](int x, int y) { return Place(639 - x, y); }), 1);
    EXPECT_LT(shareOfEqual(mirrored, plain, 8, [](int x, int y) { return Place(x, y); }), 0.9);
    EXPECT_EQ(shareOfEqual(turned(false, true), plain, 0, [](int x, int y) { return Place(x, 479 - y); }), 1);
    EXPECT_EQ(shareOfEqual(turned(true, true), plain, 0, [](int x, int y) { return Place(639 - x, 479 - y); }), 1);
}

TEST(Picture, WithoutColourEveryPixelIsGrey)
{
    PictureContent content = scene();
    EXPECT_GT(colourfulness(drawPicture(content)), 40);
    content.colour = false;
    content.saturation = 5;
    EXPECT_EQ(colourfulness(drawPicture(content)), 0);
}

TEST(Picture, EveryStepOfAnAdjustmentShows)
{
    const std::tuple<const char *, int PictureContent::*, double (*)(const Image &)> cases[] = {
        {"brightness", &PictureContent::brightness, mean},
        {"contrast", &PictureContent::contrast, spread},
        {"saturation", &PictureContent::saturation, colourfulness}};
    for (const auto &[description, setting, measure] : cases) {
        SCOPED_TRACE(description);
        double last = -1;
        for (int step = -5; step <= 5; ++step) {
            PictureContent content = scene();
            content.*setting = step;
            const double measured = measure(drawPicture(content));
            EXPECT_GT(measured, last + 0.5) << step;
            last = measured;
        }
        PictureContent beyond = scene();
        beyond.*setting = 1000;
        EXPECT_DOUBLE_EQ(measure(drawPicture(beyond)), last);
    }
}

TEST(Picture, ViewMovesOverTheScene)
{
    const Image centre = drawPicture(scene());
    // The scene is 5 picture heights wide and 1.7 high; 640 to 480 leaves a way of 1.8333 and of 0.35 to either
    // side.
    PictureContent right = scene();
    right.view.pan = 0.2 / ((5 - 640.0 / 480) / 2);
    EXPECT_GT(shareOfEqual(drawPicture(right), centre, 2, [](int x, int y) { return Place(x + 96, y); }), 0.999);
    PictureContent up = scene();
    up.view.tilt = 0.1 / 0.35;
    EXPECT_GT(shareOfEqual(drawPicture(up), centre, 2, [](int x, int y) { return Place(x, y - 48); }), 0.999);
    PictureContent near = scene();
    near.view.zoom = 2;
    EXPECT_GT(
        shareOfEqual(drawPicture(near), centre, 16, [](int x, int y) { return Place(160 + x / 2, 120 + y / 2); }),
        0.97);
}

TEST(Picture, ViewEndsWhereTheSceneDoes)
{
    struct Case {
        const char *description;
        camera::View beyond, end;
    };
    const Case cases[] = {{"left", {.pan = -7}, {.pan = -1}},   {"right", {.pan = 7}, {.pan = 1}},
                          {"down", {.tilt = -7}, {.tilt = -1}}, {"up", {.tilt = 7}, {.tilt = 1}},
                          {"wide", {.zoom = 0}, {.zoom = 1}},   {"tele", {.zoom = 99}, {.zoom = 10}}};
    for (const auto &[description, beyond, end] : cases) {
        PictureContent content = scene();
        content.view = beyond;
        const Image beyondEnd = drawPicture(content);
        content.view = end;
        EXPECT_EQ(beyondEnd.pixels, drawPicture(content).pixels) << description;
    }
}

/** Where two pictures of the same size differ. */
struct Box {
    int left = 10000, top = 10000, right = -1, bottom = -1;
};

Box difference(const Image &one, const Image &other)
{
    Box box;
    for (int y = 0; y < one.height; ++y)
        for (int x = 0; x < one.width; ++x)
            if (!(one.colour(x, y) == other.colour(x, y)))
                box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x),
                       std::max(box.bottom, y)};
    return box;
}

TEST(Picture, TextsHaveTheirPlacesWhateverTheSceneDoes)
{
    for (const bool turned : {false, true}) {
        SCOPED_TRACE(turned);
        PictureContent plain = scene();
        plain.mirror = plain.flip = turned;
        const Image without = drawPicture(plain);
        PictureContent content = plain;
        content.title = "Hall";
        const Box title = difference(drawPicture(content), without);
        EXPECT_LT(title.right, 120);
        EXPECT_LT(title.bottom, 40);
        content = plain;
        content.label = "East";
        const Box label = difference(drawPicture(content), without);
        EXPECT_LT(label.right, 120);
        EXPECT_GT(label.top, 440);
    }
    PictureContent content = scene();
    content.view.pan = -1; // away from the tower, which has a clock of its own
    const Image without = drawPicture(content);
    content.clock = std::tm{};
    const Image first = drawPicture(content);
    const Box clock = difference(first, without);
    EXPECT_GT(clock.left, 320);
    EXPECT_LT(clock.bottom, 40);
    content.clock->tm_sec = 1;
    const Box second = difference(drawPicture(content), first);
    EXPECT_GT(second.left, clock.right - 24) << "only the last digit has changed";
    content.seconds += 0.2;
    EXPECT_LT(difference(drawPicture(content), first).left, second.left) << "the scene moves";
}

TEST(Picture, AnySizeAndTextCanBeDrawn)
{
    for (const auto &[width, height] :
         {std::pair(16, 16), {17, 33}, {176, 144}, {401, 16}, {16, 400}, {1920, 1200}})
        for (const std::string &text : {std::string(2000, 'W'), std::string("\xff\xc3\xf0\x9f\x98", 5)}) {
            PictureContent content = scene();
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
    constexpr camera::Glyph BOX = 95;
    const std::pair<const char *, std::vector<camera::Glyph>> cases[] = {
        {"", {}},
        {" A~", {0, 33, 94}},
        {"\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80", {BOX, BOX, BOX}}, // two, three and four bytes
        {"a\xe2\x82", {65, BOX}},                                  // cut by the end
        {"\xe2\x82!", {BOX, 1}},                                   // cut by a letter
        {"\x80\xff", {BOX, BOX}},
        {"a\t\nb\x7f", {65, 66, BOX}}};
    for (const auto &[text, glyphs] : cases)
        EXPECT_EQ(camera::glyphsOf(text), glyphs) << text;
}

TEST(Jpeg, IsSmallerOfLessQualityAndRefusesWhatItCannotHold)
{
    const Image picture = drawPicture(scene());
    const std::string fine = camera::encodeJpeg(picture, 92);
    EXPECT_GT(shareOfEqual(readJpeg(fine), picture, 24, [](int x, int y) { return Place(x, y); }), 0.98);
    EXPECT_LT(camera::encodeJpeg(picture, 30).size(), fine.size() * 2 / 3);
    EXPECT_THROW((void)camera::encodeJpeg(Image(0, 0), 80), camera::JpegError);
    EXPECT_THROW((void)camera::encodeJpeg(Image(70000, 1), 80), camera::JpegError);
}

} // namespace
