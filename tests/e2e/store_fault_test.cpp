#include "tests/fakes/test_camera.h"

#include <functional>
#include <gtest/gtest.h>

TEST(StoreFault, IsAnsweredAndTheNextRequestIsServed)
{
    TestCamera camera({.settings = NO_AUDIO_OUTPUT});
    const std::string info = camera.get("/common/info.cgi");
    const std::string entrance = okReply("name=Entrance\r\n"), changed = okReply("name=x\r\n");
    const size_t descriptors = camera.openDescriptors();
    const auto expect = [&](const std::string &all, const std::string &read, const std::string &change) {
        EXPECT_EQ(camera.get("/common/info.cgi"), all);
        EXPECT_EQ(camera.get("/config/camera_info.cgi"), read);
        EXPECT_EQ(camera.get("/config/camera_info.cgi", "name=x"), change);
        camera.store.heal();
        camera.store.listen();
        camera.store.set("layout_title_text", "Entrance");
        EXPECT_EQ(camera.get("/common/info.cgi"), info);
        EXPECT_EQ(camera.openDescriptors(), descriptors);
    };
    const std::function<void()> silent[] = {[&] { camera.store.refuse(); }, [&] { camera.store.closeEarly(); },
                                            [&] { camera.store.answerNothing(); }};
    for (const auto &strike : silent) {
        strike();
        expect(INTERNAL_ERROR, INTERNAL_ERROR, UPDATE_FAILED);
    }
    const std::string flood(60000, 'x');
    const std::pair<std::string, std::string> answers[] = {
        {"\x01\xFF%s%n\n", INTERNAL_ERROR},
        {{"\0layout_title_text=Entrance\n", 28}, INTERNAL_ERROR},
        {flood, INTERNAL_ERROR},
        {"layout_title_text=Entrance\n" + flood, entrance},
        {"layout_title_text=Entrance", INTERNAL_ERROR},
    };
    for (const auto &[answer, read] : answers) {
        SCOPED_TRACE(answer.substr(0, 40));
        camera.store.answer(answer);
        expect(INTERNAL_ERROR, read, changed); // that something came back is all that a change looks at
    }
    camera.store.delayAnswer(std::chrono::milliseconds(30));
    expect(info, entrance, changed);
    camera.store.answerNothing(2);
    EXPECT_EQ(camera.get("/config/camera_info.cgi"), entrance);
    EXPECT_EQ(camera.get("/config/camera_info.cgi"), INTERNAL_ERROR);
    EXPECT_EQ(camera.get("/config/camera_info.cgi"), entrance) << "the fault of one request harms no other";
}
