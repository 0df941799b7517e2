#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>

namespace
{

class NotifyStream : public testing::Test
{
  protected:
    ClientSide openStream() const
    {
        ClientSide stream = camera.open({.url = "/config/notify_stream.cgi"});
        EXPECT_EQ(stream.readUntil("\r\n\r\n"), NOTIFY_HEADER);
        return stream;
    }
    void input(int index, bool on) const { camera.sendEvents({{index, 0, 1, on ? 2 : 1, 1700000000}}); }

    TestCamera camera{{.settings = NO_AUDIO_OUTPUT}};
};

} // namespace

TEST_F(NotifyStream, TellsTwoClientsOfEachChangeOnce)
{
    ClientSide first = openStream();
    ClientSide second = openStream();
    input(0, true);
    input(0, true); // repeated: no lines
    input(1, false);
    input(1, true);
    camera.sendEvents({{0, 0, 3, 2, 0}});
    camera.sendEvents({{0, 0, 3, 2, 0}});
    input(0, false);
    const std::string expected = "input1=on\r\ninput2=off\r\ninput1=on\r\ninput2=on\r\nmd1=on\r\n"
                                 "input1=off\r\ninput2=on\r\n";
    EXPECT_EQ(first.readUntil("input1=off\r\ninput2=on\r\n"), expected);
    EXPECT_EQ(second.readUntil("input1=off\r\ninput2=on\r\n"), expected);

    camera.sendEvents({{0, 0, 1, 2, 0}, {2, 0, 4, 2, 0}, {1, 0, 3, 2, 0}, {3, 0, 3, 2, 0}});
    EXPECT_EQ(first.readUntil("input2=on\r\n"), "md2=on\r\nmd3=on\r\ninput1=on\r\ninput2=on\r\n") << "one message";
}

TEST_F(NotifyStream, BadMessagesAreSkipped)
{
    ClientSide stream = openStream();
    for (const std::string &message : {std::string("rubbish"), std::string("MSG 2 11\n<eventmsg/>"),
                                       std::string("MSG 1 11\n<eventmsg><"), std::string(4096, 'x')})
        camera.sendEventText(message);
    input(0, true);
    EXPECT_EQ(stream.readUntil("input2=off\r\n"), "input1=on\r\ninput2=off\r\n");
    camera.waitForTrace("[KelpaFdServer_ParseEventMsg]Unable to get data length from buffer rubbish\n"
                        "[KelpaFdServer_Process]KelpaFdServer_HandleEventMsg failed\n");
    camera.waitForTrace("Incoming message MSG 2 11\n<eventmsg/> is not an event message, skip it\n");
    camera.waitForTrace("Unable to parse incoming event message MSG 1 11\n");
}

TEST_F(NotifyStream, EndsWithItsClientAndDiscardsWhatThatSays)
{
    ClientSide stream = openStream();
    stream.send("GET / HTTP/1.1\r\n\r\n" + std::string(30000, 'x'));
    input(0, true);
    EXPECT_EQ(stream.readUntil("input2=off\r\n"), "input1=on\r\ninput2=off\r\n");
    const size_t descriptors = camera.openDescriptors();
    stream.close();
    camera.waitForTrace("[KelpaFdServer_StateRoutine_Receive]Recv FIN\n");
    EXPECT_TRUE(waitFor([&] { return camera.openDescriptors() == descriptors - 1; }));
}

TEST_F(NotifyStream, CannotBeChanged)
{
    EXPECT_EQ(camera.get("/config/notify_stream.cgi", "a=1"), BAD_REQUEST);
    EXPECT_EQ(camera.post("/config/notify_stream.cgi", "a=1"), BAD_REQUEST);
}
