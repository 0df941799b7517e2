#include "tests/fakes/test_camera.h"

#include <functional>
#include <gtest/gtest.h>

TEST(StoreFault, IsAnsweredAndTheNextRequestIsServed)
{
    const std::string KEPT = OkReply("name=Entrance\r\n");
    const std::string CHANGED = OkReply("name=x\r\n");
    const struct {
        const char *description;
        std::function<void(FakeStore &)> strike;
        std::string info, read, change;
    } cases[] = {
        {"absent", [](FakeStore &s) { s.Refuse(); }, INTERNAL_ERROR, INTERNAL_ERROR, UPDATE_FAILED},
        {"drops the connection", [](FakeStore &s) { s.CloseEarly(); }, INTERNAL_ERROR, INTERNAL_ERROR,
         UPDATE_FAILED},
        {"answers nothing", [](FakeStore &s) { s.AnswerNothing(); }, INTERNAL_ERROR, INTERNAL_ERROR, UPDATE_FAILED},
        // That something came back is all that a change looks at.
        {"answers garbage", [](FakeStore &s) { s.Answer("\x01\xFF%s%n\n"); }, INTERNAL_ERROR, INTERNAL_ERROR,
         CHANGED},
        {"answers a NUL byte first",
         [](FakeStore &s) {
             s.Answer({"\0layout_title_text=Entrance\n", 28});
         },
         INTERNAL_ERROR, INTERNAL_ERROR, CHANGED},
        {"answers more than the buffer", [](FakeStore &s) { s.Answer(std::string(60000, 'x')); }, INTERNAL_ERROR,
         INTERNAL_ERROR, CHANGED},
        {"answers more than the buffer, the value first",
         [](FakeStore &s) { s.Answer("layout_title_text=Entrance\n" + std::string(60000, 'x')); }, INTERNAL_ERROR,
         KEPT, CHANGED},
        {"answers without a line feed", [](FakeStore &s) { s.Answer("layout_title_text=Entrance"); },
         INTERNAL_ERROR, INTERNAL_ERROR, CHANGED},
        {"is cut off", [](FakeStore &s) { s.CutAnswer(9); }, INTERNAL_ERROR, INTERNAL_ERROR, CHANGED},
        {"is slow", [](FakeStore &s) { s.DelayAnswer(std::chrono::milliseconds(30)); }, "", KEPT, CHANGED},
    };
    TestCamera camera({.settings = NO_AUDIO_OUTPUT});
    const std::string info = camera.Get("/common/info.cgi");
    const size_t descriptors = camera.OpenDescriptors();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        c.strike(camera.store);
        EXPECT_EQ(camera.Get("/common/info.cgi"), c.info.empty() ? info : c.info);
        EXPECT_EQ(camera.Get("/config/camera_info.cgi"), c.read);
        EXPECT_EQ(camera.Get("/config/camera_info.cgi", "name=x"), c.change);
        camera.store.Heal();
        camera.store.Listen();
        camera.store.Set("layout_title_text", "Entrance");
        EXPECT_EQ(camera.Get("/common/info.cgi"), info);
        EXPECT_EQ(camera.OpenDescriptors(), descriptors);
    }
}

TEST(StoreFault, OfOneRequestHarmsNoOther)
{
    TestCamera camera;
    camera.store.AnswerNothing(2);
    EXPECT_EQ(camera.Get("/config/camera_info.cgi"), OkReply("name=Entrance\r\n"));
    EXPECT_EQ(camera.Get("/config/camera_info.cgi"), INTERNAL_ERROR);
    EXPECT_EQ(camera.Get("/config/camera_info.cgi"), OkReply("name=Entrance\r\n"));
}
