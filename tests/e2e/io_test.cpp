#include "tests/fakes/exchange_cases.h"
#include "tests/fakes/fake_fifo.h"
#include "tests/fakes/read_table.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace
{

const std::string URL = "/config/io.cgi";

class DigitalIO : public testing::Test
{
  protected:
    struct Case {
        std::string query;
        std::string commands;
    };
    void expectCommands(const std::vector<Case> &cases)
    {
        FakeFifo daemon(fifo);
        for (const Case &c : cases) {
            SCOPED_TRACE(c.query);
            EXPECT_EQ(camera.get(URL, c.query), echoReply(c.query));
            EXPECT_EQ(daemon.read(), c.commands);
        }
    }

    TestCamera camera{{.settings = NO_AUDIO_OUTPUT}};
    std::string fifo = camera.root.path("/var/run/iod/iodfifo");
};

} // namespace

TEST_F(DigitalIO, SwitchesOutputs)
{
    const std::string ten = "out1=on&out2=off&out3=on&out4=off&out5=on&out6=off&out7=on&out8=off&out9=on&out1=off";
    const std::string tenCommands =
        "setdo 0 1setdo 1 0setdo 2 1setdo 3 0setdo 4 1setdo 5 0setdo 6 1setdo 7 0setdo 8 1setdo 0 0";
    expectCommands({{"out1=on", "setdo 0 1"},
                    {"out1=on&out3=off", "setdo 0 1setdo 2 0"},
                    {"out9=off&out9=on", "setdo 8 0setdo 8 1"},
                    {ten, tenCommands},
                    {ten + "&out0=maybe", tenCommands},
                    {"out1=on&b=2&c=3", "setdo 0 1"}});
    camera.waitForTrace("9 bytes setdo 0 1 sent to IOD!\n");
    FakeFifo daemon(fifo);
    expectRefused(camera, URL,
                  "out0=on out=on outx=on out1= out1 out1=On out1=once out1=on-------------- out1=on&out2=1 in1=on "
                  "timeout=3&out1=on");
    EXPECT_EQ(daemon.read(), "");
}

TEST_F(DigitalIO, KeptOneDigitIsTheNumber)
{
    expectCommands(
        {{"out10=on", "setdo 0 1"}, {"out2-left=off", "setdo 1 0"}, {"out3&out4=on", "setdo 2 1setdo 3 1"}});
}

TEST_F(DigitalIO, KeptItemsBeforeAnOutputRepeatIt)
{
    expectCommands(
        {{"a=1&out1=on", "setdo 0 1setdo 0 1"},
         {"out1=on&a=1&out2=off", "setdo 0 1setdo 1 0setdo 1 0"},
         {"1&2&3&4&5&6&7&8&9&out1=on",
          "setdo 0 1setdo 0 1setdo 0 1setdo 0 1setdo 0 1setdo 0 1setdo 0 1setdo 0 1setdo 0 1setdo 0 1"}});
}

TEST_F(DigitalIO, WaitsForTheReaderOfItsFifo)
{
    ClientSide client = camera.open({.url = URL, .query = "out1=on"});
    ASSERT_TRUE(waitFor([this] { return access(fifo.c_str(), F_OK) == 0; })) << "made by the camera";
    FakeFifo daemon(fifo);
    EXPECT_EQ(client.readAll(), echoReply("out1=on"));
    EXPECT_EQ(daemon.read(), "setdo 0 1");
    struct stat status = {};
    ASSERT_EQ(stat(fifo.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, static_cast<mode_t>(S_IFIFO | 0777));
    camera.waitForTrace("FIFO " + fifo + " is ");
    daemon.close();
    client = camera.open({.url = URL, .query = "out1=on"});
    camera.stop(); // waiting ends with the camera
    EXPECT_EQ(client.readAll(), INTERNAL_ERROR);
}

TEST_F(DigitalIO, AFifoThatCannotBeMadeIsAnInternalError)
{
    ASSERT_EQ(rmdir(camera.root.path("/var/run/iod").c_str()), 0);
    EXPECT_EQ(camera.get(URL, "out1=on"), INTERNAL_ERROR);
    camera.waitForLog("[CfgParser_GetFIFO]Could not create fifo " + fifo + "\n");
    camera.waitForTrace("Could not create fifo " + fifo + "\n");
}

TEST_F(DigitalIO, AFullFifoFailsAfterSixWritesAndKeepsWhatIsSent)
{
    FakeFifo daemon(fifo);
    const size_t descriptors = camera.openDescriptors();
    daemon.leaveRoom(9); // one command
    EXPECT_EQ(camera.get(URL, "out1=on&out2=on&out3=on"), INTERNAL_ERROR);
    EXPECT_EQ(daemon.read(), "setdo 0 1");
    camera.waitForLog("[MappingSetRoutine_DIDOConfig]Send setdo to IOD fifo failed\n");
    camera.waitForTrace("[MappingSetRoutine_DIDOConfig]Send setdo to IOD fifo failed!\n");
    EXPECT_EQ(camera.get(URL, "out2=on"), echoReply("out2=on")) << "there is room again";
    EXPECT_EQ(daemon.read(), "setdo 1 1");
    EXPECT_EQ(camera.openDescriptors(), descriptors);
}

TEST_F(DigitalIO, ReadsTheStates)
{
    camera.store.set(storedFor(URL));
    const std::string outputs = "out1=off\r\nout2=on\r\n";
    std::string ten;
    for (int i = 0; i < 12; ++i) {
        camera.store.set("status_di_i" + std::to_string(i), "1");
        if (i < 10)
            ten += "in" + std::to_string(i + 1) + "=on\r\n";
    }
    camera.store.set("status_do_i1", "1");
    const struct {
        const char *inputs, *outputs;
        std::string reply;
    } cases[] = {{"-4", "2", okReply(outputs)},
                 {"0", "0", okReply("")},
                 {"9999999", "2", okReply(ten + outputs)},
                 {"2", "3", INTERNAL_ERROR}};
    for (const auto &c : cases) {
        camera.store.set({{"capability_ndi", c.inputs}, {"capability_ndo", c.outputs}});
        EXPECT_EQ(camera.get(URL), c.reply) << c.inputs << " inputs, " << c.outputs << " outputs";
    }
}
