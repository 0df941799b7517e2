#pragma once

#include <string_view>
#include <vector>

namespace camera
{

/** The letters that are drawn into the picture: a cell of 6 by 9 dots, 5 by 8 of which a glyph uses. */
inline constexpr int GLYPH_WIDTH = 5;
inline constexpr int GLYPH_HEIGHT = 8;
inline constexpr int CELL_WIDTH = 6;
inline constexpr int CELL_HEIGHT = 9;

/** A glyph's number in the font. */
using Glyph = unsigned char;

/**
 * The glyphs of a text: one per character of UTF-8. What the font does not have, and every byte that is no UTF-8,
 * is a box; control characters are left out.
 */
[[nodiscard]] std::vector<Glyph> glyphsOf(std::string_view text);

/** Whether a dot of a glyph is set; column 0 is the left one, row 0 the topmost. */
[[nodiscard]] bool glyphDot(Glyph glyph, int column, int row);

} // namespace camera
