#include "camera/options.h"

#include "camera/base/files.h"
#include "camera/base/root_folder.h"

#include <boost/asio/ip/address.hpp>
#include <charconv>
#include <optional>

namespace camera
{

namespace
{

/** Splits "ADDRESS:PORT", the address of IPv6 standing in brackets. */
void parseListen(const std::string &text, Options &options)
{
    const size_t colon = text.rfind(':');
    const std::string port = colon == std::string::npos ? "" : text.substr(colon + 1);
    options.address = text.substr(0, colon);
    if (options.address == "localhost")
        options.address = "127.0.0.1";
    if (options.address.starts_with('[') && options.address.ends_with(']'))
        options.address = options.address.substr(1, options.address.size() - 2);
    else if (options.address.find(':') != std::string::npos)
        options.address.clear();

    boost::system::error_code error;
    boost::asio::ip::make_address(options.address, error);
    const auto [end, portError] = std::from_chars(port.data(), port.data() + port.size(), options.port);
    if (error || port.empty() || portError != std::errc() || end != port.data() + port.size())
        throw UsageError("--listen takes ADDRESS:PORT, such as 127.0.0.1:8080 or [::]:80, not " + text);
}

bool parseOnOff(const std::string &name, const std::string &text)
{
    if (text != "on" && text != "off")
        throw UsageError(name + " takes on or off, not " + text);
    return text == "on";
}

} // namespace

Options parseOptions(std::span<const char *const> arguments)
{
    Options options;
    std::optional<bool> authentication;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string name = arguments[i];
        const auto value = [&]() -> std::string {
            if (++i == arguments.size())
                throw UsageError(name + " takes a value");
            return arguments[i];
        };
        if (name == "--root")
            options.root = value();
        else if (name == "--listen")
            parseListen(value(), options);
        else if (name == "--kelpa")
            options.daemon = value();
        else if (name == "--auth")
            authentication = parseOnOff(name, value());
        else if (name == "--verbose")
            options.verbose = true;
        else if (name == "--help" || name == "-h")
            options.help = true;
        else
            throw UsageError("unknown option " + name);
    }
    if (options.help)
        return options;
    if (options.root.empty())
        options.root = RootFolder::defaultFolder();
    if (options.daemon.empty())
        options.daemon = programFolder() + "/kelpa";
    options.authentication = authentication.value_or(!boost::asio::ip::make_address(options.address).is_loopback());
    return options;
}

std::string usageText()
{
    return "Usage: kelpa-camera [OPTION]...\n"
           "A camera without hardware: everything that stands around the daemon kelpa, and the daemon.\n"
           "\n"
           "  --root DIR              the camera's file system, made where it is missing\n"
           "                          (default: kelpa-camera in $XDG_STATE_HOME or ~/.local/state)\n"
           "  --listen ADDRESS:PORT   where the web server listens; port 0 takes a free one\n"
           "                          (default: 127.0.0.1:8080)\n"
           "  --kelpa PATH            the daemon's program (default: beside this program)\n"
           "  --auth on|off           ask for user and password (default: on, unless on loopback)\n"
           "  --verbose               print the daemon's traces and log\n"
           "  --help                  print this text\n";
}

} // namespace camera
