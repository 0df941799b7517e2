#include "camera/base/command_line.h"
#include "camera/options.h"
#include "daemon/server/version.h"

#include <gtest/gtest.h>
#include <vector>

namespace
{

using namespace camera;

Options parse(std::vector<const char *> arguments)
{
    arguments.insert(arguments.end(), {"--root", "/tmp/r"});
    return parseOptions(arguments);
}

TEST(Options, LoginIsAskedForWhereOthersCanReachTheCamera)
{
    const std::tuple<std::vector<const char *>, const char *, unsigned short, bool> cases[] = {
        {{}, "127.0.0.1", 8080, false},
        {{"--listen=0"}, "127.0.0.1", 0, false},
        {{"--listen", "0.0.0.0:90", "--listen=localhost:80"}, "127.0.0.1", 80, false},
        {{"--listen", "[::]:65535"}, "::", 65535, true},
        {{"--listen", "192.168.1.2:80", "--auth=off"}, "192.168.1.2", 80, false},
        {{"--auth", "on"}, "127.0.0.1", 8080, true},
    };
    for (const auto &[arguments, address, port, authentication] : cases) {
        const Options options = parse(arguments);
        EXPECT_EQ(options.address, address);
        EXPECT_EQ(options.port, port);
        EXPECT_EQ(options.authentication, authentication) << address;
    }
}

TEST(Options, WhatCannotBeMeantIsSaidInOneLine)
{
    const auto errorOf = [](std::vector<const char *> arguments) -> std::string {
        try {
            return "taken: " + parseOptions(arguments).root;
        } catch (const UsageError &error) {
            return error.what();
        }
    };
    for (const std::string listen : {":80", "127.0.0.1:", "127.0.0.1:8x", "65536", "::1:80", "camera:80"})
        EXPECT_EQ(errorOf({"--listen", listen.c_str()}),
                  "--listen: takes PORT or ADDRESS:PORT, such as 8080, 127.0.0.1:8080 or [::]:80, not " + listen +
                      "; see --help");
    const std::pair<std::vector<const char *>, const char *> cases[] = {
        {{"--auth", "yes"}, "--auth: takes on or off, not yes; see --help"},
        {{"--port", "80"}, "--port: unknown option; see --help"},
        {{"8080"}, "8080: unexpected argument; see --help"},
        {{"--root=", "--verbose"}, "--root: needs a value; see --help"},
    };
    for (const auto &[arguments, error] : cases)
        EXPECT_EQ(errorOf(arguments), error);
}

TEST(Options, HelpAndVersionArePrintedInstead)
{
    EXPECT_NE(parse({"--help"}).text.find("--listen [ADDRESS:]PORT"), std::string::npos);
    char version[16];
    Version_Format(KELPA_VERSION, version);
    EXPECT_EQ(parse({"--version"}).text, "kelpa-camera " + std::string(version) + "\n") << "the daemon's own";
}

} // namespace
