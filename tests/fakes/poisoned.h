#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

/** N bytes with poison behind them: Intact() tells whether anybody wrote past the limit. */
template <size_t N>
class PoisonedBuffer
{
  public:
    PoisonedBuffer() { m_bytes.fill(POISON); }
    [[nodiscard]] std::span<char> Span() { return {m_bytes.data(), N}; }
    [[nodiscard]] const char *Text() const { return m_bytes.data(); }
    [[nodiscard]] bool Intact() const
    {
        return std::all_of(m_bytes.begin() + N, m_bytes.end(), [](char c) { return c == POISON; });
    }
    /** True when nothing was written from `from` on. */
    [[nodiscard]] bool IntactFrom(size_t from) const
    {
        return std::all_of(m_bytes.begin() + static_cast<std::ptrdiff_t>(from), m_bytes.end(),
                           [](char c) { return c == POISON; });
    }

  private:
    static constexpr char POISON = '\xA5';
    std::array<char, N + 16> m_bytes;
};
