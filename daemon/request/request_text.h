#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/session/index.h"
#include "daemon/session/session.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/**
 * Refuses a text that holds one of "><)(%" or "&&". Returns 0 when it is clean, -1 (traced) when not. As a
 * consequence a URL-encoded value that was not decoded at intake is refused for its "%".
 */
[[nodiscard]] int XSS_Protect(std::string_view text);

/**
 * Takes the value of `key` (with its "=") out of a request's text: from the key's first occurrence to the next "&".
 * `out` is the field with room for the terminator, so a value of at most out.size() - 1 characters is taken; an
 * empty one is fine. Returns 0; or -1, with `out` left alone, when the key is absent, unterminated or its value too
 * long, and for any text that begins with the digit "0".
 */
[[nodiscard]] int GetStringValueFromText(std::string_view text, std::string_view key, std::span<char> out);

/** A key that carries a number: `Key("mdw%d=", iWindow)`. At most 63 characters. */
class Key : public TextBuffer<64>
{
  public:
    explicit Key(const char *pcFormat, ...) __attribute__((format(printf, 2, 3)));
    operator std::string_view() const { return View(); }
};

/** The longest text that is read as a number. */
inline constexpr size_t MAX_INT_TEXT = 127;

/** The same for a decimal number of at most MAX_INT_TEXT characters, converted as Text_ToInt does. */
[[nodiscard]] int GetIntValueFromText(std::string_view text, std::string_view key, int32_t &iValue);

/**
 * Reads three flags that must all be given as 0 or 1. Returns -1 otherwise, and when the first is set together with
 * one of the others.
 */
[[nodiscard]] int GetBoolTripleFromText(std::string_view text, std::string_view key1, std::string_view key2,
                                        std::string_view key3, int32_t &iValue1, int32_t &iValue2,
                                        int32_t &iValue3);

/** The text of a change: the query string, or the POST body when the query string is empty. */
[[nodiscard]] std::span<char> Request_SourceText(FDIPCInfo &request);

/** Appends "&" to a query string or body; false when the buffer is full. */
[[nodiscard]] bool Request_AppendAmpersand(std::span<char> source);

/**
 * What every SET parser begins with: sets mapping method and index, chooses the query string or else the POST body,
 * appends "&" to it in place and filters it. Returns 0 with the text, which then ends with "&"; or -1 (logged in
 * the parser's name) with the status kind set: `emptyReason` for a request without text or with a full buffer,
 * BadRequest for forbidden characters.
 */
[[nodiscard]] int Parser_Begin(SessionSlot &slot, SetIndex index, const char *pcParser, std::string_view &text,
                               StatusKind emptyReason = StatusKind::BadRequest);
