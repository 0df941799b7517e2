#pragma once

#include <span>
#include <stdexcept>
#include <string>

namespace CLI
{
class App;
}

/* The rules of the virtual camera's command line; CLI11 reads it. */

namespace camera
{

/** A command line that cannot be understood. The text is one line for the user; it does not name the program. */
class UsageError : public std::runtime_error
{
  public:
    /** `text` says what is wrong and begins with the option, such as "--auth: ..."; the hint is added here. */
    explicit UsageError(const std::string &text) : std::runtime_error(text + "; see --help") {}
};

/** The exit status after a UsageError. */
inline constexpr int EXIT_USAGE = 2;

/**
 * Adds --help and --version to the options of an application. `program` and `description` head the help text; of an
 * option that is given twice the last value counts.
 */
void prepareCommandLine(CLI::App &app, const std::string &program, const std::string &description);

/**
 * Reads the arguments that follow the program's name. Returns the text that --help or --version asks for, to be
 * printed instead of anything else; empty without them. Throws UsageError.
 */
[[nodiscard]] std::string parseCommandLine(CLI::App &app, std::span<const char *const> arguments);

} // namespace camera
