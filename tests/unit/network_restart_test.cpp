#include "server/globals.h"
#include "tests/fakes/in_process_server.h"

#include <gtest/gtest.h>

TEST(NetworkRestart, IsMarkedByWhatNeedsItAndByNothingElse)
{
    const struct {
        const char *query;
        bool restarts;
    } cases[] = {{"dhcp=on", true},
                 {"ip=1.2.3.4", true},
                 {"netmask=1.2.3.4", true},
                 {"gateway=1.2.3.4", true},
                 {"dns1=1.2.3.4", true},
                 {"dns2=1.2.3.4", true},
                 {"upnp=on", true},
                 {"httpport=81", true},
                 {"rtspport=81", true},
                 {"httpexternalport=81", true},
                 {"pppoe=on", false},
                 {"pppoeuser=u", false},
                 {"pppoepass=p", false},
                 {"ddns=on", false},
                 {"ddnsprovider=dyndns", false}};
    InProcessServer in;
    for (const auto &test : cases) {
        SCOPED_TRACE(test.query);
        g_tServerGlobals.iNetworkRestart = 0;
        EXPECT_NE(in.Exchange({.url = "/config/network.cgi", .query = test.query}), BAD_REQUEST);
        EXPECT_EQ(g_tServerGlobals.iNetworkRestart != 0, test.restarts);
    }
    g_tServerGlobals.iNetworkRestart = 0;
}
