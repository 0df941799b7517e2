#include "camera/base/files.h"
#include "camera/neighbours/audio_decoder/audio_message.h"
#include "camera/neighbours/audio_decoder/wav_writer.h"
#include "sound_files.h"
#include "temporary_folder.h"
#include "tests/fakes/audio_stream.h"

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
    const auto *const frame = std::get_if<camera::AudioFrame>(&message);
    return frame == nullptr ? "malformed" : "frame of " + std::string(frame->samples);
}

std::string changed(std::string datagram, size_t at, char byte)
{
    datagram[at] = byte;
    return datagram;
}

TEST(AudioMessage, IsToldByItsBytes)
{
    EXPECT_EQ(kindOf(DECODER_CONFIG), "configuration");
    for (const std::string &samples :
         {std::string("abc"), std::string(), std::string(20, 'x'), std::string(9959, 'x')})
        EXPECT_EQ(kindOf(decoderFrame(samples)), "frame of " + samples);
    const std::pair<const char *, std::string> malformed[] = {
        {"nothing", ""},
        {"less than a head", decoderFrame("").substr(0, 43)},
        {"length one too small", changed(decoderFrame("abc"), 0, 46)},
        {"length one too large", changed(decoderFrame("abc"), 0, 48)},
        {"length that a high byte makes huge", changed(decoderFrame("abc"), 3, 1)},
        {"frame of another codec", changed(decoderFrame("abc"), 7, '2')},
        {"configuration of another codec", changed(DECODER_CONFIG, 11, '2')},
        {"configuration of the other law", changed(DECODER_CONFIG, 44, 'A')},
        {"configuration of two channels", changed(DECODER_CONFIG, 48, 2)},
        {"configuration with a length", changed(DECODER_CONFIG, 0, 64)},
        {"configuration that is cut", DECODER_CONFIG.substr(0, 63)},
        {"configuration with more behind it", DECODER_CONFIG + "x"},
    };
    for (const auto &[description, datagram] : malformed)
        EXPECT_EQ(kindOf(datagram), "malformed") << description;
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
    EXPECT_EQ(readFile(folder.path("a.wav")), wavBytes({}));
    wav.append(Samples{1, -2, 0x1234});
    EXPECT_EQ(readFile(folder.path("a.wav")), wavBytes({1, -2, 0x1234}));
    wav.append(Samples{-32768});
    EXPECT_EQ(readFile(folder.path("a.wav")), wavBytes({1, -2, 0x1234, -32768}));
    EXPECT_DOUBLE_EQ(wav.seconds(), 4 / 8000.0);
    EXPECT_THROW(WavWriter("/nowhere/a.wav", 8000), std::system_error);
    EXPECT_THROW(WavWriter("/dev/full", 8000), std::system_error);
}

} // namespace
