#include "platform/fdipc.h"
#include "tests/fakes/client_side.h"
#include "tests/fakes/fake_hand_back.h"

namespace
{
constexpr char PATH[] = "/var/run/http/fdipc1";
}

TEST(HandBack, JoinsThePiecesAndFindsAWebServerThatWasRestarted)
{
    const RootEnvironment root;
    FakeHandBack webServer(root.Path(PATH));
    const UniqueFd socket(fdipc_client_socket(PATH));
    const auto handBack = [&] {
        int ends[2] = {-1, -1};
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        ClientSide client{UniqueFd(ends[0])};
        UniqueFd daemonEnd(ends[1]);
        const std::string_view pieces[] = {"path=", "/mjpg", "", "\n"};
        if (fdipc_send(socket.Get(), PATH, pieces, daemonEnd.Get()) < 0)
            return std::string("not sent");
        daemonEnd.Reset();
        const std::string text = webServer.Take("picture");
        return text + client.ReadAll();
    };
    EXPECT_EQ(handBack(), "path=/mjpg\npicture");
    webServer.Close();
    EXPECT_EQ(handBack(), "not sent") << "nobody there";
    for (const char *when : {"after a failure", "without a send in between"}) {
        webServer.BindAnew();
        EXPECT_EQ(handBack(), "path=/mjpg\npicture") << when;
    }
    const std::string_view nine[9] = {};
    EXPECT_EQ(fdipc_send(socket.Get(), PATH, nine, socket.Get()), -1);
    EXPECT_EQ(errno, EMSGSIZE);
}

TEST(HandBack, FailsWithoutAWebServer)
{
    const RootEnvironment root;
    const size_t before = CountDescriptors();
    EXPECT_EQ(fdipc_client_socket(PATH), -1);
    const std::string tooLong = "/" + std::string(120, 'x');
    EXPECT_EQ(fdipc_client_socket(tooLong.c_str()), -1);
    EXPECT_EQ(fdipc_server_socket(root.Path(tooLong).c_str()), -1);
    EXPECT_EQ(CountDescriptors(), before);
}
