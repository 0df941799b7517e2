#pragma once

#include "camera/base/file_descriptor.h"
#include "camera/picture/jpeg.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace camera
{

/**
 * Writes a Motion-JPEG AVI file: RIFF, with one video stream and the classic index. The file is called
 * "<path>.part" until finish() has made it complete. Everything throws std::system_error on a failed write.
 *
 * Layout after Microsoft's "AVI RIFF File Reference".
 */
class AviWriter
{
  public:
    /** Creates the file, which must not exist. */
    AviWriter(std::string path, PictureSize size);
    /** Removes the file that was not finished. */
    ~AviWriter();
    AviWriter(const AviWriter &) = delete;
    AviWriter &operator=(const AviWriter &) = delete;

    /** Adds one picture; it must be of the file's size. */
    void add(std::string_view jpeg);
    /** Writes index and header; the pictures are spread evenly over `duration`. */
    void finish(std::chrono::milliseconds duration);

  private:
    [[nodiscard]] std::string header(std::chrono::milliseconds duration, std::uint32_t fileSize) const;
    void write(std::string_view bytes, std::uint32_t offset);

    struct IndexEntry {
        std::uint32_t offset; ///< from the letters "movi"
        std::uint32_t size;
    };

    std::string path_;
    PictureSize size_;
    FileDescriptor file_;
    std::uint32_t end_; ///< of what is written
    std::uint32_t largest_ = 0;
    std::vector<IndexEntry> index_;
};

} // namespace camera
