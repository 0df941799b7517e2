#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

/** N bytes with poison behind them: intact() tells whether anybody wrote past the limit. */
template <size_t N>
class PoisonedBuffer
{
  public:
    PoisonedBuffer() { bytes_.fill(POISON); }
    [[nodiscard]] std::span<char> span() { return {bytes_.data(), N}; }
    [[nodiscard]] const char *text() const { return bytes_.data(); }
    [[nodiscard]] bool intact() const
    {
        return std::all_of(bytes_.begin() + N, bytes_.end(), [](char c) { return c == POISON; });
    }
    /** True when nothing was written from `from` on. */
    [[nodiscard]] bool intactFrom(size_t from) const
    {
        return std::all_of(bytes_.begin() + static_cast<std::ptrdiff_t>(from), bytes_.end(),
                           [](char c) { return c == POISON; });
    }

  private:
    static constexpr char POISON = '\xA5';
    std::array<char, N + 16> bytes_;
};
