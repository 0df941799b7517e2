#pragma once

#include "daemon/base/text_builder.h"
#include "daemon/configer/configer.h"

/** A key that carries a number: `Key("motion_c0_win_i%d_left=", iWindow)`. At most 63 characters. */
class Key : public TextBuffer<64>
{
  public:
    explicit Key(const char *pcFormat, ...) __attribute__((format(printf, 2, 3)));
    operator std::string_view() const { return View(); }
};

/**
 * Reads from the store and picks values out of its reply. The first failure sticks and is asked once, with
 * Failed(); a value that could not be taken leaves its field alone. Failures are logged in the caller's name.
 */
class ConfigerReader
{
  public:
    ConfigerReader(const char *pcCaller, std::span<char> buffer) : m_pcCaller(pcCaller), m_buffer(buffer)
    {
        m_buffer[0] = '\0';
    }

    /** Asks the store for the keys, each with its trailing "&". The reply takes the place of an earlier one.
     *  After a failure nothing is asked any more. */
    void Get(std::initializer_list<std::string_view> keys);

    /* Values of the reply; keys are given with their "=". */
    void Int(std::string_view key, int32_t &iValue);
    void Bool(std::string_view key, int32_t &iValue);
    void Text(std::string_view key, std::span<char> out);
    /** Takes a text that may be missing or too long; then `out` is left alone and nothing has failed. */
    void TextIfGiven(std::string_view key, std::span<char> out) const;

    void Fail() { m_failed = true; }
    [[nodiscard]] bool Failed() const { return m_failed; }
    [[nodiscard]] std::string_view View() const { return m_buffer.data(); }

  private:
    const char *m_pcCaller;
    std::span<char> m_buffer;
    bool m_failed = false;
};

/** A reader with a reply buffer of N bytes: `ConfigerReply<1024> reply(__func__);` */
template <size_t N>
class ConfigerReply : public ConfigerReader
{
  public:
    explicit ConfigerReply(const char *pcCaller) : ConfigerReader(pcCaller, m_acBuffer) {}
    ConfigerReply(const ConfigerReply &) = delete;
    ConfigerReply &operator=(const ConfigerReply &) = delete;

  private:
    char m_acBuffer[N];
};
