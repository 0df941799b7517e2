#pragma once

#include "camera/picture/canvas.h"
#include "camera/picture/view.h"

#include <ctime>
#include <optional>
#include <string>

namespace camera
{

/** What the camera's settings and its clock make of a picture. Adjustments go from -5 to 5. */
struct PictureContent {
    int width = 640;
    int height = 480;
    View view = {};
    bool mirror = false; ///< left and right change places
    bool flip = false;   ///< top and bottom change places
    bool colour = true;
    int brightness = 0;
    int contrast = 0;
    int saturation = 0;
    std::string title = {}; ///< at the top, UTF-8; so is the label, at the bottom
    std::string label = {};
    std::optional<std::tm> clock = {}; ///< at the top right; none: no clock in the picture
    double seconds = 0;                ///< what moves is drawn as of this time
};

/** Draws a picture. The texts stay upright and bright, whatever the settings make of the scene. */
[[nodiscard]] Image drawPicture(const PictureContent &content);

} // namespace camera
