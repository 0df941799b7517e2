#include "tests/fakes/audio_stream.h"
#include "tests/fakes/fake_decoder.h"
#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

namespace
{

constexpr char URL[] = "/config/camera_info.cgi";

/** A client that talks, as far as nobody else does. */
ClientSide Talk(const TestCamera &camera, const std::string &stream)
{
    EXPECT_EQ(camera.Get("/dev/speaker.cgi", "client=hall"), "HTTP/1.1 200 OK\r\n");
    ClientSide client = camera.Open(
        {.method = "POST", .url = "/dev/speaker.cgi", .query = "client=hall", .contentLength = "1000000"});
    (void)send(client.Fd(), stream.data(), stream.size(), MSG_NOSIGNAL);
    return client;
}

/** One request of every kind that the daemon can meet; `turn` varies what can be varied. */
void RequestsOfAllKinds(TestCamera &camera, int turn)
{
    const std::string name = std::to_string(turn);
    EXPECT_EQ(camera.Get(URL, "name=" + name), OkReply("name=" + name + "\r\n"));
    EXPECT_EQ(camera.Post(URL, "name=%20" + name), OkReply("name= " + name + "\r\n"));
    EXPECT_EQ(camera.Get(URL), OkReply("name= " + name + "\r\n"));
    EXPECT_TRUE(camera.Get("/common/info.cgi").starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(camera.Get("/config/timestamp.cgi", "label=" + std::string(64, 'x')), BAD_REQUEST);
    EXPECT_EQ(camera.Get(URL, "name=("), BAD_REQUEST);
    EXPECT_EQ(camera.Get("/unknown"), BAD_REQUEST);
    EXPECT_EQ(camera.Exchange({.method = "PUT", .url = URL}), INTERNAL_ERROR);
    EXPECT_EQ(camera.Exchange({.method = "POST", .url = URL, .contentLength = "10001"}), INTERNAL_ERROR);
    ClientSide stream = camera.Open({.url = "/config/notify_stream.cgi"});
    EXPECT_EQ(stream.ReadUntil("\r\n\r\n"), NOTIFY_HEADER);
}

} // namespace

TEST(Resources, NoDescriptorIsLeftByAThousandRequests)
{
    TestCamera camera({.start = false});
    FakeDecoder decoder(camera.root.Path("/var/run/aenc/s0/decodesck_0"));
    camera.Start();
    camera.WaitForTrace("[AudioUpstream_OpenAdecUnixSocket]sckAdec = ");
    const size_t before = camera.OpenDescriptors();
    for (int turn = 1; turn <= 80; ++turn) {
        RequestsOfAllKinds(camera, turn);
        EXPECT_EQ(camera.OpenRaw("rubbish").ReadAll(), "");
        EXPECT_EQ(camera.OpenRaw(HandOverPayload({.url = URL}), 3).ReadAll(), "");
        camera.Open({.url = URL}).Close(); // a client that has vanished
        camera.Open({.url = "/config/notify_stream.cgi"}).Close();
        camera.SendEvents({{0, 0, 1, turn % 2 + 1, 0}});
        camera.SendEventText("rubbish");
        EXPECT_EQ(Talk(camera, RANDOM_4CC + AudioFrame("audio") + std::string(99, 'x')).ReadAll(), "");
        Talk(camera, RANDOM_4CC + AudioFrame("audio")).Close();
        decoder.Messages();
        if (turn % 10 == 0) {
            camera.store.Refuse();
            EXPECT_EQ(camera.Get(URL), INTERNAL_ERROR);
            EXPECT_EQ(camera.Get(URL, "name=x"), UPDATE_FAILED);
            camera.store.Listen();
            decoder.Vanish();
            decoder.Start();
        }
    }
    EXPECT_TRUE(WaitFor([&] { return camera.OpenDescriptors() == before; }))
        << before << " before, " << camera.OpenDescriptors() << " after";
    decoder.Messages();
    ClientSide talker = Talk(camera, RANDOM_4CC + AudioFrame("audio"));
    EXPECT_EQ(decoder.Next(), DECODER_CONFIG);
    camera.Stop(); // in the middle of a wait of 60 s
    EXPECT_EQ(talker.ReadAll(), "");
}

TEST(Resources, NoRequestAllocates)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's own allocator stands where the counting one would";
#endif
    TempRoot folder;
    folder.Write("/allocations", std::string(sizeof(uint64_t), '\0'));
    const std::string path = folder.Path("/allocations");
    /** The counter that the preloaded library in the daemon adds to at every allocation. */
    const auto allocations = [&path] {
        uint64_t count = 0;
        ReadWholeFile(path).copy(reinterpret_cast<char *>(&count), sizeof count);
        return count;
    };
    TestCamera camera({.environment = {"LD_PRELOAD=" COUNT_ALLOCATIONS_LIBRARY, "KELPA_TEST_ALLOCATIONS=" + path}});
    EXPECT_GT(allocations(), 0U) << "the server object, at least";
    RequestsOfAllKinds(camera, 0);
    const uint64_t before = allocations();
    for (int turn = 1; turn <= 12; ++turn)
        RequestsOfAllKinds(camera, turn);
    EXPECT_EQ(allocations() - before, 0U) << "in " << 12 * 10 << " requests";
    // An event message is no request: its XML parser allocates, which also shows that allocations are counted.
    ClientSide stream = camera.Open({.url = "/config/notify_stream.cgi"});
    camera.SendEvents({{0, 0, 1, 2, 0}});
    EXPECT_NE(stream.ReadUntil("input2=off\r\n"), "");
    EXPECT_GT(allocations(), before);
}
