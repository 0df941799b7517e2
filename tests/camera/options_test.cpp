#include "camera/options.h"

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
        {{"--listen", "127.0.0.2:0"}, "127.0.0.2", 0, false},
        {{"--listen", "[::1]:80"}, "::1", 80, false},
        {{"--listen", "0.0.0.0:8080"}, "0.0.0.0", 8080, true},
        {{"--listen", "[::]:65535"}, "::", 65535, true},
        {{"--listen", "192.168.1.2:80", "--auth", "off"}, "192.168.1.2", 80, false},
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

TEST(Options, WhatCannotBeMeantIsRefused)
{
    for (const char *listen : {":80", "127.0.0.1", "127.0.0.1:", "127.0.0.1:-1", "127.0.0.1:8x", "127.0.0.1:65536",
                               "::1:80", "camera:80"})
        EXPECT_THROW((void)parse({"--listen", listen}), UsageError) << listen;
    EXPECT_THROW((void)parse({"--auth", "yes"}), UsageError);
    EXPECT_THROW((void)parse({"--port", "80"}), UsageError);
    EXPECT_THROW((void)parse({"8080"}), UsageError);
    EXPECT_THROW((void)parse({"--auth"}), UsageError);
    EXPECT_THROW((void)parseOptions(std::vector<const char *>{"--root"}), UsageError) << "without its value";
}

} // namespace
