#include "camera/neighbours/audio_decoder/wav_writer.h"

#include <cerrno>
#include <fcntl.h>
#include <system_error>

namespace camera
{

WavWriter::WavWriter(const std::string &path, unsigned samplesPerSecond)
    : descriptor_(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)),
      samplesPerSecond_(samplesPerSecond)
{
    if (!descriptor_.valid())
        throw std::system_error(errno, std::generic_category(), path);
    constexpr int FORMAT = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    constexpr int CHANNELS = 1;
    file_ =
        SndfileHandle(descriptor_.get(), false, SFM_WRITE, FORMAT, CHANNELS, static_cast<int>(samplesPerSecond));
    if (file_.error() != SF_ERR_NO_ERROR)
        throw std::system_error(errno, std::generic_category(), "writing a WAV file");
    file_.command(SFC_UPDATE_HEADER_NOW, nullptr, 0); // the first header counts itself wrong
    file_.command(SFC_SET_UPDATE_HEADER_AUTO, nullptr, SF_TRUE);
}

void WavWriter::append(std::span<const std::int16_t> samples)
{
    errno = 0;
    const auto count = static_cast<sf_count_t>(samples.size());
    if (file_.write(samples.data(), count) != count || file_.error() != SF_ERR_NO_ERROR)
        throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), "writing a WAV file");
    samples_ += static_cast<std::uint32_t>(samples.size());
}

} // namespace camera
