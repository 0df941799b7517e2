#pragma once

#include "camera/picture/canvas.h"
#include "camera/picture/view.h"

#include <ctime>
#include <optional>

namespace camera
{

/**
 * Draws what stands before the camera: a landscape of which the widest view shows a third. Windmill, clouds, cars
 * and a boat move; where they are depends on `seconds` alone. The tower's clock shows `clock`, if there is one.
 */
void drawScene(Image &image, const View &view, double seconds, const std::optional<std::tm> &clock);

} // namespace camera
