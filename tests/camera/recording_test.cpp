#include "camera/base/bounded_folder.h"
#include "camera/base/files.h"
#include "camera/neighbours/event_engine/avi_writer.h"
#include "camera/neighbours/event_engine/clip_recorder.h"
#include "camera/picture/jpeg.h"
#include "temporary_folder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>

/*
 * Recordings: which pictures make up a clip, the AVI file that it becomes, and the room that files may take.
 */

namespace
{

using namespace camera;
using namespace std::chrono_literals;
using Mode = RecordingPlan::Mode;
namespace fs = std::filesystem;

/** A minimal JPEG head of this size, told apart by its last byte. */
std::string jpegOf(int width, int height, char mark)
{
    const auto high = [](int value) { return static_cast<char>(value >> 8); };
    const auto low = [](int value) { return static_cast<char>(value & 255); };
    std::string jpeg("\xff\xd8\xff\xe0\x00\x04**\xff\xc0\x00\x0b\x08", 13);
    for (const char letter : {high(height), low(height), high(width), low(width), '\1', '\1', '\x11', '\0', mark})
        jpeg += letter;
    return jpeg;
}

std::uint32_t number(const std::string &file, size_t at)
{
    std::uint32_t value = 0;
    for (size_t i = at + 4; i > at; --i)
        value = value << 8 | static_cast<unsigned char>(file.at(i - 1));
    return value;
}

TEST(JpegSize, IsReadFromTheFrameHeader)
{
    EXPECT_EQ(jpegSize(jpegOf(640, 480, 'x')), (PictureSize{640, 480}));
    Image image(176, 144);
    EXPECT_EQ(jpegSize(encodeJpeg(image, 80)), (PictureSize{176, 144})) << "as the camera's own pictures have it";
    const std::string whole = jpegOf(640, 480, 'x');
    for (size_t length = 0; length < 17; ++length)
        EXPECT_EQ(jpegSize(whole.substr(0, length)), std::nullopt) << length;
    EXPECT_EQ(jpegSize("GIF89a, which is no JPEG at all"), std::nullopt);
    EXPECT_EQ(jpegSize(std::string("\xff\xd8\xff\xe0\0\0\xff\xe0\0\0\0\0\0\0", 14)), std::nullopt);
}

TEST(AviFile, IsARiffFileWithEveryPictureInItsIndex)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("clip.avi");
    const std::string pictures[] = {jpegOf(640, 480, 'a'), jpegOf(640, 480, 'b') + "odd", jpegOf(640, 480, 'c')};
    {
        AviWriter writer(path, {640, 480});
        for (const std::string &picture : pictures)
            writer.add(picture);
        EXPECT_FALSE(fs::exists(path)) << "not there before it is complete";
        writer.finish(1500ms);
    }
    const std::string file = readFile(path);
    const auto expectText = [&](size_t at, const std::string &text) {
        EXPECT_EQ(file.substr(at, text.size()), text);
    };
    const auto expectNumber = [&](size_t at, size_t value) { EXPECT_EQ(number(file, at), value) << "at " << at; };
    expectText(0, "RIFF");
    expectNumber(4, file.size() - 8);
    expectText(8, "AVI LIST");
    expectText(20, "hdrlavih");
    expectNumber(32, 500000); // microseconds per picture
    expectNumber(48, 3);
    expectNumber(64, 640);
    expectNumber(68, 480);
    expectText(108, "vidsMJPG");
    expectNumber(132, 2 * number(file, 128)); // rate over scale: pictures per second

    const size_t movie = 20 + number(file, 16);
    expectText(movie, "LIST"); // the header's list ends where the next one begins
    expectText(movie + 8, "movi");
    const size_t index = movie + 8 + number(file, movie + 4);
    expectText(index, "idx1");
    ASSERT_EQ(number(file, index + 4), 3 * 16U);
    for (size_t i = 0; i < 3; ++i) {
        const size_t entry = index + 8 + i * 16;
        const size_t chunk = movie + 8 + number(file, entry + 8);
        expectText(entry, "00dc");
        expectNumber(entry + 12, pictures[i].size());
        expectText(chunk, "00dc");
        expectNumber(chunk + 4, pictures[i].size());
        expectText(chunk + 8, pictures[i]);
        EXPECT_EQ(chunk % 2, 0U);
    }
    EXPECT_EQ(index + 8 + 3 * 16, file.size());

    fs::remove(path);
    {
        AviWriter writer(path, {640, 480});
        writer.add(pictures[0]);
        EXPECT_THROW(AviWriter(path, {640, 480}), std::system_error) << "no file is written over";
    }
    EXPECT_TRUE(fs::is_empty(folder.path())) << "what is not finished is removed";
}

/** Writes down what it is given: "(e" begins an event's clip, letters are pictures, "5000)" ends one. */
class ClipRecorderTest : public testing::Test, protected ClipSink
{
  protected:
    void beginClip(Mode cause) override { seen += cause == Mode::Event ? "(e" : "(s"; }
    void addPicture(const JpegPicture &picture) override { seen += picture->back(); }
    void endClip(std::chrono::milliseconds duration) override { seen += std::to_string(duration.count()) + ")"; }

    void plan(Mode mode)
    {
        settings.mode = mode;
        recorder.follow(settings, now);
    }
    /** One picture a second, marked one after the other. */
    void pass(int seconds)
    {
        for (; seconds > 0; --seconds) {
            now += 1s;
            recorder.addPicture(std::make_shared<const std::string>(jpegOf(width, 480, mark++)), now);
        }
    }

    std::string seen;
    char mark = 'a';
    int width = 640;
    ClipRecorder::Time now;
    RecordingPlan settings = {.before = 3s, .after = 2s, .longest = 5s};
    ClipRecorder recorder{*this};
};

TEST_F(ClipRecorderTest, EventHasThePicturesFromBeforeAndAfterIt)
{
    plan(Mode::Armed);
    EXPECT_TRUE(recorder.wantsPictures());
    pass(6);
    plan(Mode::Event);
    EXPECT_TRUE(recorder.recording());
    plan(Mode::Armed);
    pass(4);
    EXPECT_EQ(seen, "(ecdefg5000)");
    EXPECT_FALSE(recorder.recording());
    pass(2);
    plan(Mode::Event);
    plan(Mode::Off);
    EXPECT_EQ(seen, "(ecdefg5000)(eijkl3000)") << "the next clip begins with what was not recorded yet";
    EXPECT_FALSE(recorder.wantsPictures());
}

TEST_F(ClipRecorderTest, LongEventGoesOnInAnotherClip)
{
    plan(Mode::Armed);
    plan(Mode::Event);
    pass(7);
    plan(Mode::Armed);
    pass(1);
    plan(Mode::Event); // again, before the first is over
    pass(1);
    plan(Mode::Armed);
    now += 10s;
    recorder.advance(now); // no pictures come any more
    EXPECT_EQ(seen, "(eabcd5000)(eefghi14000)");
}

TEST_F(ClipRecorderTest, ScheduleRecordsWithoutAGapAndWithoutTheTimeBefore)
{
    plan(Mode::Armed);
    pass(2);
    plan(Mode::Schedule);
    pass(6);
    plan(Mode::Armed);
    EXPECT_EQ(seen, "(scdef5000)(sgh1000)");
}

TEST_F(ClipRecorderTest, ClipStaysBelowItsSize)
{
    settings.largest = 5 * jpegOf(width, 480, mark).size() / 2;
    settings.longest = 0s;
    plan(Mode::Schedule);
    pass(5);
    plan(Mode::Off);
    EXPECT_EQ(seen, "(sab3000)(scd2000)(se0)");
}

TEST_F(ClipRecorderTest, PictureOfAnotherSizeGoesIntoAnotherClip)
{
    plan(Mode::Armed);
    pass(2);
    width = 320;
    pass(1);
    plan(Mode::Event);
    pass(1);
    width = 640;
    pass(1);
    plan(Mode::Armed);
    pass(2);
    EXPECT_EQ(seen, "(eab2000)(ecd2000)(eef2000)");
}

TEST_F(ClipRecorderTest, BeginsAnewSomeTimeAfterAFailure)
{
    plan(Mode::Event);
    pass(1);
    recorder.fail(now);
    EXPECT_FALSE(recorder.recording());
    pass(9);
    plan(Mode::Event); // looked at again
    EXPECT_TRUE(recorder.wantsPictures());
    EXPECT_EQ(seen, "(ea1000)");
    pass(1);
    EXPECT_EQ(seen, "(ea1000)(ehijk") << "with the pictures from before";
    recorder.fail(now);
    plan(Mode::Off);
    plan(Mode::Schedule);
    EXPECT_EQ(seen, "(ea1000)(ehijk3000)(s") << "for something else at once";
}

TEST(BoundedFolder, RemovesTheOldestOrSaysThatItIsFull)
{
    const TemporaryFolder root;
    const std::string folder = root.path("mnt/cf");
    const auto put = [&](const std::string &name, int age) {
        replaceFile(folder + "/" + name, std::string(100, 'x'), 0644);
        fs::last_write_time(folder + "/" + name, fs::file_time_type::clock::now() - std::chrono::hours(age));
    };
    const auto names = [&] {
        std::string all;
        for (const char *name : {"a", "b", "c", "d.avi.part"})
            if (fs::exists(folder + "/" + name))
                all += name;
        return all;
    };
    makeRoom(folder, {.bytes = 300, .files = 10, .removeOldest = true}, 100);
    put("a", 1);
    put("b", 3);
    put("c", 2);
    put("d.avi.part", 0);
    makeRoom(folder, {.bytes = 400, .files = 10, .removeOldest = true}, 100);
    EXPECT_EQ(names(), "abc") << "what was left unfinished goes first";
    EXPECT_THROW(makeRoom(folder, {.bytes = 399, .files = 10, .removeOldest = false}, 100), std::runtime_error);
    EXPECT_EQ(names(), "abc");
    makeRoom(folder, {.bytes = 399, .files = 10, .removeOldest = true}, 100);
    EXPECT_EQ(names(), "ac");
    makeRoom(folder, {.bytes = 1000, .files = 2, .removeOldest = true}, 100);
    EXPECT_EQ(names(), "a");
    makeRoom(folder, {.bytes = 100, .files = 1, .removeOldest = true, .prefix = "b"}, 100);
    EXPECT_EQ(names(), "a") << "files of other names do not count";
    EXPECT_THROW(makeRoom(folder, {.bytes = 50, .files = 9, .removeOldest = true}, 100), std::runtime_error);

    fs::create_symlink("loop", folder + "/loop");
    EXPECT_NO_THROW(makeRoom(folder, {.bytes = 1000, .files = 2, .removeOldest = true}, 100))
        << "not a file at all";

    EXPECT_EQ(freePath(folder, "new", ".avi"), folder + "/new.avi");
    put("new.avi", 0);
    put("new-2.avi", 0);
    EXPECT_EQ(freePath(folder, "new", ".avi"), folder + "/new-3.avi");
}

TEST(BoundedFolder, PassesOverWhatSomebodyDeletesMeanwhile)
{
    const TemporaryFolder folder;
    for (int round = 0; round < 10; ++round) {
        for (int i = 0; i < 100; ++i)
            std::ofstream(folder.path(std::to_string(i) + (i % 2 == 0 ? ".avi" : ".part"))).put('x');
        const std::jthread somebody([files = fs::directory_iterator(folder.path())] {
            for (const fs::directory_entry &file : files)
                fs::remove(file.path());
        });
        EXPECT_NO_THROW(makeRoom(folder.path(), {.bytes = 100, .files = 10, .removeOldest = true}, 50));
    }
}

} // namespace
