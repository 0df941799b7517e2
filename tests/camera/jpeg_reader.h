#pragma once

#include "camera/picture/canvas.h"

#include <string_view>

/** Decodes a whole JPEG; throws std::runtime_error when anything is wrong with it, or behind it. */
[[nodiscard]] camera::Image readJpeg(std::string_view bytes);
