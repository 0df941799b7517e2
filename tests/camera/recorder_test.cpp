#include "camera/base/root_folder.h"
#include "camera/neighbours/event_engine/clip_settings.h"
#include "camera/neighbours/event_engine/recorder.h"
#include "temporary_folder.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/post.hpp>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

/*
 * The recorder: what the settings ask of it, and what becomes of pictures on a disk that is not always well.
 */

namespace
{

using namespace camera;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

TEST(ClipSettings, ClipIsAsLongAsItsEventAndFitsOnTheCard)
{
    const TemporaryFolder folder;
    Store store(folder.path("store"));
    store.set(std::vector<Setting>{{"media_i0_videoclip_preevent", "15"},
                                   {"media_i0_videoclip_maxduration", "40"},
                                   {"recording_i0_duration", "10"}});
    EXPECT_EQ(readEventPlan(store).after, 25s);
    EXPECT_EQ(readEventPlan(store).longest, 40s) << "not shorter than the seconds around the event";
    EXPECT_EQ(readSchedulePlan(store).longest, 10s);

    store.set("recording_i0_limitsize", "1");
    const std::tuple<const char *, std::uint64_t, std::uint64_t> cases[] = {
        {"0", 768, 64}, {"748", 20, 5}, {"767", 1, 1}, {"999999", 0, 1}}; // megabytes
    for (const auto &[reserve, clips, clip] : cases) {
        store.set("recording_i0_reserveamount", reserve);
        EXPECT_EQ(readClipLimit(store).bytes >> 20, clips) << reserve;
        EXPECT_EQ(readEventPlan(store).largest >> 20, clip) << reserve;
    }
}

/** A recorder by itself; each picture is larger than the one before. */
class RecorderTest : public testing::Test, protected PictureSource
{
  protected:
    bool takePicture(int, Receiver receiver) override
    {
        const auto jpeg = std::make_shared<const std::string>(encodeJpeg(Image(width += 16, 48), 80));
        boost::asio::post(io, [receiver, jpeg] { receiver(jpeg); });
        return true;
    }
    void follow(RecordingPlan::Mode mode, const char *place)
    {
        recorder.follow({.mode = mode}, {.folder = place, .limit = {1U << 20, 10, false}});
    }
    /** Lets the camera live until something is as wanted. */
    template <class Wanted>
    void waitUntil(Wanted wanted)
    {
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (!wanted()) {
            ASSERT_LT(std::chrono::steady_clock::now(), end) << recorder.state();
            io.run_one_for(10s);
        }
    }

    TemporaryFolder folder;
    RootFolder root{folder.path()};
    Store store{folder.path("store")};
    CameraClock clock{store};
    boost::asio::io_context io;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{io.get_executor()};
    Surroundings around{.io = io, .root = root, .store = store, .clock = clock};
    EventLog log{clock};
    Worker worker{io, Worker::AtTheEnd::Finish};
    Recorder recorder{around, *this, worker, log};
    int width = 0;
};

TEST_F(RecorderTest, LeavesNothingOnAFullDiskAndGoesOnWithPicturesOfAnotherSize)
{
    // A disk that takes files of 100 bytes; the write shall fail, instead of a signal that ends the test.
    rlimit before = {};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit full = {100, before.rlim_max};
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &full);
    follow(RecordingPlan::Mode::Schedule, "/mnt/cf");
    EXPECT_EQ(recorder.state()["recording"], true);
    waitUntil([this] { return recorder.state()["failed"] == 1; });
    EXPECT_EQ(recorder.state()["recording"], false);
    EXPECT_TRUE(fs::is_empty(root.path("/mnt/cf")));
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    follow(RecordingPlan::Mode::Schedule, "/mnt/nas"); // another disk is not waited for
    EXPECT_EQ(recorder.state()["recording"], true);
    waitUntil([this] { return recorder.state()["clips"] == 2; });
    follow(RecordingPlan::Mode::Off, "/mnt/nas");
    waitUntil([this] { return worker.waiting() == 0; });
    EXPECT_EQ(recorder.state()["clips"], std::distance(fs::directory_iterator(root.path("/mnt/nas")), {}));
    EXPECT_EQ(recorder.state()["failed"], 1);
}

} // namespace
