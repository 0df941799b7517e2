#include "camera/picture/picture_scene.h"

#include "camera/picture/picture_font.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <string_view>

/*
 * The landscape. Its unit is the height of the widest view; x goes from 0 to WORLD_WIDTH, y from 0, at the lower
 * edge, to WORLD_HEIGHT. Things are drawn from the back to the front.
 */

namespace camera
{

namespace
{

constexpr double WORLD_WIDTH = SCENE_WIDTH;
constexpr double WORLD_HEIGHT = SCENE_HEIGHT;
constexpr double HORIZON = 0.74;
constexpr double TURN = 2 * std::numbers::pi;

constexpr Colour WHITE = {250, 250, 248};
constexpr Colour BLACK = {28, 28, 32};
constexpr Colour GRASS = {112, 164, 84};
constexpr Colour MEADOW = {84, 140, 66};
constexpr Colour WATER = {70, 128, 178};
constexpr Colour STONE = {196, 186, 170};
constexpr Colour BRICK = {188, 96, 72};
constexpr Colour ROOF = {164, 58, 48};
constexpr Colour WOOD = {110, 78, 52};
constexpr Colour ASPHALT = {92, 94, 100};
constexpr Colour GLASS = {150, 196, 220};

/** What moves goes round: from `first` over a way of `length`, `speed` units per second, and again. */
double goRound(double first, double length, double start, double speed, double seconds)
{
    const double way = std::fmod(start + speed * seconds, length);
    return first + (way < 0 ? way + length : way);
}

void drawSky(Canvas &canvas, double seconds)
{
    canvas.gradient(HORIZON - 0.1, {212, 230, 242}, WORLD_HEIGHT, {62, 122, 194});
    canvas.circle({3.55, 1.42}, 0.13, {255, 246, 200}, 0.35);
    canvas.circle({3.55, 1.42}, 0.08, {255, 240, 160});

    struct Cloud {
        double start, height, size;
    };
    constexpr Cloud CLOUDS[] = {{0.3, 1.25, 0.9}, {1.3, 1.46, 1.2}, {2.2, 1.16, 0.7},
                                {3.0, 1.30, 1.1}, {3.9, 1.50, 0.8}, {4.9, 1.20, 1.0}};
    for (const auto &[start, height, size] : CLOUDS) {
        const double x = goRound(-0.4, WORLD_WIDTH + 0.8, start, 0.012, seconds);
        canvas.ellipse({x - 0.10 * size, height}, 0.10 * size, 0.035 * size, WHITE, 0.8);
        canvas.ellipse({x + 0.12 * size, height}, 0.12 * size, 0.030 * size, WHITE, 0.8);
        canvas.ellipse({x, height + 0.03 * size}, 0.09 * size, 0.055 * size, WHITE, 0.9);
    }
}

void drawMountains(Canvas &canvas)
{
    struct Peak {
        double x, height, halfWidth;
    };
    constexpr Peak PEAKS[] = {{0.35, 1.12, 0.55}, {1.00, 1.00, 0.50}, {1.62, 1.18, 0.60}, {2.35, 1.02, 0.50},
                              {2.85, 1.10, 0.55}, {3.45, 0.98, 0.50}, {4.05, 1.14, 0.60}, {4.75, 1.04, 0.55}};
    for (const auto &[x, height, halfWidth] : PEAKS) {
        const double base = HORIZON - 0.05;
        const Point mountain[] = {{x - halfWidth, base}, {x, height}, {x + halfWidth, base}};
        canvas.polygon(mountain, {136, 154, 182});
        const double snow = 0.22 * halfWidth;
        const double line = height - 0.22 * (height - base);
        const Point cap[] = {{x - snow, line}, {x, height},
                             {x + snow, line}, {x + 0.4 * snow, line + 0.025},
                             {x, line - 0.02}, {x - 0.4 * snow, line + 0.02}};
        canvas.polygon(cap, {236, 240, 246});
    }
}

void drawGround(Canvas &canvas)
{
    constexpr size_t STEPS = 60;
    std::array<Point, STEPS + 3> hills{};
    for (size_t i = 0; i <= STEPS; ++i) {
        const double x = WORLD_WIDTH * static_cast<double>(i) / STEPS;
        hills[i] = {x, HORIZON + 0.06 + 0.04 * std::sin(2.1 * x) + 0.025 * std::sin(5.3 * x + 1)};
    }
    hills[STEPS + 1] = {WORLD_WIDTH, 0.5};
    hills[STEPS + 2] = {0, 0.5};
    canvas.polygon(hills, {138, 176, 120});
    canvas.gradient(0, MEADOW, HORIZON, {134, 182, 98});
    canvas.rectangle({0, HORIZON - 0.012}, WORLD_WIDTH, 0.024, GRASS, 0.6);
}

void drawLake(Canvas &canvas, double seconds)
{
    canvas.ellipse({4.05, 0.585}, 0.62, 0.085, {196, 186, 140});
    canvas.ellipse({4.05, 0.585}, 0.60, 0.075, WATER);
    const double x = 4.05 + 0.34 * std::sin(0.15 * seconds);
    const double y = 0.585 + 0.006 * std::sin(1.7 * seconds);
    const Point hull[] = {
        {x - 0.075, y + 0.02}, {x + 0.085, y + 0.02}, {x + 0.05, y - 0.018}, {x - 0.055, y - 0.018}};
    const Point sail[] = {{x + 0.006, y + 0.03}, {x + 0.006, y + 0.20}, {x + 0.08, y + 0.04}};
    const Point jib[] = {{x - 0.006, y + 0.03}, {x - 0.006, y + 0.17}, {x - 0.055, y + 0.04}};
    canvas.polygon(hull, {150, 60, 52});
    canvas.line({x, y + 0.02}, {x, y + 0.21}, 0.006, WOOD);
    canvas.polygon(sail, WHITE);
    canvas.polygon(jib, {236, 226, 204});
}

void drawLighthouse(Canvas &canvas)
{
    constexpr double X = 4.74;
    constexpr double BOTTOM = 0.60;
    constexpr int STRIPES = 6;
    constexpr double HEIGHT = 0.075;
    for (int i = 0; i < STRIPES; ++i) {
        const double lower = 0.075 - 0.006 * i;
        const double y = BOTTOM + HEIGHT * i;
        const Point stripe[] = {
            {X - lower, y}, {X + lower, y}, {X + lower - 0.006, y + HEIGHT}, {X - lower + 0.006, y + HEIGHT}};
        canvas.polygon(stripe, i % 2 == 0 ? WHITE : Colour{200, 52, 48});
    }
    const double top = BOTTOM + HEIGHT * STRIPES;
    canvas.rectangle({X - 0.05, top}, 0.10, 0.012, BLACK);
    canvas.rectangle({X - 0.028, top + 0.012}, 0.056, 0.055, {255, 236, 150});
    const Point roof[] = {{X - 0.04, top + 0.067}, {X, top + 0.115}, {X + 0.04, top + 0.067}};
    canvas.polygon(roof, {200, 52, 48});
}

void drawTree(Canvas &canvas, double x, double y, double size, bool fir)
{
    canvas.rectangle({x - 0.010 * size, y}, 0.020 * size, 0.07 * size, WOOD);
    if (!fir) {
        canvas.circle({x, y + 0.125 * size}, 0.070 * size, {62, 122, 56});
        canvas.circle({x - 0.045 * size, y + 0.10 * size}, 0.045 * size, {70, 134, 62});
        canvas.circle({x + 0.045 * size, y + 0.10 * size}, 0.045 * size, {56, 112, 52});
        return;
    }
    for (int i = 0; i < 3; ++i) {
        const double bottom = y + (0.05 + 0.06 * i) * size;
        const double half = (0.070 - 0.016 * i) * size;
        const Point branch[] = {{x - half, bottom}, {x, bottom + 0.11 * size}, {x + half, bottom}};
        canvas.polygon(branch, {static_cast<std::uint8_t>(36 + 8 * i), static_cast<std::uint8_t>(92 + 10 * i), 60});
    }
}

void drawTrees(Canvas &canvas)
{
    struct Tree {
        double x, y, size;
        bool fir;
    };
    constexpr Tree TREES[] = {
        {0.08, 0.66, 1.1, true},  {0.20, 0.62, 1.4, true},  {0.33, 0.67, 1.0, true},  {0.42, 0.60, 1.5, true},
        {0.56, 0.65, 1.2, true},  {0.68, 0.58, 1.6, true},  {0.82, 0.64, 1.1, false}, {1.62, 0.66, 0.9, false},
        {1.74, 0.62, 1.2, false}, {2.32, 0.66, 0.8, false}, {2.80, 0.60, 1.2, false}, {3.22, 0.66, 0.9, true},
        {3.30, 0.62, 1.1, true},  {3.42, 0.58, 1.3, false}, {4.90, 0.58, 1.2, true},
    };
    for (const auto &[x, y, size, fir] : TREES)
        if (canvas.shows(x - 0.2, x + 0.2))
            drawTree(canvas, x, y, size, fir);
}

void drawWindmill(Canvas &canvas, double seconds)
{
    constexpr Point HUB = {2.02, 0.99};
    constexpr double BOTTOM = 0.62;
    const Point tower[] = {
        {HUB.x - 0.075, BOTTOM}, {HUB.x + 0.075, BOTTOM}, {HUB.x + 0.045, HUB.y}, {HUB.x - 0.045, HUB.y}};
    const Point cap[] = {{HUB.x - 0.055, HUB.y - 0.01}, {HUB.x + 0.055, HUB.y - 0.01}, {HUB.x, HUB.y + 0.06}};
    canvas.polygon(tower, STONE);
    canvas.polygon(cap, ROOF);
    canvas.rectangle({HUB.x - 0.022, BOTTOM}, 0.044, 0.075, WOOD);
    canvas.rectangle({HUB.x - 0.014, BOTTOM + 0.17}, 0.028, 0.036, GLASS);
    for (int i = 0; i < 4; ++i) {
        const double angle = TURN * i / 4 + 0.9 * seconds;
        const Point along = {std::cos(angle), std::sin(angle)};
        const Point across = {-along.y, along.x};
        const auto at = [&](double out, double side) {
            return Point{HUB.x + out * along.x + side * across.x, HUB.y + out * along.y + side * across.y};
        };
        const Point sail[] = {at(0.06, 0), at(0.06, 0.042), at(0.23, 0.042), at(0.23, 0)};
        canvas.polygon(sail, {240, 236, 224});
        canvas.line(HUB, at(0.235, 0), 0.010, WOOD);
    }
    canvas.circle(HUB, 0.014, BLACK);
}

void drawHouse(Canvas &canvas)
{
    constexpr double X = 2.42;
    constexpr double Y = 0.58;
    canvas.rectangle({X + 0.22, Y + 0.2}, 0.04, 0.15, BRICK);
    canvas.rectangle({X, Y}, 0.30, 0.18, {236, 222, 190});
    const Point roof[] = {{X - 0.03, Y + 0.18}, {X + 0.33, Y + 0.18}, {X + 0.25, Y + 0.31}, {X + 0.05, Y + 0.31}};
    canvas.polygon(roof, ROOF);
    for (const double offset : {0.035, 0.215}) {
        canvas.rectangle({X + offset - 0.006, Y + 0.064}, 0.062, 0.072, WHITE);
        canvas.rectangle({X + offset, Y + 0.07}, 0.050, 0.060, GLASS);
        canvas.rectangle({X + offset + 0.022, Y + 0.07}, 0.006, 0.060, WHITE);
    }
    canvas.rectangle({X + 0.125, Y}, 0.055, 0.115, {74, 104, 136});
    canvas.circle({X + 0.170, Y + 0.055}, 0.004, {230, 200, 90});
}

void drawClockTower(Canvas &canvas, const std::optional<std::tm> &clock)
{
    constexpr double X = 3.02;
    constexpr double Y = 0.58;
    canvas.rectangle({X - 0.075, Y}, 0.15, 0.46, BRICK);
    canvas.rectangle({X - 0.085, Y + 0.28}, 0.17, 0.014, STONE);
    canvas.rectangle({X - 0.085, Y + 0.455}, 0.17, 0.016, STONE);
    const Point roof[] = {{X - 0.09, Y + 0.471}, {X, Y + 0.66}, {X + 0.09, Y + 0.471}};
    canvas.polygon(roof, {86, 106, 120});
    canvas.rectangle({X - 0.03, Y}, 0.06, 0.10, WOOD);
    canvas.rectangle({X - 0.018, Y + 0.17}, 0.036, 0.06, GLASS);

    constexpr Point FACE = {X, Y + 0.375};
    canvas.circle(FACE, 0.066, BLACK);
    canvas.circle(FACE, 0.060, WHITE);
    const auto hand = [&](double turns, double from, double to, double thickness, Colour colour) {
        const double angle = TURN * turns;
        canvas.line({FACE.x + from * std::sin(angle), FACE.y + from * std::cos(angle)},
                    {FACE.x + to * std::sin(angle), FACE.y + to * std::cos(angle)}, thickness, colour);
    };
    for (int hour = 0; hour < 12; ++hour)
        hand(hour / 12.0, 0.048, 0.057, 0.004, BLACK);
    if (!clock)
        return;
    const double minutes = clock->tm_min + clock->tm_sec / 60.0;
    hand((clock->tm_hour % 12 + minutes / 60) / 12, -0.006, 0.032, 0.008, BLACK);
    hand(minutes / 60, -0.008, 0.048, 0.005, BLACK);
    hand(clock->tm_sec / 60.0, -0.010, 0.050, 0.002, {200, 40, 40});
}

/** A colour chart: bars of the pure colours above steps of grey. */
void drawChart(Canvas &canvas)
{
    constexpr double X = 1.02;
    constexpr double Y = 0.66;
    constexpr double WIDTH = 0.42;
    canvas.rectangle({X + 0.05, Y - 0.14}, 0.02, 0.16, WOOD);
    canvas.rectangle({X + WIDTH - 0.07, Y - 0.14}, 0.02, 0.16, WOOD);
    canvas.rectangle({X - 0.012, Y - 0.012}, WIDTH + 0.024, 0.284, BLACK);
    constexpr Colour BARS[] = {{235, 235, 235}, {235, 235, 16}, {16, 235, 235}, {16, 235, 16},
                               {235, 16, 235},  {235, 16, 16},  {16, 16, 235},  {16, 16, 16}};
    constexpr double BAR = WIDTH / std::size(BARS);
    for (size_t i = 0; i < std::size(BARS); ++i) {
        const double x = X + BAR * static_cast<double>(i);
        const auto grey = static_cast<std::uint8_t>(16 + i * 31);
        canvas.rectangle({x, Y + 0.07}, BAR, 0.19, BARS[i]);
        canvas.rectangle({x, Y}, BAR, 0.07, {grey, grey, grey});
    }
}

void drawCar(Canvas &canvas, Point at, double direction, Colour colour)
{
    const auto part = [&](double x, double y, double width, double height, Colour paint) {
        canvas.rectangle({at.x + (direction > 0 ? x : -x - width), at.y + y}, width, height, paint);
    };
    canvas.ellipse({at.x, at.y - 0.032}, 0.13, 0.014, BLACK, 0.35);
    const Point cabin[] = {{at.x - 0.085 * direction, at.y + 0.035},
                           {at.x - 0.060 * direction, at.y + 0.085},
                           {at.x + 0.030 * direction, at.y + 0.085},
                           {at.x + 0.065 * direction, at.y + 0.035}};
    canvas.polygon(cabin, mix(colour, BLACK, 0.25));
    part(-0.055, 0.042, 0.040, 0.032, GLASS);
    part(-0.007, 0.042, 0.038, 0.032, GLASS);
    part(-0.12, -0.015, 0.24, 0.055, colour);
    part(0.110, 0.010, 0.012, 0.016, {255, 240, 170});
    part(-0.121, 0.010, 0.010, 0.016, {220, 30, 30});
    for (const double wheel : {-0.070, 0.070}) {
        canvas.circle({at.x + wheel, at.y - 0.016}, 0.026, BLACK);
        canvas.circle({at.x + wheel, at.y - 0.016}, 0.011, STONE);
    }
}

/** Draws a text whose lower left corner is `at`, its letters `height` high. */
void drawSign(Canvas &canvas, Point at, double height, std::string_view text, Colour colour)
{
    const double dot = height / GLYPH_HEIGHT;
    for (const Glyph glyph : glyphsOf(text)) {
        for (int row = 0; row < GLYPH_HEIGHT; ++row)
            for (int column = 0; column < GLYPH_WIDTH; ++column)
                if (glyphDot(glyph, column, row))
                    canvas.rectangle({at.x + column * dot, at.y + height - (row + 1) * dot}, dot, dot, colour);
        at.x += CELL_WIDTH * dot;
    }
}

void drawRoad(Canvas &canvas, double seconds)
{
    canvas.rectangle({0, 0.245}, WORLD_WIDTH, 0.225, ASPHALT);
    canvas.rectangle({0, 0.452}, WORLD_WIDTH, 0.008, WHITE);
    canvas.rectangle({0, 0.255}, WORLD_WIDTH, 0.008, WHITE);
    for (int i = 0; i < 25; ++i)
        canvas.rectangle({0.05 + 0.2 * i, 0.352}, 0.10, 0.010, WHITE);

    constexpr double WAY = WORLD_WIDTH + 0.4;
    drawCar(canvas, {goRound(-0.2, WAY, 4.2, -0.21, seconds), 0.415}, -1, {46, 96, 168});
    drawCar(canvas, {goRound(-0.2, WAY, 1.6, -0.21, seconds), 0.415}, -1, {222, 220, 214});
    drawCar(canvas, {goRound(-0.2, WAY, 2.3, 0.26, seconds), 0.310}, 1, {204, 52, 44});
    drawCar(canvas, {goRound(-0.2, WAY, 5.0, 0.26, seconds), 0.310}, 1, {228, 178, 48});

    // Posts that say where one looks.
    constexpr std::string_view NUMBERS[] = {"1", "2", "3", "4", "5", "6", "7", "8", "9"};
    for (size_t i = 0; i < std::size(NUMBERS); ++i) {
        const double x = 0.5 + 0.5 * static_cast<double>(i);
        if (!canvas.shows(x - 0.1, x + 0.1))
            continue;
        canvas.rectangle({x - 0.006, 0.12}, 0.012, 0.10, WOOD);
        canvas.rectangle({x - 0.045, 0.165}, 0.09, 0.095, WHITE);
        canvas.rectangle({x - 0.039, 0.171}, 0.078, 0.083, {36, 84, 150});
        drawSign(canvas, {x - 0.020, 0.176}, 0.066, NUMBERS[i], WHITE);
    }
}

Projection projectionOf(const Image &image, const View &view)
{
    const double aspect = static_cast<double>(image.width) / image.height;
    const double zoom = std::clamp(view.zoom, 1.0, 10.0);
    const double panWay = std::max(0.0, (WORLD_WIDTH - aspect) / 2);
    const double centreX = WORLD_WIDTH / 2 + std::clamp(view.pan, -1.0, 1.0) * panWay;
    const double centreY = WORLD_HEIGHT / 2 + std::clamp(view.tilt, -1.0, 1.0) * (WORLD_HEIGHT - 1) / 2;
    const double scale = image.height * zoom;
    return {.scale = scale, .left = centreX - aspect / zoom / 2, .top = centreY + 1 / zoom / 2};
}

} // namespace

void drawScene(Image &image, const View &view, double seconds, const std::optional<std::tm> &clock)
{
    Canvas canvas(image, projectionOf(image, view));
    drawSky(canvas, seconds);
    drawMountains(canvas);
    drawGround(canvas);
    drawLake(canvas, seconds);
    drawLighthouse(canvas);
    drawTrees(canvas);
    drawChart(canvas);
    drawWindmill(canvas, seconds);
    drawHouse(canvas);
    drawClockTower(canvas, clock);
    drawRoad(canvas, seconds);
}

} // namespace camera
