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
    FakeHandBack webServer(root.path(PATH));
    const FileDescriptor socket(fdipc_client_socket(PATH));
    const auto handBack = [&] {
        Connection connection = makeConnection();
        const std::string_view pieces[] = {"path=", "/mjpg", "", "\n"};
        if (fdipc_send(socket.get(), PATH, pieces, connection.daemon.get()) < 0)
            return std::string("not sent");
        connection.daemon.reset();
        const std::string text = webServer.take("picture");
        return text + ClientSide(std::move(connection.client)).readAll();
    };
    EXPECT_EQ(handBack(), "path=/mjpg\npicture");
    webServer.close();
    EXPECT_EQ(handBack(), "not sent") << "nobody there";
    for (const char *when : {"after a failure", "without a send in between"}) {
        webServer.bindAnew();
        EXPECT_EQ(handBack(), "path=/mjpg\npicture") << when;
    }
    const std::string_view nine[9] = {};
    EXPECT_EQ(fdipc_send(socket.get(), PATH, nine, socket.get()), -1);
    EXPECT_EQ(errno, EMSGSIZE);
}

TEST(HandBack, FailsWithoutAWebServer)
{
    const RootEnvironment root;
    const size_t before = countDescriptors();
    EXPECT_EQ(fdipc_client_socket(PATH), -1);
    const std::string tooLong = "/" + std::string(120, 'x');
    EXPECT_EQ(fdipc_client_socket(tooLong.c_str()), -1);
    EXPECT_EQ(fdipc_server_socket(root.path(tooLong).c_str()), -1);
    EXPECT_EQ(countDescriptors(), before);
}
