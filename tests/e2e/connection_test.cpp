#include "platform/fdcgi.h"
#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{
constexpr char URL[] = "/config/camera_info.cgi";
constexpr char STREAM[] = "/config/notify_stream.cgi";
} // namespace

TEST(Connections, ThirtyAreServedAtATimeAndTheNextIsRefused)
{
    TestCamera camera;
    std::vector<ClientSide> clients(30);
    for (ClientSide &client : clients) {
        client = camera.Open({.url = STREAM});
        EXPECT_EQ(client.ReadUntil("\r\n\r\n"), NOTIFY_HEADER);
    }
    for (int i = 0; i < 10; ++i) {
        camera.Open({.url = URL}).Close(); // one that does not wait for its refusal is no harm
        EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
    }
    camera.WaitForLog("[KelpaFdServer_Accept]The connection is full 30\n");
    camera.SendEvents({{1, 0, 1, 2, 0}});
    for (ClientSide &client : clients)
        EXPECT_EQ(client.ReadUntil("input2=on\r\n"), "input1=off\r\ninput2=on\r\n");
    clients.erase(clients.begin() + 10, clients.begin() + 20);
    EXPECT_TRUE(WaitFor([&] { return camera.Get(URL) == OkReply("name=Entrance\r\n"); })) << "a slot is free again";
}

TEST(Connections, ARefusedClientThatReadsNothingHoldsNobodyUp)
{
    TestCamera camera;
    std::vector<ClientSide> clients(30);
    for (ClientSide &client : clients) {
        client = camera.Open({.url = STREAM});
        EXPECT_EQ(client.ReadUntil("\r\n\r\n"), NOTIFY_HEADER);
    }
    int ends[2];
    Checked(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socketpair");
    const UniqueFd client(ends[0]);
    const UniqueFd daemon(ends[1]);
    while (send(daemon.Get(), "full", 4, MSG_DONTWAIT | MSG_NOSIGNAL) > 0)
        continue;
    const UniqueFd socket(FDCGI_client_socket(camera.SocketPath().c_str()));
    Checked(FDCGI_send(socket.Get(), {"GET", URL, "", "0", ""}, daemon.Get(), 0), "hand-over");
    EXPECT_EQ(camera.Get(URL), SERVICE_UNAVAILABLE);
    camera.WaitForTrace("[KelpaFdServer_Accept]Send error ");
}

TEST(Connections, ALateBodyIsWaitedFor)
{
    TestCamera camera;
    ClientSide client = camera.Open({.method = "POST", .url = URL, .body = "name=Hall", .contentLength = "20"});
    client.Send("&padding12&"); // the 11 bytes that are missing
    camera.WaitForTrace("[KelpaFdServer_Accept_FDIPC]post body = name=Hall \n");
    EXPECT_EQ(client.ReadNow(), "");
    client.Send("&"); // and the one that completes them for the daemon
    EXPECT_EQ(client.ReadAll(), OkReply("name=Hall\r\n"));
}

TEST(Connections, WhatCannotBeARequestIsRefused)
{
    TestCamera camera;
    EXPECT_EQ(camera.Exchange({.method = "POST", .url = URL, .body = "name=Hall", .contentLength = "10001"}),
              INTERNAL_ERROR);
    camera.WaitForLog("[KelpaFdServer_StateRoutine_Receive]ContentLength overflow\n");
    EXPECT_EQ(camera.Exchange({.method = "POST", .url = URL, .body = std::string(10001, 'x')}), BAD_REQUEST)
        << "handed over whole, it is only cut";
    for (const size_t length : {127U, 128U, 5000U})
        EXPECT_EQ(camera.Get("/" + std::string(length - 1, 'u')), BAD_REQUEST);
    EXPECT_EQ(camera.Get("/config/camera%20info.cgi"), BAD_REQUEST) << "the URL's path is not decoded";
    EXPECT_EQ(camera.Get(""), BAD_REQUEST);
    for (const char *method : {"PUT", "HEAD", "get", "POST ", ""})
        EXPECT_EQ(camera.Exchange({.method = method, .url = URL}), INTERNAL_ERROR) << method;
    camera.WaitForLog("[KelpaFdServer_Accept_FDIPC]Method not GET/POST\n");
}

TEST(Connections, MalformedHandOversLeakNothing)
{
    TestCamera camera({.settings = NO_AUDIO_OUTPUT});
    const std::string good = HandOverPayload({.url = URL});
    EXPECT_EQ(camera.OpenRaw(good).ReadAll(), OkReply("name=Entrance\r\n"));
    const size_t descriptors = camera.OpenDescriptors();
    for (int round = 0; round < 5; ++round) {
        for (const std::string &payload : {std::string(), std::string("rubbish"), "9" + good, good.substr(0, 40),
                                           good + std::string(17000, 'x'), std::string(16384, '\0')})
            EXPECT_EQ(camera.OpenRaw(payload).ReadAll(), "") << payload.substr(0, 40);
        for (const int count : {0, 2, 15, 40})
            EXPECT_EQ(camera.OpenRaw(good, count).ReadAll(), "") << count << " descriptors";
        EXPECT_EQ(camera.Get(URL), OkReply("name=Entrance\r\n"));
    }
    camera.WaitForLog("[KelpaFdServer_Accept]FDCGI_read failed\n[KelpaFdServer_Process]Accept fd failed\n");
    EXPECT_EQ(camera.OpenDescriptors(), descriptors);
}
