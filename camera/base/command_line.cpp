#include "camera/base/command_line.h"

#include <CLI/CLI.hpp>
#include <sstream>
#include <string_view>
#include <vector>

namespace camera
{

namespace
{

/** The part of a text that comes before a character; all of it where there is none. */
std::string upTo(char end, const std::string &text)
{
    return text.substr(0, text.find(end));
}

/** What is wrong. Of several mistakes it names the one that is not known at all. */
std::string explain(const CLI::App &app, const CLI::ParseError &error)
{
    const std::vector<std::string> unknown = app.remaining();
    if (!unknown.empty() && unknown.front().starts_with('-'))
        return upTo('=', unknown.front()) + ": unknown option";
    if (!unknown.empty())
        return unknown.front() + ": unexpected argument";
    if (dynamic_cast<const CLI::ArgumentMismatch *>(&error) != nullptr)
        return upTo(':', error.what()) + ": needs a value";
    return error.what();
}

} // namespace

void prepareCommandLine(CLI::App &app, const std::string &program, const std::string &description)
{
    app.name(program);
    app.description(description);
    app.get_formatter()->label("Positionals", "Arguments");
    app.get_formatter()->label("TEXT", ""); // the type of an argument that is just a text
    app.get_formatter()->label("REQUIRED", "");
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.set_help_flag("-h,--help", "print this text");
    app.set_version_flag("--version", program + " " PROGRAM_VERSION, "print the version");
}

std::string parseCommandLine(CLI::App &app, std::span<const char *const> arguments)
{
    // CLI11 would take the next argument for the value.
    for (const std::string_view argument : arguments)
        if (argument.starts_with("--") && argument.ends_with('='))
            throw UsageError(upTo('=', std::string(argument)) + ": needs a value");
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend())); // in the order that CLI11 takes
        return {};
    } catch (const CLI::Success &wanted) {
        std::ostringstream text;
        app.exit(wanted, text, text);
        return text.str();
    } catch (const CLI::ParseError &error) {
        throw UsageError(explain(app, error));
    }
}

} // namespace camera
