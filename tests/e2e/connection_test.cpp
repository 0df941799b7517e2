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
        client = camera.open({.url = STREAM});
        EXPECT_EQ(client.readUntil("\r\n\r\n"), NOTIFY_HEADER);
    }
    for (int i = 0; i < 10; ++i) {
        camera.open({.url = URL}).close(); // one that does not wait for its refusal is no harm
        EXPECT_EQ(camera.get(URL), SERVICE_UNAVAILABLE);
    }
    camera.waitForLog("[KelpaFdServer_Accept]The connection is full 30\n");
    camera.sendEvents({{1, 0, 1, 2, 0}});
    for (ClientSide &client : clients)
        EXPECT_EQ(client.readUntil("input2=on\r\n"), "input1=off\r\ninput2=on\r\n");
    clients.erase(clients.begin() + 10, clients.begin() + 20);
    EXPECT_TRUE(waitFor([&] { return camera.get(URL) == okReply("name=Entrance\r\n"); })) << "a slot is free again";
}

TEST(Connections, ARefusedClientThatReadsNothingHoldsNobodyUp)
{
    TestCamera camera;
    std::vector<ClientSide> clients(30);
    for (ClientSide &client : clients) {
        client = camera.open({.url = STREAM});
        EXPECT_EQ(client.readUntil("\r\n\r\n"), NOTIFY_HEADER);
    }
    int ends[2];
    checked(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), "socketpair");
    const FileDescriptor client(ends[0]);
    const FileDescriptor daemon(ends[1]);
    while (send(daemon.get(), "full", 4, MSG_DONTWAIT | MSG_NOSIGNAL) > 0)
        continue;
    const FileDescriptor socket(FDCGI_client_socket(camera.socketPath().c_str()));
    checked(FDCGI_send(socket.get(), {"GET", URL, "", "0", ""}, daemon.get(), 0), "hand-over");
    EXPECT_EQ(camera.get(URL), SERVICE_UNAVAILABLE);
    camera.waitForTrace("[KelpaFdServer_Accept]Send error ");
}

TEST(Connections, ALateBodyIsWaitedFor)
{
    TestCamera camera;
    ClientSide client = camera.open({.method = "POST", .url = URL, .body = "name=Hall", .contentLength = "20"});
    client.send("&padding12&"); // the 11 bytes that are missing
    camera.waitForTrace("[KelpaFdServer_Accept_FDIPC]post body = name=Hall \n");
    EXPECT_EQ(client.readNow(), "");
    client.send("&"); // and the one that completes them for the daemon
    EXPECT_EQ(client.readAll(), okReply("name=Hall\r\n"));
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

TEST(Connections, MalformedHandOversLeakNothing)
{
    TestCamera camera({.settings = NO_AUDIO_OUTPUT});
    const std::string good = handOverPayload({.url = URL});
    EXPECT_EQ(camera.openRaw(good).readAll(), okReply("name=Entrance\r\n"));
    const size_t descriptors = camera.openDescriptors();
    for (int round = 0; round < 5; ++round) {
        for (const std::string &payload : {std::string(), std::string("rubbish"), "9" + good, good.substr(0, 40),
                                           good + std::string(17000, 'x'), std::string(16384, '\0')})
            EXPECT_EQ(camera.openRaw(payload).readAll(), "") << payload.substr(0, 40);
        for (const int count : {0, 2, 15, 40})
            EXPECT_EQ(camera.openRaw(good, count).readAll(), "") << count << " descriptors";
        EXPECT_EQ(camera.get(URL), okReply("name=Entrance\r\n"));
    }
    camera.waitForLog("[KelpaFdServer_Accept]FDCGI_read failed\n[KelpaFdServer_Process]Accept fd failed\n");
    EXPECT_EQ(camera.openDescriptors(), descriptors);
}
