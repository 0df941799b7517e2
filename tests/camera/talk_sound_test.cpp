#include "camera/neighbours/audio_decoder/audio_message.h"
#include "talk/connection.h"
#include "talk/mulaw.h"
#include "talk/speaker.h"
#include "talk/wav.h"
#include "tests/fakes/audio_stream.h"
#include "wav_bytes.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <stdexcept>

namespace
{

/** The error of a file that must be refused; empty when it is taken. */
std::string errorOf(const std::string &file)
{
    try {
        (void)talk::parseWav(file);
        return {};
    } catch (const std::runtime_error &error) {
        return error.what();
    }
}

} // namespace

TEST(MuLaw, FollowsTheTableOfTheRecommendation)
{
    // Decision values of 14 bits and the code of the interval above each, at the segments' ends.
    const struct {
        int decision;
        uint8_t above, below;
    } rows[] = {
        {1, 0xFE, 0xFF},    {31, 0xEF, 0xF0},   {35, 0xEE, 0xEF},   {95, 0xDF, 0xE0},
        {223, 0xCF, 0xD0},  {479, 0xBF, 0xC0},  {991, 0xAF, 0xB0},  {2015, 0x9F, 0xA0},
        {4063, 0x8F, 0x90}, {4319, 0x8E, 0x8F}, {7903, 0x80, 0x81},
    };
    for (const auto &row : rows) {
        const auto sample = static_cast<int16_t>(row.decision * 4);
        EXPECT_EQ(talk::encodeMuLaw(sample), row.above) << row.decision;
        EXPECT_EQ(talk::encodeMuLaw(static_cast<int16_t>(sample - 1)), row.below) << row.decision;
        EXPECT_EQ(talk::encodeMuLaw(static_cast<int16_t>(-sample)), row.above & 0x7F) << -row.decision;
    }
    EXPECT_EQ(talk::encodeMuLaw(0), 0xFF);
    EXPECT_EQ(talk::encodeMuLaw(INT16_MAX), 0x80);
    EXPECT_EQ(talk::encodeMuLaw(INT16_MIN), 0x00);
}

TEST(MuLaw, KeepsEverySampleWithinHalfAStep)
{
    int last = -40000;
    for (int sample = INT16_MIN; sample <= INT16_MAX; ++sample) {
        const int value = camera::decodeMuLaw(talk::encodeMuLaw(static_cast<int16_t>(sample)));
        ASSERT_GE(value, last) << sample;
        last = value;
        const int magnitude = std::abs(sample);
        // A step of the segment: 8, 16, 32 ... on the 16-bit scale; 3 more for the two bits that fall away.
        const int step = 8 << std::max(0, static_cast<int>(std::log2(std::max(magnitude + 132, 256))) - 7);
        ASSERT_LE(std::abs(value - sample), magnitude > 32635 ? 650 : step / 2 + 3) << sample;
    }
}

TEST(Wav, TakesTheSamplesOfUsableFiles)
{
    using Samples = std::vector<int16_t>;
    const std::string format = wavFormatChunk({});
    const std::string data("\x01\x00\xFF\xFF\x00\x80", 6);
    const Samples expected = {1, -1, INT16_MIN};
    const std::string extension =
        std::string("\x16\x00\x10\x00\x00\x00\x00\x00\x01\x00", 10) + std::string(14, 'g');
    const struct {
        const char *description;
        std::string file;
        Samples samples;
    } cases[] = {
        {"16 bits", wavFile(format + wavChunk("data", data)), expected},
        {"8 bits",
         wavFile(wavFormatChunk({.bits = 8}) + wavChunk("data", std::string("\x80\x00\xFF", 3))),
         {0, INT16_MIN, 127 * 256}},
        {"extensible format",
         wavFile(wavFormatChunk({.tag = 0xFFFE, .extension = extension}) + wavChunk("data", data)), expected},
        {"PCM with an empty extension",
         wavFile(wavFormatChunk({.extension = std::string(2, '\0')}) + wavChunk("data", data)), expected},
        {"other chunks, one of an odd length",
         wavFile(wavChunk("LIST", "odd") + format + wavChunk("fact", "even") + wavChunk("data", data) +
                 wavChunk("id3 ", "tag")),
         expected},
        {"half a sample at the end", wavFile(format + wavChunk("data", data + "x")), expected},
        {"a recorder that never knew the length", wavFile(format + "data\xFF\xFF\xFF\xFF" + data), expected},
        {"a wrong length of the whole", "RIFF" + littleEndian(0, 4) + "WAVE" + format + wavChunk("data", data),
         expected},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.description);
        EXPECT_EQ(errorOf(c.file), "");
        EXPECT_EQ(talk::parseWav(c.file), c.samples);
    }
}

TEST(Wav, SaysWhatIsWrongWithOtherFiles)
{
    const std::string data = wavChunk("data", "abcd");
    const std::string damaged = "a damaged WAV file: ";
    const std::string format = "a WAV file ";
    const std::pair<std::string, std::string> cases[] = {
        {"", "not a WAV file"},
        {std::string(100, 'x'), "not a WAV file"},
        {"RIFF" + littleEndian(4, 4) + "AVI ", "not a WAV file"},
        {wavFile(wavFormatChunk({})), damaged + "it holds no data"},
        {wavFile(wavFormatChunk({}) + wavChunk("data", "x")), "a WAV file without any samples"},
        {wavFile(data), damaged + "its data come before their format"},
        {wavFile("fmt " + littleEndian(0xFFFFFFFF, 4) + "x"), damaged + "it ends in the middle of a header"},
        {wavFile(wavChunk("fmt ", "short") + data), damaged + "it ends in the middle of a header"},
        {wavFile(wavFormatChunk({.tag = 0xFFFE}) + data), damaged + "it ends in the middle of a header"},
        {wavFile(wavFormatChunk({.tag = 7}) + data),
         format + "of format 7; it has to be uncompressed PCM (format 1)"},
        {wavFile(wavFormatChunk({.channels = 2}) + data), format + "with 2 channels; it has to be mono"},
        {wavFile(wavFormatChunk({.sampleRate = 44100}) + data), format + "of 44100 Hz; it has to be 8000 Hz"},
        {wavFile(wavFormatChunk({.bits = 0}) + data), format + "of 0 bits a sample; it has to be 8 or 16"},
        {wavFile(wavFormatChunk({.bits = 24}) + data), format + "of 24 bits a sample; it has to be 8 or 16"},
    };
    for (const auto &[file, error] : cases)
        EXPECT_EQ(errorOf(file), error);
}

TEST(Wav, AFileCutAnywhereGivesItsBeginningOrAnError)
{
    const std::vector<int16_t> samples = {1, 2, 3, 4, 5};
    const std::string file = wavFile(samples);
    const size_t header = file.size() - 2 * samples.size();
    for (size_t length = 0; length < file.size(); ++length) {
        // On the heap, exactly as long as it is, so that a read behind the end is seen.
        const std::vector<char> cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length));
        try {
            const std::vector<int16_t> got = talk::parseWav({cut.data(), cut.size()});
            ASSERT_GE(length, header + 2);
            EXPECT_EQ(got, std::vector<int16_t>(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(
                                                                                       (length - header) / 2)));
        } catch (const std::runtime_error &) {
            EXPECT_LT(length, header + 2);
        }
    }
}

TEST(Frame, IsWhatACameraTakes)
{
    const std::string audio = AudioPayload(320);
    EXPECT_EQ(talk::makeFrame(audio), AudioHeaderBytes({.dataLength = 320, .unused = '\0'}) + audio);
}

TEST(Address, IsReadInItsUsualForms)
{
    const struct {
        const char *text, *host, *port, *again;
    } cases[] = {{"192.168.0.20:8080", "192.168.0.20", "8080", "192.168.0.20:8080"},
                 {"camera.local", "camera.local", "8080", "camera.local:8080"},
                 {"[::1]:8080", "::1", "8080", "[::1]:8080"},
                 {"[fe80::1%eth0]", "fe80::1%eth0", "8080", "[fe80::1%eth0]:8080"}};
    for (const auto &c : cases) {
        const talk::Address address = talk::parseAddress(c.text);
        EXPECT_EQ(address.host, c.host) << c.text;
        EXPECT_EQ(address.port, c.port) << c.text;
        EXPECT_EQ(talk::toText(address), c.again) << c.text;
    }
    for (const char *bad : {"", ":80", "camera:", "camera:http", "[]:80", "[::1]80", "[::1", "camera:8 0"})
        EXPECT_THROW((void)talk::parseAddress(bad), std::runtime_error) << bad;
}
