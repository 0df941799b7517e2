#include "camera/base/files.h"
#include "sound_files.h"
#include "talk/connection.h"
#include "talk/sound.h"
#include "talk/speaker.h"
#include "temporary_folder.h"
#include "tests/fakes/audio_stream.h"

#include <array>
#include <gtest/gtest.h>
#include <stdexcept>

namespace
{

constexpr int WAV16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

/** Samples that mu-law holds exactly (ITU-T G.711, table 2a, at four times its values). */
const Samples EXACT = {0, 32124, -32124, 132, -132, 396};
const std::string EXACT_MU_LAW("\xff\x80\x00\xef\x6f\xdf", 6);

} // namespace

TEST(Sound, IsGivenInMuLawWhateverItsFormat)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("sound");
    for (const int format : {WAV16, SF_FORMAT_WAV | SF_FORMAT_PCM_24, SF_FORMAT_WAVEX | SF_FORMAT_PCM_16,
                             SF_FORMAT_AU | SF_FORMAT_ULAW, SF_FORMAT_FLAC | SF_FORMAT_PCM_16}) {
        writeSound(path, EXACT, format);
        EXPECT_EQ(talk::readSound(path), EXACT_MU_LAW) << std::hex << format;
    }
    writeSound(path, {0, INT16_MIN, 127 * 256, -256}, SF_FORMAT_WAV | SF_FORMAT_PCM_U8);
    EXPECT_EQ(talk::readSound(path), std::string("\xff\x00\x80\x67", 4));
    const float loud[] = {2, 0.5F, -2};
    SndfileHandle(path, SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 1, 8000).write(loud, std::ssize(loud));
    EXPECT_EQ(talk::readSound(path), std::string("\x80\x8f\x00", 3)) << "what is too loud is clipped";
}

TEST(Sound, ARecordingThatWasCutOffGivesItsBeginning)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("sound");
    const std::string whole = wavBytes(EXACT);
    const std::pair<std::string, size_t> cases[] = {
        {whole.substr(0, whole.size() - 4), 4}, {whole + "x", 6}, {wavBytes(EXACT, 0xFFFFFFFF - 36), 6}};
    for (const auto &[bytes, samples] : cases) {
        camera::replaceFile(path, bytes, 0644);
        EXPECT_EQ(talk::readSound(path), EXACT_MU_LAW.substr(0, samples)) << bytes.size();
    }
}

TEST(Sound, WhatTheCameraCannotPlayIsRefusedWithTheWayOut)
{
    const TemporaryFolder folder;
    const std::string path = folder.path("sound");
    const auto refused = [&](const std::string &error) {
        try {
            (void)talk::readSound(path);
            ADD_FAILURE() << "taken instead of: " << error;
        } catch (const std::runtime_error &caught) {
            EXPECT_NE(std::string(caught.what()).find(error), std::string::npos) << caught.what();
        }
    };
    writeSound(path, {1, 2}, WAV16, 2);
    refused("a sound of 8000 Hz, 2 channels; it has to be 8000 Hz, mono; convert it: ffmpeg -i FILE -ar 8000 -ac 1 "
            "NEW.wav");
    writeSound(path, {1, 2}, WAV16, 1, 44100);
    refused("a sound of 44100 Hz, mono; it has to be");
    writeSound(path, {});
    refused("a sound without any samples");
    for (const std::string &bytes : {std::string(), std::string(100, 'x'), wavBytes(EXACT).substr(0, 20)}) {
        camera::replaceFile(path, bytes, 0644);
        refused("not a sound that can be read (");
    }
}

TEST(Address, IsReadInItsUsualForms)
{
    const std::array<const char *, 3> cases[] = {{"192.168.0.20:80", "192.168.0.20", "80"},
                                                 {"camera.local", "camera.local", "8080"},
                                                 {"[fe80::1%eth0]", "fe80::1%eth0", "8080"}};
    for (const auto &[text, host, port] : cases) {
        const talk::Address address = talk::parseAddress(text);
        EXPECT_EQ(address.host, host);
        EXPECT_EQ(address.port, port);
        EXPECT_TRUE(talk::toText(address).starts_with(text)) << talk::toText(address);
    }
    for (const char *bad : {"", ":80", "camera:", "camera:http", "[]:80", "[::1]80", "[::1"})
        EXPECT_THROW((void)talk::parseAddress(bad), std::runtime_error) << bad;
}
