#include "support/ImageFiles.hpp"

#include <png.h>
#include <turbojpeg.h>

#include <fstream>
#include <iterator>

namespace Velmora::Testing {

namespace {

std::vector<unsigned char> ReadBytes(std::filesystem::path const& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace

bool DecodeJpeg(std::vector<unsigned char> const& bytes, DecodedImage& out) {
    out = {};
    tjhandle handle = tjInitDecompress();
    int subsampling = 0, colorspace = 0;
    bool ok = tjDecompressHeader3(handle, bytes.data(), bytes.size(), &out.width, &out.height,
                                  &subsampling, &colorspace) == 0;
    if (ok) {
        out.rgb.resize(static_cast<std::size_t>(out.width) * out.height * 3);
        ok = tjDecompress2(handle, bytes.data(), bytes.size(), out.rgb.data(), out.width, 0,
                           out.height, TJPF_RGB, 0) == 0;
    }
    tjDestroy(handle);
    return ok;
}

bool DecodePng(std::vector<unsigned char> const& bytes, DecodedImage& out) {
    out = {};
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()) == 0)
        return false;
    png.format = PNG_FORMAT_RGB;
    out.rgb.resize(PNG_IMAGE_SIZE(png));
    if (png_image_finish_read(&png, nullptr, out.rgb.data(), 0, nullptr) == 0)
        return false;
    out.width = static_cast<int>(png.width);
    out.height = static_cast<int>(png.height);
    return true;
}

bool DecodeJpegFile(std::filesystem::path const& path, DecodedImage& out) {
    return DecodeJpeg(ReadBytes(path), out);
}

bool DecodePngFile(std::filesystem::path const& path, DecodedImage& out) {
    return DecodePng(ReadBytes(path), out);
}

std::vector<unsigned char> EncodeJpeg(DecodedImage const& image, int quality, int subsampling) {
    tjhandle encoder = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    std::vector<unsigned char> result;
    if (tjCompress2(encoder, image.rgb.data(), image.width, 0, image.height, TJPF_RGB, &jpeg, &size,
                    subsampling, quality, 0) == 0)
        result.assign(jpeg, jpeg + size);
    tjFree(jpeg);
    tjDestroy(encoder);
    return result;
}

} // namespace Velmora::Testing
