#include "ReferenceEncoders.hpp"

#include <png.h>

#include <cstddef>

namespace Velmora::Bench {
namespace {

void AppendToVector(png_structp writer, png_bytep data, png_size_t length) {
    auto* out = static_cast<std::vector<unsigned char>*>(png_get_io_ptr(writer));
    out->insert(out->end(), data, data + length);
}

void FlushNothing(png_structp) {}

// Kept apart from the setjmp frame so that no local is live across the longjmp.
void WriteRows(png_structp writer, png_infop info, const unsigned char* pixels, int width,
               int height, int channels, int level) {
    png_set_compression_level(writer, level);
    png_set_IHDR(writer, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 channels == 4 ? PNG_COLOR_TYPE_RGBA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(writer, info);
    const std::size_t rowBytes =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
    for (int y = 0; y < height; ++y) {
        png_write_row(writer, pixels + static_cast<std::size_t>(y) * rowBytes);
    }
    png_write_end(writer, nullptr);
}

} // namespace

bool EncodeWithLibpng(const unsigned char* pixels, int width, int height, int channels, int level,
                      std::vector<unsigned char>& png) {
    png.clear();
    png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    if (writer == nullptr) {
        return false;
    }
    png_infop info = png_create_info_struct(writer);
    if (info == nullptr || setjmp(png_jmpbuf(writer))) {
        png_destroy_write_struct(&writer, &info);
        return false;
    }
    png_set_write_fn(writer, &png, AppendToVector, FlushNothing);
    WriteRows(writer, info, pixels, width, height, channels, level);
    png_destroy_write_struct(&writer, &info);
    return true;
}

} // namespace Velmora::Bench
