#include "jpeg_reader.h"

#include <cstdio>
#include <stdexcept>
// The library's header needs what <cstdio> declares.
#include <jpeglib.h>

namespace
{

/** Errors leave the library as exceptions, which its unwind tables let pass. */
struct Decompressor : jpeg_decompress_struct {
    Decompressor() : jpeg_decompress_struct{}
    {
        err = jpeg_std_error(&errors);
        errors.error_exit = [](j_common_ptr common) {
            char text[JMSG_LENGTH_MAX];
            common->err->format_message(common, text);
            throw std::runtime_error(text);
        };
        errors.output_message = [](j_common_ptr) {};
        jpeg_create_decompress(this);
    }
    ~Decompressor() { jpeg_destroy_decompress(this); }

    jpeg_error_mgr errors;
};

} // namespace

camera::Image readJpeg(std::string_view bytes)
{
    Decompressor jpeg;
    jpeg_mem_src(&jpeg, reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size());
    jpeg_read_header(&jpeg, TRUE);
    jpeg.out_color_space = JCS_RGB;
    camera::Image image(static_cast<int>(jpeg.image_width), static_cast<int>(jpeg.image_height));
    jpeg_start_decompress(&jpeg);
    while (jpeg.output_scanline < jpeg.output_height) {
        JSAMPROW row = image.at(0, static_cast<int>(jpeg.output_scanline));
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_decompress(&jpeg);
    if (jpeg.src->bytes_in_buffer != 0 || jpeg.errors.num_warnings != 0)
        throw std::runtime_error("a damaged JPEG");
    return image;
}
