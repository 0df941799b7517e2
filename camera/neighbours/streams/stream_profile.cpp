#include "camera/neighbours/streams/stream_profile.h"

#include "camera/base/number.h"

#include <algorithm>
#include <array>

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

} // namespace

std::optional<Resolution> parseResolution(std::string_view text)
{
    if (text == "QCIF")
        return Resolution{176, 144};
    if (text == "CIF")
        return Resolution{352, 288};
    if (text == "4CIF")
        return Resolution{704, 576};
    const int width = takeNumber(text).value_or(0);
    if (!text.starts_with('x'))
        return std::nullopt;
    text.remove_prefix(1);
    const int height = takeNumber(text).value_or(0);
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

std::optional<int> parseHandBack(std::string_view text)
{
    constexpr std::string_view STREAM = "stream";
    int profile = 0;
    if (text.starts_with(STREAM)) {
        text.remove_prefix(STREAM.size());
        profile = takeNumber(text).value_or(0);
        if (profile <= 0 || !text.starts_with("\r\n"))
            return std::nullopt;
        text.remove_prefix(2);
    }
    if (!text.starts_with("--"))
        return std::nullopt;
    return profile;
}

} // namespace camera
