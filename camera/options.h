#pragma once

#include <span>
#include <string>

namespace camera
{

/** The command line; parseOptions has put the defaults in. */
struct Options {
    std::string text; ///< what is to be printed instead of running, such as the help; mostly empty
    std::string root;
    std::string address = "127.0.0.1";
    unsigned short port = 8080; ///< 0: any free one
    std::string daemon;         ///< the daemon's program
    bool authentication = false;
    bool fair = false; ///< the daemon's fair mode
    bool verbose = false;
};

/**
 * Reads the arguments that follow the program's name, and fills in what they leave open. Throws
 * UsageError.
 */
[[nodiscard]] Options parseOptions(std::span<const char *const> arguments);

} // namespace camera
