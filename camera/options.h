#pragma once

#include <span>
#include <stdexcept>
#include <string>

namespace camera
{

/** The command line; parseOptions has put the defaults in. */
struct Options {
    std::string root;
    std::string address = "127.0.0.1";
    unsigned short port = 8080; ///< 0: any free one
    std::string daemon;         ///< the daemon's program
    bool authentication = false;
    bool verbose = false;
    bool help = false;
};

/** A command line that cannot be understood; the text is for the user. */
class UsageError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/** Reads the arguments that follow the program's name, and fills in what they leave open. Throws UsageError. */
[[nodiscard]] Options parseOptions(std::span<const char *const> arguments);

[[nodiscard]] std::string usageText();

} // namespace camera
