#pragma once

#include <optional>
#include <string_view>

namespace camera
{

/** The word of a switch, "on" or "off"; nothing when it is neither. */
[[nodiscard]] inline std::optional<bool> parseOnOff(std::string_view text)
{
    if (text == "on" || text == "off")
        return text == "on";
    return std::nullopt;
}

} // namespace camera
