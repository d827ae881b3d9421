#include "Sim/PictureFiles.hpp"

#include <png.h>
#include <turbojpeg.h>

#include <cstdint>
#include <fstream>

namespace Velmora::Sim {

namespace {

constexpr int kJpegQuality = 90;
constexpr std::uint32_t kBmpHeadersSize = 14 + 40;
constexpr std::int32_t kBmpPixelsPerMetre = 2835; // 72 dpi

bool WriteAll(std::string const& path, unsigned char const* data, std::size_t size) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(data), static_cast<std::streamsize>(size));
    out.close();
    return out.good();
}

bool IsUsable(RgbImage const& image) {
    return image.rgb != nullptr && image.width > 0 && image.height > 0 &&
           image.rgb->size() ==
               static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) * 3;
}

void PutLittleEndian(std::vector<unsigned char>& out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out.push_back(static_cast<unsigned char>(value >> (8 * i)));
}

} // namespace

bool WriteJpegFile(std::string const& path, RgbImage const& image) {
    if (!IsUsable(image))
        return false;
    tjhandle handle = tjInitCompress();
    if (handle == nullptr)
        return false;
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    int const status =
        tjCompress2(handle, image.rgb->data(), image.width, 0, image.height, TJPF_RGB, &jpeg, &size,
                    TJSAMP_420, kJpegQuality, TJFLAG_ACCURATEDCT);
    bool const written = status == 0 && WriteAll(path, jpeg, size);
    tjFree(jpeg);
    tjDestroy(handle);
    return written;
}

bool WritePngFile(std::string const& path, RgbImage const& image) {
    if (!IsUsable(image))
        return false;
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.width);
    png.height = static_cast<png_uint_32>(image.height);
    png.format = PNG_FORMAT_RGB;
    bool const written =
        png_image_write_to_file(&png, path.c_str(), 0, image.rgb->data(), 0, nullptr) != 0;
    png_image_free(&png);
    return written;
}

bool WriteBmpFile(std::string const& path, RgbImage const& image) {
    if (!IsUsable(image))
        return false;
    auto const width = static_cast<std::size_t>(image.width);
    std::size_t const stride = (width * 3 + 3) & ~static_cast<std::size_t>(3);
    auto const pixelBytes =
        static_cast<std::uint32_t>(stride * static_cast<std::size_t>(image.height));
    std::vector<unsigned char> bmp;
    bmp.reserve(kBmpHeadersSize + pixelBytes);
    bmp.push_back('B');
    bmp.push_back('M');
    PutLittleEndian(bmp, kBmpHeadersSize + pixelBytes, 4); // file size
    PutLittleEndian(bmp, 0, 4);                            // reserved
    PutLittleEndian(bmp, kBmpHeadersSize, 4);              // pixel data offset
    PutLittleEndian(bmp, 40, 4);                           // BITMAPINFOHEADER
    PutLittleEndian(bmp, static_cast<std::uint32_t>(image.width), 4);
    PutLittleEndian(bmp, static_cast<std::uint32_t>(image.height), 4); // positive: bottom-up
    PutLittleEndian(bmp, 1, 2);                                        // planes
    PutLittleEndian(bmp, 24, 2);                                       // bits per pixel
    PutLittleEndian(bmp, 0, 4);                                        // no compression
    PutLittleEndian(bmp, pixelBytes, 4);
    PutLittleEndian(bmp, kBmpPixelsPerMetre, 4);
    PutLittleEndian(bmp, kBmpPixelsPerMetre, 4);
    PutLittleEndian(bmp, 0, 4); // palette size
    PutLittleEndian(bmp, 0, 4); // important colours
    for (int row = image.height - 1; row >= 0; --row) {
        unsigned char const* source = image.rgb->data() + static_cast<std::size_t>(row) * width * 3;
        for (std::size_t x = 0; x < width; ++x, source += 3) {
            bmp.push_back(source[2]);
            bmp.push_back(source[1]);
            bmp.push_back(source[0]);
        }
        bmp.resize(bmp.size() + stride - width * 3, 0);
    }
    return WriteAll(path, bmp.data(), bmp.size());
}

} // namespace Velmora::Sim
