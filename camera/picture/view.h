#pragma once

namespace camera
{

/** Where the camera looks. The PTZ head moves it; the picture is drawn from it, frame by frame. */
struct View {
    double pan = 0;  ///< -1, all the way to the left, to 1, to the right
    double tilt = 0; ///< -1, all the way down, to 1, up
    double zoom = 1; ///< 1, the widest, to 10
};

inline constexpr double MAX_ZOOM = 10;

/**
 * How much there is to see from one end of pan and tilt to the other, in heights of the widest picture. Head and
 * picture have to agree on it, so that the head can bring a point of the picture to its centre.
 */
inline constexpr double SCENE_WIDTH = 5;
inline constexpr double SCENE_HEIGHT = 1.7;

} // namespace camera
