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
    struct Case {
        std::vector<const char *> arguments;
        const char *address;
        unsigned short port;
        bool authentication;
    };
    const Case cases[] = {
        {{}, "127.0.0.1", 8080, false},
        {{"--listen", "80"}, "127.0.0.1", 80, false},
        {{"--listen=0"}, "127.0.0.1", 0, false},
        {{"--listen", "0.0.0.0:90", "--listen=localhost:80"}, "127.0.0.1", 80, false},
        {{"--listen", "127.0.0.2:0"}, "127.0.0.2", 0, false},
        {{"--listen", "[::1]:80"}, "::1", 80, false},
        {{"--listen", "0.0.0.0:8080"}, "0.0.0.0", 8080, true},
        {{"--listen", "[::]:65535"}, "::", 65535, true},
        {{"--listen", "192.168.1.2:80", "--auth=off"}, "192.168.1.2", 80, false},
        {{"--auth", "on"}, "127.0.0.1", 8080, true},
    };
    for (const Case &test : cases) {
        const Options options = parse(test.arguments);
        EXPECT_EQ(options.address, test.address);
        EXPECT_EQ(options.port, test.port);
        EXPECT_EQ(options.authentication, test.authentication) << test.address;
        EXPECT_TRUE(options.daemon.ends_with("/kelpa"));
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
    for (const std::string listen : {":80", "127.0.0.1", "127.0.0.1:", "127.0.0.1:-1", "127.0.0.1:8x",
                                     "127.0.0.1:65536", "65536", "8x", "::1:80", "camera:80"})
        EXPECT_EQ(errorOf({"--listen", listen.c_str()}),
                  "--listen: takes PORT or ADDRESS:PORT, such as 8080, 127.0.0.1:8080 or [::]:80, not " + listen +
                      "; see --help");
    const std::pair<std::vector<const char *>, const char *> cases[] = {
        {{"--auth", "yes"}, "--auth: takes on or off, not yes; see --help"},
        {{"--port", "80"}, "--port: unknown option; see --help"},
        {{"--auth=yes", "--port=80"}, "--port: unknown option; see --help"},
        {{"8080"}, "8080: unexpected argument; see --help"},
        {{"--root"}, "--root: needs a value; see --help"},
        {{"--root=", "--verbose"}, "--root: needs a value; see --help"},
    };
    for (const auto &[arguments, error] : cases)
        EXPECT_EQ(errorOf(arguments), error);
}

TEST(Options, HelpAndVersionArePrintedInstead)
{
    const std::string help = parse({"--help"}).text;
    for (const char *option :
         {"--root DIR", "--listen [ADDRESS:]PORT", "--kelpa PATH", "--auth on|off", "--fair on|off", "--verbose"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
    char version[16];
    Version_Format(KELPA_VERSION, version);
    EXPECT_EQ(parse({"--version"}).text, "kelpa-camera " + std::string(version) + "\n") << "the daemon's own";
    EXPECT_EQ(parse({}).text, "");
}

} // namespace
