#include "camera/options.h"

#include "camera/base/command_line.h"
#include "camera/base/files.h"
#include "camera/base/number.h"
#include "camera/base/on_off.h"
#include "camera/base/root_folder.h"

#include <CLI/CLI.hpp>
#include <boost/asio/ip/address.hpp>

namespace camera
{

namespace
{

/** Reads "PORT" or "ADDRESS:PORT", the address of IPv6 standing in brackets. Throws CLI::ValidationError. */
void parseListen(const std::string &text, Options &options)
{
    const size_t colon = text.rfind(':');
    const std::string port = text.substr(colon + 1); // all of it where there is no colon
    std::string address = colon == std::string::npos ? options.address : text.substr(0, colon);
    if (address == "localhost")
        address = "127.0.0.1";
    if (address.starts_with('[') && address.ends_with(']'))
        address = address.substr(1, address.size() - 2);
    else if (address.find(':') != std::string::npos)
        address.clear();

    boost::system::error_code error;
    boost::asio::ip::make_address(address, error);
    const auto number = parseNumber<unsigned short>(port);
    if (error || !number)
        throw CLI::ValidationError("--listen", "takes PORT or ADDRESS:PORT, such as 8080, 127.0.0.1:8080 or "
                                               "[::]:80, not " +
                                                   text);
    options.address = address;
    options.port = *number;
}

/** Adds an option that is "on" or "off". */
void addSwitch(CLI::App &app, const std::string &name, bool &value, const std::string &description)
{
    const auto take = [name, &value](const std::string &text) {
        const std::optional<bool> on = parseOnOff(text);
        if (!on)
            throw CLI::ValidationError(name, "takes on or off, not " + text);
        value = *on;
    };
    app.add_option_function<std::string>(name, take, description)->type_name("on|off");
}

} // namespace

Options parseOptions(std::span<const char *const> arguments)
{
    Options options;
    CLI::App app;
    prepareCommandLine(
        app, "kelpa-camera",
        "A camera without hardware: everything that stands around the daemon kelpa, and the daemon.");
    app.add_option("--root", options.root,
                   "the camera's file system, made where it is missing\n"
                   "(default: kelpa-camera in $XDG_STATE_HOME or ~/.local/state)")
        ->type_name("DIR");
    app.add_option_function<std::string>(
           "--listen", [&options](const std::string &text) { parseListen(text, options); },
           "where the web server listens; port 0 takes a free one\n"
           "(default: 127.0.0.1:8080; without ADDRESS: on 127.0.0.1)")
        ->type_name("[ADDRESS:]PORT");
    app.add_option("--kelpa", options.daemon, "the daemon's program (default: beside this program)")
        ->type_name("PATH");
    addSwitch(app, "--auth", options.authentication, "ask for user and password (default: on, unless on loopback)");
    addSwitch(app, "--fair", options.fair, "nobody waits for a client that stalls, see docs/api.md (default: off)");
    app.add_flag("--verbose", options.verbose, "print the daemon's traces and log");

    options.text = parseCommandLine(app, arguments);
    if (!options.text.empty())
        return options;
    if (options.root.empty())
        options.root = RootFolder::defaultFolder();
    if (options.daemon.empty())
        options.daemon = programFolder() + "/kelpa";
    if (app.count("--auth") == 0)
        options.authentication = !boost::asio::ip::make_address(options.address).is_loopback();
    return options;
}

} // namespace camera
