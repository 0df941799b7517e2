#include "talk/sound.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <sndfile.hh>
#include <stdexcept>
#include <system_error>

namespace talk
{
namespace
{

constexpr char CONVERT[] = "; convert it: ffmpeg -i FILE -ar 8000 -ac 1 NEW.wav";

sf_count_t lengthOf(void *text)
{
    return static_cast<sf_count_t>(static_cast<std::string *>(text)->size());
}

/** Has libsndfile append to a std::string what it would write to a file. Raw audio is never gone back in. */
SF_VIRTUAL_IO intoText()
{
    return {.get_filelen = lengthOf,
            .seek = [](sf_count_t, int, void *text) { return lengthOf(text); },
            .read = nullptr,
            .write =
                [](const void *bytes, sf_count_t count, void *text) {
                    static_cast<std::string *>(text)->append(static_cast<const char *>(bytes),
                                                             static_cast<size_t>(count));
                    return count;
                },
            .tell = lengthOf};
}

SndfileHandle openSound(const std::string &path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        throw std::runtime_error(std::strerror(EISDIR));
    SndfileHandle file(path);
    if (file.error() == SF_ERR_SYSTEM)
        throw std::runtime_error(std::strerror(errno));
    if (file.error() != SF_ERR_NO_ERROR)
        throw std::runtime_error(std::string("not a sound that can be read (") + file.strError() + ")" + CONVERT);
    const int channels = file.channels();
    if (file.samplerate() != SAMPLE_RATE || channels != 1)
        throw std::runtime_error("a sound of " + std::to_string(file.samplerate()) + " Hz, " +
                                 (channels == 1 ? "mono" : std::to_string(channels) + " channels") +
                                 "; it has to be 8000 Hz, mono" + CONVERT);
    return file;
}

/** At the scale of 16 bits; what is too loud is clipped. Exact for samples of up to 16 bits. */
int16_t toSample(float value)
{
    return static_cast<int16_t>(std::lrint(std::fmax(INT16_MIN, std::fmin(value * 32768, INT16_MAX))));
}

} // namespace

std::string readSound(const std::string &path)
{
    SndfileHandle file = openSound(path);
    std::string audio;
    SF_VIRTUAL_IO io = intoText();
    SndfileHandle encoder(io, &audio, SFM_WRITE, SF_FORMAT_RAW | SF_FORMAT_ULAW, 1, SAMPLE_RATE);
    std::array<float, 4096> values;
    std::array<int16_t, values.size()> samples;
    while (const sf_count_t count = file.read(values.data(), values.size())) {
        std::transform(values.begin(), values.begin() + count, samples.begin(), toSample);
        encoder.write(samples.data(), count);
    }
    if (file.error() != SF_ERR_NO_ERROR)
        throw std::runtime_error(std::string("a damaged sound (") + file.strError() + ")");
    if (audio.empty())
        throw std::runtime_error("a sound without any samples");
    return audio;
}

} // namespace talk
