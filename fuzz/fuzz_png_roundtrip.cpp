// Encodes a picture shaped by the input, decodes it with libpng and aborts unless the pixels
// come back unchanged.
#include "Extract/PngEncoder.hpp"

#include <png.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr std::size_t kShapeBytes = 3;
constexpr int kMaxSide = 256;

struct Shape {
    int width;
    int height;
    int channels;
};

// Byte 0 and 1 give the width and height (1..256), byte 2 the channel count (3 or 4).
Shape ShapeFrom(const std::uint8_t* data) {
    return {1 + data[0] % kMaxSide, 1 + data[1] % kMaxSide, 3 + (data[2] & 1)};
}

// The rest of the input, repeated to fill the picture: repetition gives the matcher work.
std::vector<unsigned char> PixelsFrom(const std::uint8_t* data, std::size_t size,
                                      std::size_t count) {
    std::vector<unsigned char> pixels(count, 0);
    if (size > 0) {
        for (std::size_t i = 0; i < count; ++i) {
            pixels[i] = data[i % size];
        }
    }
    return pixels;
}

[[noreturn]] void Fail(const char* what) {
    std::fprintf(stderr, "fuzz_png_roundtrip: %s\n", what);
    std::abort();
}

std::vector<unsigned char> Decode(const std::vector<unsigned char>& png, const Shape& shape) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, png.data(), png.size()) == 0) {
        Fail(image.message);
    }
    if (image.width != static_cast<png_uint_32>(shape.width) ||
        image.height != static_cast<png_uint_32>(shape.height)) {
        Fail("decoded size differs");
    }
    image.format = shape.channels == 4 ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    std::vector<unsigned char> decoded(static_cast<std::size_t>(shape.width) * shape.height *
                                       static_cast<std::size_t>(shape.channels));
    if (png_image_finish_read(&image, nullptr, decoded.data(), 0, nullptr) == 0) {
        Fail(image.message);
    }
    return decoded;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kShapeBytes) {
        return 0;
    }
    const Shape shape = ShapeFrom(data);
    const std::size_t count = static_cast<std::size_t>(shape.width) * shape.height *
                              static_cast<std::size_t>(shape.channels);
    const std::vector<unsigned char> pixels =
        PixelsFrom(data + kShapeBytes, size - kShapeBytes, count);
    std::vector<unsigned char> png;
    if (!Velmora::EncodeImageToPng(pixels, shape.width, shape.height, shape.channels, png)) {
        Fail("encoder refused a valid picture");
    }
    if (Decode(png, shape) != pixels) {
        Fail("pixels changed in the round trip");
    }
    return 0;
}
