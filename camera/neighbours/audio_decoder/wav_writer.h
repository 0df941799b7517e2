#pragma once

#include "camera/base/file_descriptor.h"

#include <cstdint>
#include <sndfile.hh>
#include <span>
#include <string>

namespace camera
{

/**
 * A WAV file of 16-bit mono audio that grows. Its header tells the right length after every append, so the file can
 * be played at any time, whatever happens to its writer.
 */
class WavWriter
{
  public:
    /** Creates the file, or empties it. Throws std::system_error. */
    WavWriter(const std::string &path, unsigned samplesPerSecond);

    /**
     * Throws std::system_error. Nothing more may be appended then; the destructor has the header tell what is
     * there.
     */
    void append(std::span<const std::int16_t> samples);

    [[nodiscard]] std::uint32_t samples() const { return samples_; }
    [[nodiscard]] double seconds() const { return static_cast<double>(samples_) / samplesPerSecond_; }

  private:
    FileDescriptor descriptor_; ///< close-on-exec, which one that libsndfile opens is not
    SndfileHandle file_;
    unsigned samplesPerSecond_;
    std::uint32_t samples_ = 0;
};

} // namespace camera
