#pragma once

#include <algorithm>
#include <string_view>

namespace camera
{

/** Whether a text holds what the lines of the camera's files and protocols can not carry. */
[[nodiscard]] inline bool holdsControlCharacter(std::string_view text)
{
    return std::ranges::any_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; });
}

} // namespace camera
