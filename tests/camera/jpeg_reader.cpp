#include "jpeg_reader.h"

#include <csetjmp>
#include <cstdio>
#include <stdexcept>
#include <string>
// The library's header needs what <cstdio> declares.
#include <jpeglib.h>

namespace
{

struct Errors {
    jpeg_error_mgr manager; ///< the first member: the library hands its address back
    jmp_buf back;
    char text[JMSG_LENGTH_MAX];
};

class Decompressor
{
  public:
    Decompressor()
    {
        decompress_.err = jpeg_std_error(&errors_.manager);
        errors_.manager.error_exit = [](j_common_ptr common) {
            auto *const errors = reinterpret_cast<Errors *>(common->err);
            common->err->format_message(common, errors->text);
            longjmp(errors->back, 1);
        };
        errors_.manager.output_message = [](j_common_ptr) {};
    }
    ~Decompressor() { jpeg_destroy_decompress(&decompress_); }
    Decompressor(const Decompressor &) = delete;
    Decompressor &operator=(const Decompressor &) = delete;

    bool readHeader(std::string_view bytes)
    {
        if (setjmp(errors_.back) != 0)
            return false;
        jpeg_create_decompress(&decompress_);
        jpeg_mem_src(&decompress_, reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
        jpeg_read_header(&decompress_, TRUE);
        decompress_.out_color_space = JCS_RGB;
        return true;
    }

    bool readRows(camera::Image &image)
    {
        if (setjmp(errors_.back) != 0)
            return false;
        jpeg_start_decompress(&decompress_);
        while (decompress_.output_scanline < decompress_.output_height) {
            JSAMPROW row = image.at(0, static_cast<int>(decompress_.output_scanline));
            jpeg_read_scanlines(&decompress_, &row, 1);
        }
        jpeg_finish_decompress(&decompress_);
        return decompress_.src->bytes_in_buffer == 0 && errors_.manager.num_warnings == 0;
    }

    [[nodiscard]] camera::Image image() const
    {
        return {static_cast<int>(decompress_.image_width), static_cast<int>(decompress_.image_height)};
    }
    [[nodiscard]] std::string error() const { return errors_.text; }

  private:
    jpeg_decompress_struct decompress_ = {};
    Errors errors_ = {};
};

} // namespace

camera::Image readJpeg(std::string_view bytes)
{
    Decompressor decompressor;
    if (!decompressor.readHeader(bytes))
        throw std::runtime_error("no JPEG: " + decompressor.error());
    camera::Image image = decompressor.image();
    if (!decompressor.readRows(image))
        throw std::runtime_error("a damaged JPEG: " + decompressor.error());
    return image;
}
