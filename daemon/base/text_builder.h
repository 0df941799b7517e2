#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/** A number's decimal digits, with a sign when it is negative. */
class NumberText
{
  public:
    explicit NumberText(int64_t llValue);
    operator std::string_view() const { return {m_acDigits + m_first, sizeof m_acDigits - m_first}; }

  private:
    char m_acDigits[20]; ///< INT64_MIN's, from the end
    size_t m_first = sizeof m_acDigits;
};

/**
 * Builds a text in somebody else's buffer: never allocates, never writes past its limit, always terminated. What
 * does not fit is cut at the limit and a flag that sticks says so; it is asked once, at the end, or not at all
 * where cutting is the rule.
 */
class TextBuilder
{
  public:
    /** Starts an empty text of at most out.size() - 1 bytes; `out` is at least one byte and outlives the builder.
     */
    explicit TextBuilder(std::span<char> out);

    void Add(std::string_view text);
    void AddInt(int32_t iValue);
    /** As printf(3). */
    void Addf(const char *pcFormat, ...) __attribute__((format(printf, 2, 3)));
    void Addv(const char *pcFormat, va_list args) __attribute__((format(printf, 2, 0)));

    /* The lines of text replies: the key with its "=", the value, CR LF. */
    void Line(std::string_view key, std::string_view value);
    void Line(std::string_view key, int32_t iValue);
    void LineOnOff(std::string_view key, bool on) { Line(key, on ? "on" : "off"); }
    void LineYesNo(std::string_view key, bool yes) { Line(key, yes ? "yes" : "no"); }

    /** Empties the text; the flag of a cut goes too. */
    void Clear();
    /** Takes the last `count` bytes away again, at most all. */
    void DropLast(size_t count);

    [[nodiscard]] size_t Length() const { return m_length; }
    [[nodiscard]] bool Empty() const { return m_length == 0; }
    [[nodiscard]] bool Cut() const { return m_cut; }
    [[nodiscard]] std::string_view View() const { return {m_out.data(), m_length}; }
    [[nodiscard]] const char *Text() const { return m_out.data(); }
    /** What is left of the buffer, the terminator's byte included: room for a second builder behind this text. */
    [[nodiscard]] std::span<char> Rest() const { return m_out.last(m_out.size() - m_length); }
    /** Counts in what a second builder has written into Rest(). */
    void Extend(const TextBuilder &rest);

  private:
    std::span<char> m_out;
    size_t m_length = 0;
    bool m_cut = false;
};

/** A builder with a buffer of its own for texts of at most N - 1 bytes. */
template <size_t N>
class TextBuffer : public TextBuilder
{
  public:
    TextBuffer() : TextBuilder(m_acBuffer) {}
    TextBuffer(const TextBuffer &) = delete;
    TextBuffer &operator=(const TextBuffer &) = delete;

  private:
    char m_acBuffer[N];
};

/**
 * Copies a text into a fixed-size field, at most one byte less than the field, terminated. The bytes behind the
 * terminator are left alone.
 */
void Text_Copy(std::span<char> field, std::string_view text);
