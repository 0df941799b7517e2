#include "platform/fdipc.h"
#include "tests/fakes/in_process_server.h"
#include "tests/fakes/temp_root.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>

namespace
{
constexpr char PATH[] = "/var/run/http/fdipc1";
}

class HandBack : public testing::Test
{
  protected:
    void StartWebServer() { webServer.Reset(fdipc_server_socket(root.Path(PATH).c_str())); }
    /** Hands one end of a fresh connection back; gives what the web server received and leaves it `passed`. */
    std::string Exchange(const UniqueFd &socket)
    {
        int ends[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        client = ClientSide(UniqueFd(ends[0]));
        const UniqueFd daemonEnd(ends[1]);
        const std::string_view pieces[] = {"path=", "/mjpg", "", "\n"};
        if (fdipc_send(socket.Get(), PATH, pieces, daemonEnd.Get()) < 0)
            return "not sent";
        char acText[64];
        int iPassed = -1;
        const long length = fdipc_receive(webServer.Get(), acText, &iPassed);
        passed.Reset(iPassed);
        return length < 0 ? "not received" : std::string(acText, static_cast<size_t>(length));
    }

    RootEnvironment root;
    UniqueFd webServer;
    ClientSide client;
    UniqueFd passed;
};

TEST_F(HandBack, JoinsThePiecesAndPassesTheConnection)
{
    StartWebServer();
    const UniqueFd socket(fdipc_client_socket(PATH));
    ASSERT_TRUE(socket.Valid());
    EXPECT_EQ(Exchange(socket), "path=/mjpg\n");
    ASSERT_EQ(send(passed.Get(), "picture", 7, 0), 7);
    passed.Reset();
    EXPECT_EQ(client.ReadAll(), "picture");
}

TEST_F(HandBack, FindsAWebServerThatWasRestarted)
{
    StartWebServer();
    const UniqueFd socket(fdipc_client_socket(PATH));
    const int before = socket.Get();
    webServer.Reset();
    EXPECT_EQ(Exchange(socket), "not sent") << "nobody there";
    StartWebServer();
    EXPECT_EQ(Exchange(socket), "path=/mjpg\n");
    StartWebServer();
    EXPECT_EQ(Exchange(socket), "path=/mjpg\n") << "restarted without a send in between";
    EXPECT_EQ(socket.Get(), before);
}

TEST_F(HandBack, FailsWithoutAWebServer)
{
    const size_t before = CountDescriptors();
    EXPECT_EQ(fdipc_client_socket(PATH), -1);
    const std::string tooLong = "/" + std::string(120, 'x');
    EXPECT_EQ(fdipc_client_socket(tooLong.c_str()), -1);
    EXPECT_EQ(fdipc_server_socket(root.Path(tooLong).c_str()), -1);
    EXPECT_EQ(CountDescriptors(), before);

    StartWebServer();
    const UniqueFd socket(fdipc_client_socket(PATH));
    const std::string_view nine[9] = {};
    EXPECT_EQ(fdipc_send(socket.Get(), PATH, nine, socket.Get()), -1);
    EXPECT_EQ(errno, EMSGSIZE);
}
