#pragma once

#include <charconv>
#include <optional>
#include <string_view>

namespace camera
{

/** Takes the decimal number off that a text begins with; nothing, and the text as it was, when it does not fit. */
template <class Number = int>
[[nodiscard]] std::optional<Number> takeNumber(std::string_view &text)
{
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return number;
}

/** A text that is a decimal number and nothing else, without blanks or a plus. */
template <class Number = int>
[[nodiscard]] std::optional<Number> parseNumber(std::string_view text)
{
    const std::optional<Number> number = takeNumber<Number>(text);
    return text.empty() ? number : std::nullopt;
}

} // namespace camera
