#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{

constexpr char URL[] = "/config/camera_info.cgi";

/** A client that talks, as far as nobody else does. */
ClientSide talk(const TestCamera &camera, const std::string &stream)
{
    EXPECT_EQ(camera.get("/dev/speaker.cgi", "client=hall"), "HTTP/1.1 200 OK\r\n");
    ClientSide client = camera.open(
        {.method = "POST", .url = "/dev/speaker.cgi", .query = "client=hall", .contentLength = "1000000"});
    (void)send(client.fd(), stream.data(), stream.size(), MSG_NOSIGNAL);
    return client;
}

/** One request of every kind that the daemon can meet; `turn` varies what can be varied. */
void requestsOfAllKinds(TestCamera &camera, int turn)
{
    const std::string name = std::to_string(turn);
    EXPECT_EQ(camera.get(URL, "name=" + name), okReply("name=" + name + "\r\n"));
    EXPECT_EQ(camera.post(URL, "name=%20" + name), okReply("name= " + name + "\r\n"));
    EXPECT_EQ(camera.get(URL), okReply("name= " + name + "\r\n"));
    EXPECT_TRUE(camera.get("/common/info.cgi").starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(camera.get("/config/timestamp.cgi", "label=" + std::string(64, 'x')), BAD_REQUEST);
    EXPECT_EQ(camera.get(URL, "name=("), BAD_REQUEST);
    EXPECT_EQ(camera.get("/unknown"), BAD_REQUEST);
    EXPECT_EQ(camera.exchange({.method = "PUT", .url = URL}), INTERNAL_ERROR);
    EXPECT_EQ(camera.exchange({.method = "POST", .url = URL, .contentLength = "10001"}), INTERNAL_ERROR);
    ClientSide stream = camera.open({.url = "/config/notify_stream.cgi"});
    EXPECT_EQ(stream.readUntil("\r\n\r\n"), NOTIFY_HEADER);
}

} // namespace

TEST(Resources, NoDescriptorIsLeftByAThousandRequests)
{
    TestCamera camera({.start = false});
    FakeDecoder decoder(camera.root.path("/var/run/aenc/s0/decodesck_0"));
    camera.start();
    camera.waitForTrace("[AudioUpstream_OpenAdecUnixSocket]sckAdec = ");
    const size_t before = camera.openDescriptors();
    for (int turn = 1; turn <= 80; ++turn) {
        requestsOfAllKinds(camera, turn);
        EXPECT_EQ(camera.openRaw("rubbish").readAll(), "");
        EXPECT_EQ(camera.openRaw(handOverPayload({.url = URL}), 3).readAll(), "");
        camera.open({.url = URL}).close(); // a client that has vanished
        camera.open({.url = "/config/notify_stream.cgi"}).close();
        camera.sendEvents({{0, 0, 1, turn % 2 + 1, 0}});
        camera.sendEventText("rubbish");
        EXPECT_EQ(talk(camera, RANDOM_4CC + audioFrame("audio") + std::string(99, 'x')).readAll(), "");
        talk(camera, RANDOM_4CC + audioFrame("audio")).close();
        decoder.messages();
        if (turn % 10 == 0) {
            camera.store.refuse();
            EXPECT_EQ(camera.get(URL), INTERNAL_ERROR);
            EXPECT_EQ(camera.get(URL, "name=x"), UPDATE_FAILED);
            camera.store.listen();
            decoder.vanish();
            decoder.start();
        }
    }
    camera.waitForLog("[KelpaFdServer_Accept]FDCGI_read failed\n[KelpaFdServer_Process]Accept fd failed\n");
    EXPECT_TRUE(waitFor([&] { return camera.openDescriptors() == before; }))
        << before << " before, " << camera.openDescriptors() << " after";
    decoder.messages();
    ClientSide talker = talk(camera, RANDOM_4CC + audioFrame("audio"));
    EXPECT_EQ(decoder.next(), DECODER_CONFIG);
    camera.stop(); // in the middle of a wait of 60 s
    EXPECT_EQ(talker.readAll(), "");
}

TEST(Resources, NoRequestAllocates)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's own allocator stands where the counting one would";
#endif
    TempRoot folder;
    folder.write("/allocations", std::string(sizeof(uint64_t), '\0'));
    const std::string path = folder.path("/allocations");
    /** The counter that the preloaded library in the daemon adds to at every allocation. */
    const auto allocations = [&path] {
        uint64_t count = 0;
        readWholeFile(path).copy(reinterpret_cast<char *>(&count), sizeof count);
        return count;
    };
    TestCamera camera({.environment = {"LD_PRELOAD=" COUNT_ALLOCATIONS_LIBRARY, "KELPA_TEST_ALLOCATIONS=" + path}});
    EXPECT_GT(allocations(), 0U) << "the server object, at least";
    requestsOfAllKinds(camera, 0);
    const uint64_t before = allocations();
    for (int turn = 1; turn <= 12; ++turn)
        requestsOfAllKinds(camera, turn);
    EXPECT_EQ(allocations() - before, 0U) << "in " << 12 * 10 << " requests";
    // An event message is no request: its XML parser allocates, which also shows that allocations are counted.
    ClientSide stream = camera.open({.url = "/config/notify_stream.cgi"});
    camera.sendEvents({{0, 0, 1, 2, 0}});
    EXPECT_NE(stream.readUntil("input2=off\r\n"), "");
    EXPECT_GT(allocations(), before);
}
