#include "platform/fdcgi.h"
#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{
constexpr char URL[] = "/config/camera_info.cgi";
} // namespace

TEST(Connections, ThirtyAreServedAtATimeAndTheNextIsRefused)
{
    TestCamera camera;
    std::vector<ClientSide> clients(30);
    for (ClientSide &client : clients) {
        client = camera.open({.url = "/config/notify_stream.cgi"});
        EXPECT_EQ(client.readUntil("\r\n\r\n"), NOTIFY_HEADER);
    }
    for (int i = 0; i < 10; ++i) {
        camera.open({.url = URL}).close(); // one that does not wait for its refusal is no harm
        EXPECT_EQ(camera.get(URL), SERVICE_UNAVAILABLE);
    }
    camera.waitForLog("[KelpaFdServer_Accept]The connection is full 30\n");
    // A refused client that reads nothing holds nobody up.
    const Connection full = makeConnection();
    while (send(full.daemon.get(), "full", 4, MSG_DONTWAIT | MSG_NOSIGNAL) > 0)
        continue;
    const FileDescriptor socket(FDCGI_client_socket(camera.socketPath().c_str()));
    checked(FDCGI_send(socket.get(), {"GET", URL, "", "0", ""}, full.daemon.get(), 0), "hand-over");
    EXPECT_EQ(camera.get(URL), SERVICE_UNAVAILABLE);
    camera.waitForTrace("[KelpaFdServer_Accept]Send error ");
    camera.sendEvents({{1, 0, 1, 2, 0}});
    for (ClientSide &client : clients)
        EXPECT_EQ(client.readUntil("input2=on\r\n"), "input1=off\r\ninput2=on\r\n");
    clients.erase(clients.begin() + 10, clients.begin() + 20);
    EXPECT_TRUE(waitFor([&] { return camera.get(URL) == okReply("name=Entrance\r\n"); })) << "a slot is free again";
}

TEST(Connections, WhatCannotBeARequestIsRefused)
{
    TestCamera camera;
    EXPECT_EQ(camera.exchange({.method = "POST", .url = URL, .body = "name=Hall", .contentLength = "10001"}),
              INTERNAL_ERROR);
    camera.waitForLog("[KelpaFdServer_StateRoutine_Receive]ContentLength overflow\n");
    EXPECT_EQ(camera.exchange({.method = "POST", .url = URL, .body = std::string(10001, 'x')}), BAD_REQUEST)
        << "handed over whole, it is only cut";
    for (const size_t length : {127U, 128U, 5000U})
        EXPECT_EQ(camera.get("/" + std::string(length - 1, 'u')), BAD_REQUEST);
    EXPECT_EQ(camera.get("/config/camera%20info.cgi"), BAD_REQUEST) << "the URL's path is not decoded";
    EXPECT_EQ(camera.get(""), BAD_REQUEST);
    for (const char *method : {"PUT", "HEAD", "get", "POST ", ""})
        EXPECT_EQ(camera.exchange({.method = method, .url = URL}), INTERNAL_ERROR) << method;
    camera.waitForLog("[KelpaFdServer_Accept_FDIPC]Method not GET/POST\n");
}
