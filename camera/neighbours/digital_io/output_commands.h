#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace camera
{

/** "Switch an output": its number from 0, and on or off. */
struct OutputCommand {
    int output;
    bool on;
    bool operator==(const OutputCommand &) const = default;
};

/**
 * Takes the commands "setdo 0 1" out of a stream of bytes in which nothing stands between one command and the next,
 * and in which a command may arrive in pieces. What is no command is skipped.
 */
class OutputCommands
{
  public:
    /** Adds bytes of the stream. */
    void add(std::string_view bytes) { waiting_ += bytes; }
    /** The next whole command, or nothing until more bytes come. */
    [[nodiscard]] std::optional<OutputCommand> next();

  private:
    std::string waiting_; ///< emptied by next() to less than one command
};

} // namespace camera
