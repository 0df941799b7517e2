#include "camera/neighbours/event_engine/avi_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <system_error>

namespace camera
{

namespace
{

constexpr std::string_view PICTURE_CHUNK = "00dc"; ///< stream 0, compressed video
constexpr std::uint32_t HAS_INDEX = 0x10;
constexpr std::uint32_t KEY_FRAME = 0x10;

constexpr std::uint32_t CHUNK_HEAD = 8; ///< four letters and the size of what follows
constexpr std::uint32_t MAIN_HEADER = 56;
constexpr std::uint32_t STREAM_HEADER = 56;
constexpr std::uint32_t BITMAP_HEADER = 40;
constexpr std::uint32_t STREAM_LIST = 4 + CHUNK_HEAD + STREAM_HEADER + CHUNK_HEAD + BITMAP_HEADER;
constexpr std::uint32_t HEADER_LIST = 4 + CHUNK_HEAD + MAIN_HEADER + CHUNK_HEAD + STREAM_LIST;
/** Where the letters "movi" stand, and where the first picture's chunk follows. */
constexpr std::uint32_t MOVIE_LETTERS = 12 + CHUNK_HEAD + HEADER_LIST + CHUNK_HEAD;
constexpr std::uint32_t FIRST_PICTURE = MOVIE_LETTERS + 4;

/** Puts numbers together as RIFF has them: the lowest byte first. */
class Bytes
{
  public:
    Bytes &letters(std::string_view text)
    {
        text_ += text;
        return *this;
    }
    Bytes &number(std::uint32_t value, int bytes = 4)
    {
        for (; bytes > 0; --bytes, value >>= 8)
            text_ += static_cast<char>(value & 0xff);
        return *this;
    }
    Bytes &chunk(std::string_view name, std::uint32_t size) { return letters(name).number(size); }
    [[nodiscard]] std::string &&take() { return std::move(text_); }

  private:
    std::string text_;
};

std::string partOf(const std::string &path)
{
    return path + ".part";
}

} // namespace

AviWriter::AviWriter(std::string path, PictureSize size)
    : path_(std::move(path)), size_(size),
      file_(open(partOf(path_).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644)), end_(FIRST_PICTURE)
{
    if (!file_.valid())
        throw std::system_error(errno, std::generic_category(), partOf(path_));
}

AviWriter::~AviWriter()
{
    if (file_.valid())
        unlink(partOf(path_).c_str());
}

void AviWriter::write(std::string_view bytes, std::uint32_t offset)
{
    while (!bytes.empty()) {
        const ssize_t written = pwrite(file_.get(), bytes.data(), bytes.size(), offset);
        if (written < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), partOf(path_));
        const auto done = static_cast<std::uint32_t>(std::max<ssize_t>(written, 0));
        bytes.remove_prefix(done);
        offset += done;
    }
}

void AviWriter::add(std::string_view jpeg)
{
    const auto size = static_cast<std::uint32_t>(jpeg.size());
    std::string chunk = Bytes().chunk(PICTURE_CHUNK, size).letters(jpeg).take();
    chunk.resize(chunk.size() + chunk.size() % 2); // chunks begin at even places
    // The sizes in the file have 32 bits.
    if (chunk.size() + end_ + (index_.size() + 1) * 16 + CHUNK_HEAD > UINT32_MAX)
        throw std::system_error(EFBIG, std::generic_category(), partOf(path_));
    write(chunk, end_);
    index_.push_back({end_ - MOVIE_LETTERS, size});
    end_ += static_cast<std::uint32_t>(chunk.size());
    largest_ = std::max(largest_, size);
}

void AviWriter::finish(std::chrono::milliseconds duration)
{
    Bytes index;
    index.chunk("idx1", static_cast<std::uint32_t>(index_.size() * 16));
    for (const IndexEntry &entry : index_)
        index.letters(PICTURE_CHUNK).number(KEY_FRAME).number(entry.offset).number(entry.size);
    const std::string text = index.take();
    write(text, end_);
    write(header(duration, end_ + static_cast<std::uint32_t>(text.size())), 0);
    if (rename(partOf(path_).c_str(), path_.c_str()) != 0)
        throw std::system_error(errno, std::generic_category(), path_);
    file_.reset();
}

std::string AviWriter::header(std::chrono::milliseconds duration, std::uint32_t fileSize) const
{
    const auto width = static_cast<std::uint32_t>(size_.width);
    const auto height = static_cast<std::uint32_t>(size_.height);
    const auto pictures = static_cast<std::uint32_t>(index_.size());
    const auto time = static_cast<std::uint32_t>(std::clamp<std::int64_t>(duration.count(), 1, 86'400'000));
    const auto perPicture = static_cast<std::uint32_t>(time * 1000ULL / std::max(pictures, 1U));

    Bytes bytes;
    bytes.chunk("RIFF", fileSize - CHUNK_HEAD).letters("AVI ");
    bytes.chunk("LIST", HEADER_LIST).letters("hdrl");
    bytes.chunk("avih", MAIN_HEADER).number(perPicture).number(0).number(0).number(HAS_INDEX);
    bytes.number(pictures).number(0).number(1).number(largest_).number(width).number(height);
    bytes.number(0).number(0).number(0).number(0);
    bytes.chunk("LIST", STREAM_LIST).letters("strl");
    bytes.chunk("strh", STREAM_HEADER).letters("vids").letters("MJPG").number(0).number(0).number(0);
    bytes.number(time).number(pictures * 1000).number(0).number(pictures); // scale, rate: pictures per second
    bytes.number(largest_).number(UINT32_MAX).number(0);
    bytes.number(0, 2).number(0, 2).number(width, 2).number(height, 2);
    bytes.chunk("strf", BITMAP_HEADER).number(BITMAP_HEADER).number(width).number(height);
    bytes.number(1, 2).number(24, 2).letters("MJPG").number(width * height * 3);
    bytes.number(0).number(0).number(0).number(0);
    bytes.chunk("LIST", end_ - MOVIE_LETTERS).letters("movi");
    return bytes.take();
}

} // namespace camera
