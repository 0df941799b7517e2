#include "tests/fakes/test_camera.h"

#include <gtest/gtest.h>

namespace
{

class NotifyStream : public testing::Test
{
  protected:
    ClientSide OpenStream() const
    {
        ClientSide stream = camera.Open({.url = "/config/notify_stream.cgi"});
        EXPECT_EQ(stream.ReadUntil("\r\n\r\n"), NOTIFY_HEADER);
        return stream;
    }
    void Input(int index, bool on) const { camera.SendEvents({{index, 0, 1, on ? 2 : 1, 1700000000}}); }

    TestCamera camera{{.settings = NO_AUDIO_OUTPUT}};
};

} // namespace

TEST_F(NotifyStream, TellsTwoClientsOfEachChangeOnce)
{
    ClientSide first = OpenStream();
    ClientSide second = OpenStream();
    Input(0, true);
    Input(0, true); // repeated: no lines
    Input(1, false);
    Input(1, true);
    camera.SendEvents({{0, 0, 3, 2, 0}});
    camera.SendEvents({{0, 0, 3, 2, 0}});
    Input(0, false);
    const std::string expected = "input1=on\r\ninput2=off\r\ninput1=on\r\ninput2=on\r\nmd1=on\r\n"
                                 "input1=off\r\ninput2=on\r\n";
    EXPECT_EQ(first.ReadUntil("input1=off\r\ninput2=on\r\n"), expected);
    EXPECT_EQ(second.ReadUntil("input1=off\r\ninput2=on\r\n"), expected);

    camera.SendEvents({{0, 0, 1, 2, 0}, {2, 0, 4, 2, 0}, {1, 0, 3, 2, 0}, {3, 0, 3, 2, 0}});
    EXPECT_EQ(first.ReadUntil("input2=on\r\n"), "md2=on\r\nmd3=on\r\ninput1=on\r\ninput2=on\r\n") << "one message";
}

TEST_F(NotifyStream, BadMessagesAreSkipped)
{
    ClientSide stream = OpenStream();
    for (const std::string &message : {std::string("rubbish"), std::string("MSG 2 11\n<eventmsg/>"),
                                       std::string("MSG 1 11\n<eventmsg><"), std::string(4096, 'x')})
        camera.SendEventText(message);
    Input(0, true);
    EXPECT_EQ(stream.ReadUntil("input2=off\r\n"), "input1=on\r\ninput2=off\r\n");
    camera.WaitForTrace("[KelpaFdServer_ParseEventMsg]Unable to get data length from buffer rubbish\n"
                        "[KelpaFdServer_Process]KelpaFdServer_HandleEventMsg failed\n");
    camera.WaitForTrace("Incoming message MSG 2 11\n<eventmsg/> is not an event message, skip it\n");
    camera.WaitForTrace("Unable to parse incoming event message MSG 1 11\n");
}

TEST_F(NotifyStream, EndsWithItsClientAndDiscardsWhatThatSays)
{
    ClientSide stream = OpenStream();
    stream.Send("GET / HTTP/1.1\r\n\r\n" + std::string(30000, 'x'));
    Input(0, true);
    EXPECT_EQ(stream.ReadUntil("input2=off\r\n"), "input1=on\r\ninput2=off\r\n");
    const size_t descriptors = camera.OpenDescriptors();
    stream.Close();
    camera.WaitForTrace("[KelpaFdServer_StateRoutine_Receive]Recv FIN\n");
    EXPECT_TRUE(WaitFor([&] { return camera.OpenDescriptors() == descriptors - 1; }));
}

TEST_F(NotifyStream, CannotBeChanged)
{
    EXPECT_EQ(camera.Get("/config/notify_stream.cgi", "a=1"), BAD_REQUEST);
    EXPECT_EQ(camera.Post("/config/notify_stream.cgi", "a=1"), BAD_REQUEST);
}
