#include "camera/base/root_folder.h"
#include "camera_process.h"
#include "platform/fdcgi.h"
#include "tests/fakes/audio_stream.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

/*
 * What the camera's web server hands over, and what it leaves on the client's socket: the test takes the daemon's
 * place.
 */

namespace
{

class HandOverTest : public testing::Test
{
  protected:
    HandOverTest()
    {
        const std::string path = camera.root() + std::string(camera::HAND_OVER_SOCKET);
        if (FDCGI_init(&endpoint, path.c_str()) != 0)
            throw std::runtime_error("FDCGI_init");
    }
    ~HandOverTest() override { FDCGI_close(endpoint); }

    /** Takes the next request; the values are the endpoint's until the one after it. */
    ClientSide take()
    {
        pollfd wait = {FDCGI_GetSocketFd(endpoint), POLLIN, 0};
        int socket = -1;
        if (poll(&wait, 1, TEST_DEADLINE.count()) != 1 || FDCGI_read(endpoint, &socket) != 0)
            throw std::runtime_error("no request was handed over");
        return ClientSide(FileDescriptor(socket));
    }

    CameraProcess camera{{"--kelpa", "/bin/false"}};
    FDCGI_Handle endpoint = nullptr;
};

TEST_F(HandOverTest, RequestArrivesAsTheClientSentIt)
{
    ClientSide client = camera.send("");
    for (const char c : std::string("DELETE /cgi/admin/a%20b.cgi?x=%41&y=1+2 HTTP/1.1\r\n\r\n"))
        client.send({&c, 1});
    take().send("raw");
    EXPECT_EQ(client.readAll(), "raw"); // closed when the daemon closes it
    EXPECT_STREQ(FDCGI_GetMethod(endpoint), "DELETE");
    EXPECT_STREQ(FDCGI_GetUrl(endpoint), "/cgi/admin/a%20b.cgi");
    EXPECT_STREQ(FDCGI_GetQueryString(endpoint), "x=%41&y=1+2");
    EXPECT_STREQ(FDCGI_GetContentLength(endpoint), "0");
    EXPECT_EQ(FDCGI_GetPostBody(endpoint), nullptr);
}

TEST_F(HandOverTest, BodyIsTakenUpToItsLimitAndTheRestStaysOnTheSocket)
{
    const std::tuple<std::string, size_t, size_t> cases[] = {
        {"/config/network.cgi", 10, 10}, {"/config/network.cgi", 5000, 4095}, {"/dev/speaker.cgi", 5000, 0}};
    for (const auto &[path, length, handedOver] : cases) {
        SCOPED_TRACE(path + std::to_string(length));
        const std::string body = audioPayload(length);
        ClientSide client = camera.send("POST " + path + " HTTP/1.1\r\nContent-Length: " + std::to_string(length) +
                                        "\r\n\r\n" + body + "END");
        ClientSide socket = take();
        EXPECT_EQ(FDCGI_GetContentLength(endpoint), std::to_string(length));
        ASSERT_EQ(FDCGI_GetPostBodyLength(endpoint), handedOver);
        EXPECT_EQ(std::string_view(FDCGI_GetPostBody(endpoint), handedOver), body.substr(0, handedOver));
        EXPECT_EQ(socket.readUntil("END"), body.substr(handedOver) + "END");
    }
}

TEST_F(HandOverTest, WaitingClientIsToldToGoOn)
{
    ClientSide client =
        camera.send("POST /config/network.cgi HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 4\r\n\r\n");
    EXPECT_EQ(client.readUntil("\r\n\r\n"), "HTTP/1.1 100 Continue\r\n\r\n");
    client.send("BODY");
    ClientSide socket = take();
    EXPECT_STREQ(FDCGI_GetPostBody(endpoint), "BODY");
}

} // namespace
