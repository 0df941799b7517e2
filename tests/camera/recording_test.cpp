#include "camera/base/bounded_folder.h"
#include "camera/base/files.h"
#include "camera/neighbours/event_engine/avi_writer.h"
#include "camera/neighbours/event_engine/clip_recorder.h"
#include "camera/picture/jpeg.h"
#include "temporary_folder.h"

#include <array>
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
    EXPECT_EQ(jpegSize(encodeJpeg(Image(176, 144), 80)), (PictureSize{176, 144}));
    for (size_t length = 0; length < 17; ++length)
        EXPECT_EQ(jpegSize(jpegOf(640, 480, 'x').substr(0, length)), std::nullopt) << length;
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
    for (const auto &[at, text] : {std::pair(0, "RIFF"), {8, "AVI LIST"}, {20, "hdrlavih"}, {108, "vidsMJPG"}})
        expectText(static_cast<size_t>(at), text);
    // The length of all; microseconds per picture, their count and size; rate over scale: pictures per second.
    const std::pair<size_t, size_t> numbers[] = {
        {4, file.size() - 8}, {32, 500000}, {48, 3}, {64, 640}, {68, 480}, {132, 2 * number(file, 128)}};
    for (const auto &[at, value] : numbers)
        EXPECT_EQ(number(file, at), value) << "at " << at;

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
        EXPECT_EQ(number(file, entry + 12), pictures[i].size());
        expectText(chunk, "00dc");
        EXPECT_EQ(number(file, chunk + 4), pictures[i].size());
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
class SeenClips : public ClipSink
{
  public:
    void beginClip(Mode cause) override { text += cause == Mode::Event ? "(e" : "(s"; }
    void addPicture(const JpegPicture &picture) override { text += picture->back(); }
    void endClip(std::chrono::milliseconds duration) override { text += std::to_string(duration.count()) + ")"; }

    std::string text;
};

/**
 * Plays a story: A, E, S and O plan the modes armed, event, schedule and off; digits are seconds with a picture
 * each, named from 'a' on; "!" is a failure, "/" changes the pictures' size, "z" ten seconds without pictures, "L"
 * limits clips to two pictures and a half, for any time.
 */
std::string clipsOf(std::string_view story)
{
    SeenClips seen;
    ClipRecorder recorder(seen);
    RecordingPlan plan = {.before = 3s, .after = 2s, .longest = 5s};
    ClipRecorder::Time now;
    int width = 640;
    char mark = 'a';
    for (const char step : story) {
        if (const size_t mode = std::string_view("AESO").find(step); mode != std::string_view::npos) {
            plan.mode = std::array{Mode::Armed, Mode::Event, Mode::Schedule, Mode::Off}.at(mode);
            recorder.follow(plan, now);
            EXPECT_EQ(recorder.wantsPictures(), step != 'O') << story;
        } else if (step == '!') {
            recorder.fail(now);
            EXPECT_FALSE(recorder.recording()) << story;
        } else if (step == '/') {
            width = 960 - width;
        } else if (step == 'z') {
            recorder.advance(now += 10s);
        } else if (step == 'L') {
            plan.largest = 5 * jpegOf(width, 480, mark).size() / 2;
            plan.longest = 0s;
        }
        for (int seconds = isdigit(step) ? step - '0' : 0; seconds > 0; --seconds)
            recorder.addPicture(std::make_shared<const std::string>(jpegOf(width, 480, mark++)), now += 1s);
    }
    return seen.text;
}

TEST(ClipRecorder, MakesClipsOfWhatIsPlanned)
{
    const struct {
        const char *description, *story, *clips;
    } cases[] = {
        {"with what was before and after, and not recorded yet", "A6EA42EO", "(ecdefg5000)(eijkl3000)"},
        {"a long event goes on in another clip", "AE7A1E1Az", "(eabcd5000)(eefghi14000)"},
        {"a schedule has no gap and no time before", "A2S6A", "(scdef5000)(sgh1000)"},
        {"a clip stays below its size", "LS5O", "(sab3000)(scd2000)(se0)"},
        {"pictures of another size go into another clip", "A2/1E1/1A2", "(eab2000)(ecd2000)(eef2000)"},
        {"nothing for some time after a failure", "E1!9E", "(ea1000)"},
        {"then again, and something else at once", "E1!9E1!OS", "(ea1000)(ehijk3000)(s"},
    };
    for (const auto &[description, story, clips] : cases)
        EXPECT_EQ(clipsOf(story), clips) << description;
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
    const auto make = [&](std::uint64_t bytes, size_t files, bool removeOldest, const char *prefix = "") {
        makeRoom(folder, {.bytes = bytes, .files = files, .removeOldest = removeOldest, .prefix = prefix}, 100);
        return names();
    };
    make(300, 10, true);
    put("a", 1);
    put("b", 3);
    put("c", 2);
    put("d.avi.part", 0);
    EXPECT_EQ(make(400, 10, true), "abc") << "what was left unfinished goes first";
    EXPECT_THROW(make(399, 10, false), std::runtime_error);
    EXPECT_EQ(make(399, 10, true), "ac");
    EXPECT_EQ(make(1000, 2, true), "a");
    EXPECT_EQ(make(100, 1, true, "b"), "a") << "files of other names do not count";
    EXPECT_THROW(make(50, 9, true), std::runtime_error);

    fs::create_symlink("loop", folder + "/loop");
    EXPECT_NO_THROW(make(1000, 2, true)) << "not a file at all";

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
