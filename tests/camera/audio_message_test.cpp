#include "camera/audio_message.h"
#include "camera/files.h"
#include "camera/wav_writer.h"
#include "temporary_folder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace
{

using namespace camera;

/** Names the kind of a message. */
std::string kindOf(const std::string &datagram)
{
    const auto message = parseAudioMessage(datagram);
    if (std::holds_alternative<AudioConfiguration>(message))
        return "configuration";
    const auto *const frame = std::get_if<AudioFrame>(&message);
    return frame == nullptr ? "malformed" : "frame of " + std::string(frame->samples);
}

std::string word(std::uint32_t number)
{
    return {static_cast<char>(number), static_cast<char>(number >> 8U), static_cast<char>(number >> 16U),
            static_cast<char>(number >> 24U)};
}

std::string configuration()
{
    return word(0) + "CONFG711" + std::string(32, '\0') + "ULAW" + word(1) + word(1) + word(1) + word(1);
}

std::string frame(const std::string &samples)
{
    return word(static_cast<std::uint32_t>(samples.size()) + 44) + "G711" + std::string(36, '\0') + samples;
}

std::string changed(std::string datagram, size_t at, char byte)
{
    datagram[at] = byte;
    return datagram;
}

TEST(AudioMessage, IsToldByItsBytes)
{
    ASSERT_EQ(configuration().size(), AUDIO_CONFIGURATION_SIZE);
    struct Case {
        const char *description;
        std::string datagram, kind;
    };
    const Case cases[] = {
        {"configuration", configuration(), "configuration"},
        {"frame", frame("abc"), "frame of abc"},
        {"frame without samples", frame(""), "frame of "},
        {"frame as long as a configuration", frame(std::string(20, 'x')), "frame of " + std::string(20, 'x')},
        {"the longest frame of a client", frame(std::string(9959, 'x')), "frame of " + std::string(9959, 'x')},
        {"nothing", "", "malformed"},
        {"less than a head", frame("").substr(0, 43), "malformed"},
        {"length one too small", changed(frame("abc"), 0, 46), "malformed"},
        {"length one too large", changed(frame("abc"), 0, 48), "malformed"},
        {"length that a high byte makes huge", changed(frame("abc"), 3, 1), "malformed"},
        {"frame of another codec", changed(frame("abc"), 7, '2'), "malformed"},
        {"configuration of another codec", changed(configuration(), 11, '2'), "malformed"},
        {"configuration of the other law", changed(configuration(), 44, 'A'), "malformed"},
        {"configuration of two channels", changed(configuration(), 48, 2), "malformed"},
        {"configuration with a length", changed(configuration(), 0, 64), "malformed"},
        {"configuration that is cut", configuration().substr(0, 63), "malformed"},
        {"configuration with more behind it", configuration() + "x", "malformed"},
    };
    for (const auto &[description, datagram, kind] : cases)
        EXPECT_EQ(kindOf(datagram), kind) << description;
}

TEST(MuLaw, DecodesAsTheStandardsTableSays)
{
    // ITU-T G.711, table 2a, at 14 bits; 16 bits have four times the values.
    struct Case {
        std::uint8_t sample;
        int value;
    };
    const Case cases[] = {{0x80, 8031},  {0x8f, 4191}, {0x9f, 2079}, {0xaf, 1023}, {0xbf, 495},
                          {0xcf, 231},   {0xdf, 99},   {0xef, 33},   {0xfe, 2},    {0xff, 0},
                          {0x00, -8031}, {0x7e, -2},   {0x7f, 0}};
    for (const auto &[sample, value] : cases)
        EXPECT_EQ(decodeMuLaw(sample), 4 * value) << int{sample};
}

TEST(MuLaw, EveryNegativeSampleHasItsPositive)
{
    for (int sample = 0; sample < 127; ++sample) {
        EXPECT_EQ(decodeMuLaw(static_cast<std::uint8_t>(sample)),
                  -decodeMuLaw(static_cast<std::uint8_t>(sample + 128)));
        EXPECT_LT(decodeMuLaw(static_cast<std::uint8_t>(sample)),
                  decodeMuLaw(static_cast<std::uint8_t>(sample + 1)));
    }
}

TEST(Level, IsRelativeToTheLoudestSine)
{
    std::vector<std::int16_t> sine(800);
    for (size_t i = 0; i < sine.size(); ++i)
        sine[i] = static_cast<std::int16_t>(32767 * std::sin(2 * std::numbers::pi * static_cast<double>(i) / 8));
    EXPECT_NEAR(levelOf(sine), 0, 0.01);
    for (std::int16_t &sample : sine)
        sample = static_cast<std::int16_t>(sample / 10);
    EXPECT_NEAR(levelOf(sine), -20, 0.01);
    EXPECT_EQ(levelOf(std::vector<std::int16_t>(8)), -100);
    EXPECT_EQ(levelOf({}), -100);
}

TEST(WavWriter, IsAWholeFileAtAnyTime)
{
    const TemporaryFolder folder;
    WavWriter wav(folder.path("a.wav"), 8000);
    const auto head = [](std::uint32_t bytes) {
        return "RIFF" + word(36 + bytes) + "WAVEfmt " + word(16) + std::string("\1\0\1\0", 4) + word(8000) +
               word(16000) + std::string("\2\0\20\0", 4) + "data" + word(bytes);
    };
    EXPECT_EQ(readFile(folder.path("a.wav")), head(0));
    wav.append(std::vector<std::int16_t>{1, -2, 0x1234});
    EXPECT_EQ(readFile(folder.path("a.wav")), head(6) + std::string("\1\0\xfe\xff\x34\x12", 6));
    wav.append(std::vector<std::int16_t>{-32768});
    EXPECT_EQ(readFile(folder.path("a.wav")), head(8) + std::string("\1\0\xfe\xff\x34\x12\0\x80", 8));
    EXPECT_DOUBLE_EQ(wav.seconds(), 4 / 8000.0);
}

TEST(WavWriter, TellsWhatItCannotWrite)
{
    EXPECT_THROW(WavWriter("/nowhere/a.wav", 8000), std::system_error);
    EXPECT_THROW(WavWriter("/dev/full", 8000), std::system_error);
}

} // namespace
