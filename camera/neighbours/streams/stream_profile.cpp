#include "camera/neighbours/streams/stream_profile.h"

#include "camera/surroundings/neighbour.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>

namespace camera
{

namespace
{

constexpr Resolution LARGEST = {1920, 1200};
constexpr Resolution SMALLEST = {16, 16};
constexpr Resolution DEFAULT_RESOLUTION = {640, 480};
constexpr int MAX_PROFILES = 32;
constexpr int DEFAULT_FRAMES = 15;
/** The API sets at most 30; this is what the drawing can keep up with in small sizes. */
constexpr int MAX_FRAMES = 100;
/** The quality of JPEG for each of the camera's qualities 1 to 5. */
constexpr std::array JPEG_QUALITIES = {30, 50, 70, 82, 92};
constexpr int DEFAULT_QUALITY = 3;

/** Takes a positive number off the text's front; 0 when there is none. */
int takeNumber(std::string_view &text)
{
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || number < 0)
        return 0;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return number;
}

std::tm toCalendar(CameraClock::LocalTime time)
{
    // The time is local already: nothing is left to convert.
    const time_t seconds = time.time_since_epoch().count();
    std::tm calendar{};
    gmtime_r(&seconds, &calendar);
    return calendar;
}

} // namespace

std::optional<Resolution> parseResolution(std::string_view text)
{
    if (text == "QCIF")
        return Resolution{176, 144};
    if (text == "CIF")
        return Resolution{352, 288};
    if (text == "4CIF")
        return Resolution{704, 576};
    const int width = takeNumber(text);
    if (!text.starts_with('x'))
        return std::nullopt;
    text.remove_prefix(1);
    const int height = takeNumber(text);
    if (!text.empty() || width < SMALLEST.width || height < SMALLEST.height || width > LARGEST.width ||
        height > LARGEST.height)
        return std::nullopt;
    return Resolution{width, height};
}

int countProfiles(const Store &store)
{
    return std::clamp(store.number("capability_nmediastream"), 0, MAX_PROFILES);
}

std::optional<StreamProfile> readProfile(const Store &store, int profile)
{
    if (profile < 1 || profile > countProfiles(store))
        return std::nullopt;
    const std::string stream = "videoin_c0_s" + std::to_string(profile - 1);
    const int quality = std::clamp(store.number(stream + "_mjpeg_quant", DEFAULT_QUALITY), 1,
                                   static_cast<int>(JPEG_QUALITIES.size()));
    return StreamProfile{
        .codec = store.text(stream + "_codectype"),
        .resolution = parseResolution(store.text(stream + "_resolution")).value_or(DEFAULT_RESOLUTION),
        .framesPerSecond = std::clamp(store.number(stream + "_mjpeg_maxframe", DEFAULT_FRAMES), 1, MAX_FRAMES),
        .jpegQuality = JPEG_QUALITIES[static_cast<size_t>(quality - 1)]};
}

int firstMotionJpegProfile(const Store &store)
{
    for (int profile = 1; profile <= countProfiles(store); ++profile)
        if (readProfile(store, profile)->isMotionJpeg())
            return profile;
    return 0;
}

PictureContent currentPicture(const Surroundings &around, Resolution resolution)
{
    const Store &store = around.store;
    const auto isOn = [&](std::string_view key) { return store.text(key).starts_with('1'); };
    const std::chrono::duration<double> running = std::chrono::steady_clock::now().time_since_epoch();
    return {.width = resolution.width,
            .height = resolution.height,
            .view = around.view,
            .mirror = isOn("videoin_c0_mirror"),
            .flip = isOn("videoin_c0_flip"),
            .colour = isOn("videoin_c0_color"),
            .brightness = store.number("image_c0_brightness"),
            .contrast = store.number("image_c0_contrast"),
            .saturation = store.number("image_c0_saturation"),
            .title = store.text("layout_title_text"),
            .label = store.text("videoin_c0_text"),
            .clock = toCalendar(around.clock.now()),
            .seconds = running.count()};
}

std::optional<int> parseHandBack(std::string_view text)
{
    constexpr std::string_view STREAM = "stream";
    int profile = 0;
    if (text.starts_with(STREAM)) {
        text.remove_prefix(STREAM.size());
        profile = takeNumber(text);
        if (profile == 0 || !text.starts_with("\r\n"))
            return std::nullopt;
        text.remove_prefix(2);
    }
    if (!text.starts_with("--"))
        return std::nullopt;
    return profile;
}

} // namespace camera
