// Grid stitching and cropping with CoreGraphics and ImageIO. Only plain C APIs are used, so
// the file behaves the same with and without automatic reference counting: every
// framework object is owned by a CFHandle and released with CFRelease.
#include "Platform/ImageService.hpp"
#include "Platform/ImageServiceGuards.hpp"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <ImageIO/ImageIO.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

// Move-only owner of one CoreFoundation or CoreGraphics reference.
template <typename Ref>
class CFHandle {
public:
    CFHandle() = default;
    explicit CFHandle(Ref ref) : ref_(ref) {}
    ~CFHandle() { Reset(); }
    CFHandle(CFHandle&& other) noexcept : ref_(other.ref_) { other.ref_ = nullptr; }
    CFHandle& operator=(CFHandle&& other) noexcept {
        if (this != &other) {
            Reset();
            ref_ = other.ref_;
            other.ref_ = nullptr;
        }
        return *this;
    }
    CFHandle(const CFHandle&) = delete;
    CFHandle& operator=(const CFHandle&) = delete;

    Ref Get() const { return ref_; }
    explicit operator bool() const { return ref_ != nullptr; }

private:
    void Reset() {
        if (ref_ != nullptr) {
            CFRelease(ref_);
            ref_ = nullptr;
        }
    }

    Ref ref_ = nullptr;
};

constexpr CGFloat kJpegQuality = 0.85;
// kCGBitmapByteOrder32Big | kCGImageAlphaPremultipliedLast: RGBA, 8 bits a component.
constexpr std::uint32_t kRgbaPremultipliedBitmapInfo = 16385;
constexpr std::size_t kBitsPerComponent = 8;

CFHandle<CGImageRef> DecodeImage(const Bytes& bytes) {
    if (bytes.empty()) {
        return CFHandle<CGImageRef>();
    }
    CFHandle<CFDataRef> data(
        CFDataCreate(kCFAllocatorDefault, bytes.data(), static_cast<CFIndex>(bytes.size())));
    if (!data) {
        return CFHandle<CGImageRef>();
    }
    CFHandle<CGImageSourceRef> source(CGImageSourceCreateWithData(data.Get(), nullptr));
    if (!source) {
        return CFHandle<CGImageRef>();
    }
    return CFHandle<CGImageRef>(CGImageSourceCreateImageAtIndex(source.Get(), 0, nullptr));
}

CFHandle<CFDictionaryRef> JpegQualityOptions() {
    CGFloat quality = kJpegQuality;
    CFHandle<CFNumberRef> number(
        CFNumberCreate(kCFAllocatorDefault, kCFNumberCGFloatType, &quality));
    if (!number) {
        return CFHandle<CFDictionaryRef>();
    }
    const void* keys[] = {kCGImageDestinationLossyCompressionQuality};
    const void* values[] = {number.Get()};
    return CFHandle<CFDictionaryRef>(CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1,
                                                        &kCFTypeDictionaryKeyCallBacks,
                                                        &kCFTypeDictionaryValueCallBacks));
}

bool EncodeJpeg(CGImageRef image, Bytes& out) {
    CFHandle<CFMutableDataRef> data(CFDataCreateMutable(kCFAllocatorDefault, 0));
    CFHandle<CFStringRef> jpegType(
        CFStringCreateWithCString(kCFAllocatorDefault, "public.jpeg", kCFStringEncodingUTF8));
    CFHandle<CFDictionaryRef> options = JpegQualityOptions();
    if (!data || !jpegType || !options) {
        return false;
    }
    CFHandle<CGImageDestinationRef> destination(
        CGImageDestinationCreateWithData(data.Get(), jpegType.Get(), 1, nullptr));
    if (!destination) {
        return false;
    }
    CGImageDestinationAddImage(destination.Get(), image, options.Get());
    if (!CGImageDestinationFinalize(destination.Get())) {
        return false;
    }
    const CFIndex length = CFDataGetLength(data.Get());
    const UInt8* bytes = CFDataGetBytePtr(data.Get());
    if (length <= 0 || bytes == nullptr) {
        return false;
    }
    out.assign(bytes, bytes + length);
    return true;
}

CFHandle<CGContextRef> CreateCanvas(std::size_t width, std::size_t height) {
    CFHandle<CGColorSpaceRef> colourSpace(CGColorSpaceCreateDeviceRGB());
    if (!colourSpace) {
        return CFHandle<CGContextRef>();
    }
    return CFHandle<CGContextRef>(
        CGBitmapContextCreate(nullptr, width, height, kBitsPerComponent, 0, colourSpace.Get(),
                              static_cast<CGBitmapInfo>(kRgbaPremultipliedBitmapInfo)));
}

CGRect PixelRect(std::size_t x, std::size_t y, std::size_t width, std::size_t height) {
    return CGRectMake(static_cast<CGFloat>(x), static_cast<CGFloat>(y), static_cast<CGFloat>(width),
                      static_cast<CGFloat>(height));
}

bool StitchTiles(const std::vector<Bytes>& tiles, std::size_t cols, std::size_t rows, Bytes& out,
                 int& outW, int& outH) {
    std::vector<CFHandle<CGImageRef>> images;
    images.reserve(tiles.size());
    std::size_t tileWidth = 0;
    std::size_t tileHeight = 0;
    for (const Bytes& tile : tiles) {
        CFHandle<CGImageRef> image = DecodeImage(tile);
        if (!image) {
            return false;
        }
        const std::size_t width = CGImageGetWidth(image.Get());
        const std::size_t height = CGImageGetHeight(image.Get());
        if (images.empty()) {
            tileWidth = width;
            tileHeight = height;
        }
        if (width < 1 || height < 1 || width != tileWidth || height != tileHeight) {
            return false;
        }
        images.push_back(std::move(image));
    }
    const std::size_t canvasWidth = cols * tileWidth;
    const std::size_t canvasHeight = rows * tileHeight;
    if (canvasWidth / cols != tileWidth || canvasHeight / rows != tileHeight ||
        canvasWidth > INT32_MAX || canvasHeight > INT32_MAX) {
        return false;
    }
    CFHandle<CGContextRef> canvas = CreateCanvas(canvasWidth, canvasHeight);
    if (!canvas) {
        return false;
    }
    // The drawing origin is the bottom left, so row 0 is drawn at the top.
    for (std::size_t row = 0; row < rows; ++row) {
        for (std::size_t column = 0; column < cols; ++column) {
            const CGRect target =
                PixelRect(column * tileWidth, (rows - 1 - row) * tileHeight, tileWidth, tileHeight);
            CGContextDrawImage(canvas.Get(), target, images[row * cols + column].Get());
        }
    }
    CFHandle<CGImageRef> stitched(CGBitmapContextCreateImage(canvas.Get()));
    if (!stitched || !EncodeJpeg(stitched.Get(), out)) {
        out.clear();
        return false;
    }
    outW = static_cast<int>(canvasWidth);
    outH = static_cast<int>(canvasHeight);
    return true;
}

bool CropDecoded(const Bytes& jpeg, int x, int y, int w, int h, Bytes& out) {
    CFHandle<CGImageRef> image = DecodeImage(jpeg);
    if (!image) {
        return false;
    }
    const auto imageWidth = static_cast<std::int64_t>(CGImageGetWidth(image.Get()));
    const auto imageHeight = static_cast<std::int64_t>(CGImageGetHeight(image.Get()));
    if (std::int64_t{x} + w > imageWidth || std::int64_t{y} + h > imageHeight) {
        return false;
    }
    const CGRect rect = PixelRect(static_cast<std::size_t>(x), static_cast<std::size_t>(y),
                                  static_cast<std::size_t>(w), static_cast<std::size_t>(h));
    CFHandle<CGImageRef> cropped(CGImageCreateWithImageInRect(image.Get(), rect));
    if (!cropped || !EncodeJpeg(cropped.Get(), out)) {
        out.clear();
        return false;
    }
    return true;
}

} // namespace

bool StitchImageGrid(std::vector<std::vector<unsigned char>> const& tiles, int cols, int rows,
                     std::vector<unsigned char>& outJpeg, int& outW, int& outH) {
    return ve_detail::GuardedStitch(tiles, cols, rows, outJpeg, outW, outH, [&] {
        return StitchTiles(tiles, static_cast<std::size_t>(cols), static_cast<std::size_t>(rows),
                           outJpeg, outW, outH);
    });
}

bool CropJpegCentered(std::vector<unsigned char> const& jpeg, int x, int y, int w, int h,
                      std::vector<unsigned char>& outJpeg) {
    return ve_detail::GuardedCrop(jpeg, x, y, w, h, outJpeg,
                                  [&] { return CropDecoded(jpeg, x, y, w, h, outJpeg); });
}

} // namespace Velmora
