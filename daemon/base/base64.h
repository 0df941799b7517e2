#pragma once

#include <cstddef>
#include <span>
#include <string_view>

/**
 * Decodes base64 text (RFC 4648, the standard alphabet) into `out`, terminated. Carriage returns and line feeds are
 * passed over, "=" ends its group of four, any other character outside the alphabet counts as "A", an incomplete
 * last group is left out. Returns the number of bytes; or -1, with `out` left alone, when they might not fit.
 */
int Base64_Decode(std::string_view text, std::span<char> out);
