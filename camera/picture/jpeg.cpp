#include "camera/picture/jpeg.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
// The library's header needs what <cstdio> declares.
#include <jpeglib.h>

namespace camera
{

namespace
{

/**
 * One compression. The library reports an error by a call that must not return: it jumps back to encode(). No
 * object with a destructor may therefore live in there, and everything that is to be released is a member.
 */
class Compressor
{
  public:
    Compressor()
    {
        compress_.err = jpeg_std_error(&errors_.manager);
        errors_.manager.error_exit = [](j_common_ptr common) {
            auto *const errors = reinterpret_cast<Errors *>(common->err);
            common->err->format_message(common, errors->text);
            longjmp(errors->back, 1);
        };
        errors_.manager.output_message = [](j_common_ptr) {};
    }
    ~Compressor()
    {
        jpeg_destroy_compress(&compress_);
        free(bytes_);
    }
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    [[nodiscard]] bool encode(const Image &image, int quality)
    {
        if (setjmp(errors_.back) != 0)
            return false;
        jpeg_create_compress(&compress_);
        jpeg_mem_dest(&compress_, &bytes_, &size_);
        compress_.image_width = static_cast<JDIMENSION>(image.width);
        compress_.image_height = static_cast<JDIMENSION>(image.height);
        compress_.input_components = Image::BYTES;
        compress_.in_color_space = JCS_RGB;
        jpeg_set_defaults(&compress_);
        jpeg_set_quality(&compress_, quality, TRUE);
        jpeg_start_compress(&compress_, TRUE);
        while (compress_.next_scanline < compress_.image_height) {
            // The library takes rows to write to for other uses; here it only reads.
            JSAMPROW row = const_cast<Image &>(image).at(0, static_cast<int>(compress_.next_scanline));
            jpeg_write_scanlines(&compress_, &row, 1);
        }
        jpeg_finish_compress(&compress_);
        return true;
    }

    [[nodiscard]] std::string bytes() const { return {reinterpret_cast<const char *>(bytes_), size_}; }
    [[nodiscard]] const char *error() const { return errors_.text; }

  private:
    struct Errors {
        jpeg_error_mgr manager; ///< the first member: the library hands its address back
        jmp_buf back;
        char text[JMSG_LENGTH_MAX];
    };

    jpeg_compress_struct compress_ = {};
    Errors errors_ = {};
    unsigned char *bytes_ = nullptr;
    unsigned long size_ = 0;
};

unsigned bigEndian(std::string_view text, size_t at)
{
    return static_cast<unsigned char>(text[at]) * 256U + static_cast<unsigned char>(text[at + 1]);
}

} // namespace

std::string encodeJpeg(const Image &image, int quality)
{
    Compressor compressor;
    if (!compressor.encode(image, quality))
        throw JpegError(std::string("cannot encode a picture: ") + compressor.error());
    return compressor.bytes();
}

std::optional<PictureSize> jpegSize(std::string_view jpeg)
{
    // ITU-T T.81, annex B: segments of a marker and their length, the length's two bytes included.
    if (!jpeg.starts_with("\xff\xd8"))
        return std::nullopt;
    for (size_t at = 2; at + 9 <= jpeg.size() && jpeg[at] == '\xff'; at += 2 + bigEndian(jpeg, at + 2)) {
        const auto marker = static_cast<unsigned char>(jpeg[at + 1]);
        const bool isFrame = marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (isFrame)
            return PictureSize{static_cast<int>(bigEndian(jpeg, at + 7)),
                               static_cast<int>(bigEndian(jpeg, at + 5))};
    }
    return std::nullopt;
}

} // namespace camera
