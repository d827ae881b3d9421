// Grid stitching and cropping with libpng (tile decoding) and TurboJPEG (decoding and
// encoding JPEG). Tiles are composited on an 8-bit RGBA canvas with premultiplied alpha,
// as a bitmap context would hold them, and the result is encoded at quality 85.
#include "Platform/ImageService.hpp"
#include "Platform/ImageServiceGuards.hpp"

#include <png.h>
#include <turbojpeg.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kJpegQuality = 85;
constexpr std::size_t kRgbaChannels = 4;
// The frame header could hold 65535, but libjpeg-turbo refuses any side above 65500: a larger
// canvas is refused here, before its tiles are drawn, rather than by the encoder afterwards.
constexpr std::int64_t kMaxJpegSide = 65500;
constexpr std::size_t kPngSignatureSize = 8;

struct RgbaImage {
    int width = 0;
    int height = 0;
    Bytes pixels;

    std::size_t Stride() const { return static_cast<std::size_t>(width) * kRgbaChannels; }
};

class TurboJpegHandle {
public:
    explicit TurboJpegHandle(tjhandle handle) : handle_(handle) {}
    ~TurboJpegHandle() {
        if (handle_ != nullptr) {
            tjDestroy(handle_);
        }
    }
    TurboJpegHandle(const TurboJpegHandle&) = delete;
    TurboJpegHandle& operator=(const TurboJpegHandle&) = delete;

    tjhandle Get() const { return handle_; }

private:
    tjhandle handle_;
};

class TurboJpegBuffer {
public:
    TurboJpegBuffer() = default;
    ~TurboJpegBuffer() { tjFree(data_); }
    TurboJpegBuffer(const TurboJpegBuffer&) = delete;
    TurboJpegBuffer& operator=(const TurboJpegBuffer&) = delete;

    unsigned char** Data() { return &data_; }
    unsigned long* Size() { return &size_; }
    Bytes Copy() const { return Bytes(data_, data_ + size_); }

private:
    unsigned char* data_ = nullptr;
    unsigned long size_ = 0;
};

bool FitsJpegFrame(std::int64_t width, std::int64_t height) {
    return width >= 1 && height >= 1 && width <= kMaxJpegSide && height <= kMaxJpegSide;
}

bool IsPng(const Bytes& bytes) {
    return bytes.size() >= kPngSignatureSize &&
           png_sig_cmp(bytes.data(), 0, kPngSignatureSize) == 0;
}

bool DecodePng(const Bytes& bytes, RgbaImage& image) {
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()) == 0) {
        return false;
    }
    if (!FitsJpegFrame(png.width, png.height)) {
        png_image_free(&png);
        return false;
    }
    png.format = PNG_FORMAT_RGBA;
    image.width = static_cast<int>(png.width);
    image.height = static_cast<int>(png.height);
    image.pixels.resize(image.Stride() * png.height);
    // Frees the decoder on success and failure alike.
    return png_image_finish_read(&png, nullptr, image.pixels.data(), 0, nullptr) != 0;
}

bool DecodeJpeg(const Bytes& bytes, RgbaImage& image) {
    TurboJpegHandle decoder(tjInitDecompress());
    if (decoder.Get() == nullptr) {
        return false;
    }
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourspace = 0;
    const auto size = static_cast<unsigned long>(bytes.size());
    if (tjDecompressHeader3(decoder.Get(), bytes.data(), size, &width, &height, &subsampling,
                            &colourspace) != 0 ||
        !FitsJpegFrame(width, height)) {
        return false;
    }
    image.width = width;
    image.height = height;
    image.pixels.resize(image.Stride() * static_cast<std::size_t>(height));
    // Warnings (a truncated stream, for instance) count as failures too.
    return tjDecompress2(decoder.Get(), bytes.data(), size, image.pixels.data(), width, 0, height,
                         TJPF_RGBA, 0) == 0;
}

bool DecodeImage(const Bytes& bytes, RgbaImage& image) {
    if (bytes.empty()) {
        return false;
    }
    return IsPng(bytes) ? DecodePng(bytes, image) : DecodeJpeg(bytes, image);
}

// Encodes a width x height window of an RGBA buffer; `pixels` points at its top-left pixel.
bool EncodeJpeg(const unsigned char* pixels, int width, int height, std::size_t stride,
                Bytes& out) {
    TurboJpegHandle encoder(tjInitCompress());
    if (encoder.Get() == nullptr) {
        return false;
    }
    TurboJpegBuffer jpeg;
    if (tjCompress2(encoder.Get(), pixels, width, static_cast<int>(stride), height, TJPF_RGBA,
                    jpeg.Data(), jpeg.Size(), TJSAMP_420, kJpegQuality, 0) != 0 ||
        *jpeg.Size() == 0) {
        return false;
    }
    out = jpeg.Copy();
    return true;
}

unsigned char Premultiply(unsigned char channel, unsigned char alpha) {
    return static_cast<unsigned char>((channel * alpha + 127) / 255);
}

void DrawTile(const RgbaImage& tile, std::size_t column, std::size_t row, RgbaImage& canvas) {
    const std::size_t tileStride = tile.Stride();
    unsigned char* target = canvas.pixels.data() +
                            row * static_cast<std::size_t>(tile.height) * canvas.Stride() +
                            column * tileStride;
    const unsigned char* source = tile.pixels.data();
    for (int y = 0; y < tile.height; ++y) {
        for (std::size_t x = 0; x < tileStride; x += kRgbaChannels) {
            const unsigned char alpha = source[x + 3];
            target[x] = Premultiply(source[x], alpha);
            target[x + 1] = Premultiply(source[x + 1], alpha);
            target[x + 2] = Premultiply(source[x + 2], alpha);
            target[x + 3] = alpha;
        }
        source += tileStride;
        target += canvas.Stride();
    }
}

bool StitchDecodedTiles(const std::vector<Bytes>& tiles, int cols, int rows, Bytes& outJpeg,
                        int& outW, int& outH) {
    RgbaImage canvas;
    RgbaImage tile;
    int tileWidth = 0;
    int tileHeight = 0;
    for (std::size_t index = 0; index < tiles.size(); ++index) {
        if (!DecodeImage(tiles[index], tile)) {
            return false;
        }
        if (index == 0) {
            tileWidth = tile.width;
            tileHeight = tile.height;
            const std::int64_t width = std::int64_t{cols} * tile.width;
            const std::int64_t height = std::int64_t{rows} * tile.height;
            if (!FitsJpegFrame(width, height)) {
                return false;
            }
            canvas.width = static_cast<int>(width);
            canvas.height = static_cast<int>(height);
            canvas.pixels.assign(canvas.Stride() * static_cast<std::size_t>(height), 0);
        } else if (tile.width != tileWidth || tile.height != tileHeight) {
            return false;
        }
        const auto columns = static_cast<std::size_t>(cols);
        DrawTile(tile, index % columns, index / columns, canvas);
    }
    if (!EncodeJpeg(canvas.pixels.data(), canvas.width, canvas.height, canvas.Stride(), outJpeg)) {
        outJpeg.clear();
        return false;
    }
    outW = canvas.width;
    outH = canvas.height;
    return true;
}

bool CropDecoded(const Bytes& jpeg, int x, int y, int w, int h, Bytes& outJpeg) {
    RgbaImage image;
    if (!DecodeImage(jpeg, image)) {
        return false;
    }
    if (std::int64_t{x} + w > image.width || std::int64_t{y} + h > image.height) {
        return false;
    }
    const unsigned char* topLeft = image.pixels.data() +
                                   static_cast<std::size_t>(y) * image.Stride() +
                                   static_cast<std::size_t>(x) * kRgbaChannels;
    if (!EncodeJpeg(topLeft, w, h, image.Stride(), outJpeg)) {
        outJpeg.clear();
        return false;
    }
    return true;
}

} // namespace

bool StitchImageGrid(std::vector<std::vector<unsigned char>> const& tiles, int cols, int rows,
                     std::vector<unsigned char>& outJpeg, int& outW, int& outH) {
    return ve_detail::GuardedStitch(tiles, cols, rows, outJpeg, outW, outH, [&] {
        return StitchDecodedTiles(tiles, cols, rows, outJpeg, outW, outH);
    });
}

bool CropJpegCentered(std::vector<unsigned char> const& jpeg, int x, int y, int w, int h,
                      std::vector<unsigned char>& outJpeg) {
    return ve_detail::GuardedCrop(jpeg, x, y, w, h, outJpeg,
                                  [&] { return CropDecoded(jpeg, x, y, w, h, outJpeg); });
}

} // namespace Velmora
