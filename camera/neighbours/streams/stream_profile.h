#pragma once

#include "camera/store/store.h"

#include <optional>
#include <string>
#include <string_view>

namespace camera
{

/** The size of a picture in pixels. */
struct Resolution {
    int width, height;
    bool operator==(const Resolution &) const = default;
};

/** Reads "640x480" or one of the words QCIF, CIF and 4CIF; nothing for what is neither, or no size of a picture. */
[[nodiscard]] std::optional<Resolution> parseResolution(std::string_view text);

/** What the settings say about one of the camera's streams. */
struct StreamProfile {
    std::string codec;
    Resolution resolution;
    int framesPerSecond; ///< as motion JPEG, whatever the codec
    int jpegQuality;     ///< 1 to 100

    [[nodiscard]] bool isMotionJpeg() const { return codec == "mjpeg"; }
};

[[nodiscard]] int countProfiles(const Store &store);
/** The settings of a profile, counted from 1; nothing when there is no such profile. */
[[nodiscard]] std::optional<StreamProfile> readProfile(const Store &store, int profile);
/** The first profile that is motion JPEG, 0 when none is. */
[[nodiscard]] int firstMotionJpegProfile(const Store &store);

/** The profile that a hand-back asks for; 0 when it names none, nothing when it is not one. */
[[nodiscard]] std::optional<int> parseHandBack(std::string_view text);

} // namespace camera
