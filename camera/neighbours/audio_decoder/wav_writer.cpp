#include "camera/neighbours/audio_decoder/wav_writer.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <system_error>

namespace camera
{

namespace
{

constexpr size_t HEADER_SIZE = 44;
constexpr unsigned BYTES_PER_SAMPLE = 2;

void append(std::string &text, std::uint32_t number, unsigned bytes)
{
    for (; bytes > 0; --bytes, number >>= 8U)
        text += static_cast<char>(number & 0xffU);
}

void writeAt(int file, std::string_view text, size_t at)
{
    while (!text.empty()) {
        const ssize_t written = pwrite(file, text.data(), text.size(), static_cast<off_t>(at));
        if (written < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "writing a WAV file");
        if (written > 0) {
            text.remove_prefix(static_cast<size_t>(written));
            at += static_cast<size_t>(written);
        }
    }
}

} // namespace

WavWriter::WavWriter(const std::string &path, unsigned samplesPerSecond)
    : file_(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)), samplesPerSecond_(samplesPerSecond)
{
    if (!file_.valid())
        throw std::system_error(errno, std::generic_category(), path);
    writeHeader();
}

void WavWriter::append(std::span<const std::int16_t> samples)
{
    std::string bytes;
    for (const std::int16_t sample : samples)
        camera::append(bytes, static_cast<std::uint16_t>(sample), BYTES_PER_SAMPLE);
    writeAt(file_.get(), bytes, HEADER_SIZE + size_t{samples_} * BYTES_PER_SAMPLE);
    samples_ += static_cast<std::uint32_t>(samples.size());
    writeHeader();
}

void WavWriter::writeHeader() const
{
    constexpr unsigned PCM = 1;
    constexpr unsigned CHANNELS = 1;
    const std::uint32_t size = samples_ * BYTES_PER_SAMPLE;
    std::string header = "RIFF";
    camera::append(header, HEADER_SIZE - 8 + size, 4);
    header += "WAVEfmt ";
    camera::append(header, 16, 4); // the length of what follows, up to "data"
    camera::append(header, PCM, 2);
    camera::append(header, CHANNELS, 2);
    camera::append(header, samplesPerSecond_, 4);
    camera::append(header, samplesPerSecond_ * BYTES_PER_SAMPLE, 4);
    camera::append(header, BYTES_PER_SAMPLE, 2);
    camera::append(header, BYTES_PER_SAMPLE * 8, 2);
    header += "data";
    camera::append(header, size, 4);
    writeAt(file_.get(), header, 0);
}

} // namespace camera
