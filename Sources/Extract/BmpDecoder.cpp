// Decodes the host's BMP picture export (uncompressed 24/32-bit) into packed RGB.
#include "Extract/Raster.hpp"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t kFileHeaderSize = 14;
constexpr std::size_t kMinFileSize = 54;
constexpr std::uint32_t kMinInfoHeaderSize = 40;
constexpr std::uint32_t kCompressionNone = 0;
constexpr std::uint32_t kCompressionBitFields = 3;
constexpr std::size_t kMinBitFieldsFileSize = 66;
constexpr std::uint32_t kRedMask = 0x00FF0000;
constexpr std::uint32_t kGreenMask = 0x0000FF00;
constexpr std::uint32_t kBlueMask = 0x000000FF;
constexpr std::int64_t kMaxDimension = 100000;

std::uint16_t ReadU16(const Bytes& bytes, std::size_t at) {
    return static_cast<std::uint16_t>(bytes[at] | (bytes[at + 1] << 8));
}

std::uint32_t ReadU32(const Bytes& bytes, std::size_t at) {
    return static_cast<std::uint32_t>(bytes[at]) |
           (static_cast<std::uint32_t>(bytes[at + 1]) << 8) |
           (static_cast<std::uint32_t>(bytes[at + 2]) << 16) |
           (static_cast<std::uint32_t>(bytes[at + 3]) << 24);
}

std::int32_t ReadI32(const Bytes& bytes, std::size_t at) {
    return static_cast<std::int32_t>(ReadU32(bytes, at));
}

struct PixelLayout {
    std::size_t dataOffset = 0;
    std::size_t bytesPerPixel = 0;
    std::size_t rowStride = 0;
    std::int64_t width = 0;
    std::int64_t rows = 0;
    bool bottomUp = true;
};

bool HasAcceptedPixelFormat(const Bytes& bmp, std::uint16_t bitsPerPixel,
                            std::uint32_t compression) {
    if (compression == kCompressionNone) {
        return bitsPerPixel == 24 || bitsPerPixel == 32;
    }
    if (compression != kCompressionBitFields || bitsPerPixel != 32 ||
        bmp.size() < kMinBitFieldsFileSize) {
        return false;
    }
    return ReadU32(bmp, 54) == kRedMask && ReadU32(bmp, 58) == kGreenMask &&
           ReadU32(bmp, 62) == kBlueMask;
}

bool ReadPixelLayout(const Bytes& bmp, PixelLayout& layout) {
    if (bmp.size() < kMinFileSize || bmp[0] != 'B' || bmp[1] != 'M') {
        return false;
    }
    const std::uint64_t dataOffset = ReadU32(bmp, 10);
    const std::uint64_t infoHeaderSize = ReadU32(bmp, 14);
    if (infoHeaderSize < kMinInfoHeaderSize || dataOffset < infoHeaderSize + kFileHeaderSize) {
        return false;
    }
    const std::uint16_t bitsPerPixel = ReadU16(bmp, 28);
    if (!HasAcceptedPixelFormat(bmp, bitsPerPixel, ReadU32(bmp, 30))) {
        return false;
    }
    const std::int64_t width = ReadI32(bmp, 18);
    const std::int64_t height = ReadI32(bmp, 22);
    const std::int64_t rows = height < 0 ? -height : height;
    if (height == 0 || width < 1 || rows > kMaxDimension || width > kMaxDimension) {
        return false;
    }
    const auto rowStride = static_cast<std::uint64_t>((width * bitsPerPixel / 8 + 3) & ~3);
    if (dataOffset + rowStride * static_cast<std::uint64_t>(rows) > bmp.size()) {
        return false;
    }
    layout.dataOffset = static_cast<std::size_t>(dataOffset);
    layout.bytesPerPixel = bitsPerPixel / 8u;
    layout.rowStride = static_cast<std::size_t>(rowStride);
    layout.width = width;
    layout.rows = rows;
    layout.bottomUp = height > 0;
    return true;
}

// Stored pixels are blue, green, red (plus an ignored fourth byte at 32 bits).
template <std::size_t kBytesPerPixel>
void CopyPixelsAsRgb(const unsigned char* __restrict source, unsigned char* __restrict out,
                     std::size_t pixels) {
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        out[0] = source[2];
        out[1] = source[1];
        out[2] = source[0];
        out += 3;
        source += kBytesPerPixel;
    }
}

// 24-bit pixels, 16 at a time: each output byte is the stored byte two ahead (red), in place
// (green) or two behind (blue), picked by constant masks, so the loop is three shifted loads
// and no shuffle. It reads two bytes either side of the block.
constexpr std::size_t kBlockPixels = 16;
constexpr std::size_t kBlockBytes = kBlockPixels * 3;
constexpr std::size_t kReach = 2;

using BlockMask = std::array<unsigned char, kBlockBytes>;

constexpr BlockMask PhaseMask(std::size_t phase) {
    BlockMask mask{};
    for (std::size_t at = 0; at < kBlockBytes; ++at) {
        mask[at] = at % 3 == phase ? 0xFF : 0;
    }
    return mask;
}

constexpr BlockMask kFromAhead = PhaseMask(0);
constexpr BlockMask kInPlace = PhaseMask(1);
constexpr BlockMask kFromBehind = PhaseMask(2);

void SwapBlockToRgb(const unsigned char* __restrict source, unsigned char* __restrict out) {
    const unsigned char* ahead = source + kReach;
    const unsigned char* behind = source - kReach;
    for (std::size_t at = 0; at < kBlockBytes; ++at) {
        out[at] =
            static_cast<unsigned char>((ahead[at] & kFromAhead[at]) | (source[at] & kInPlace[at]) |
                                       (behind[at] & kFromBehind[at]));
    }
}

// Whole blocks of a 24-bit row, as many as leave the two bytes after them inside the file (the
// header always lies before them); the rest pixel by pixel.
void CopyRow24AsRgb(const unsigned char* source, const unsigned char* fileEnd, unsigned char* out,
                    std::size_t width) {
    const std::size_t readable = static_cast<std::size_t>(fileEnd - source);
    std::size_t blocks = width / kBlockPixels;
    while (blocks > 0 && blocks * kBlockBytes + kReach > readable) {
        --blocks;
    }
    for (std::size_t block = 0; block < blocks; ++block) {
        SwapBlockToRgb(source + block * kBlockBytes, out + block * kBlockBytes);
    }
    const std::size_t done = blocks * kBlockBytes;
    CopyPixelsAsRgb<3>(source + done, out + done, width - blocks * kBlockPixels);
}

void CopyRowsAsRgb(const Bytes& bmp, const PixelLayout& layout, unsigned char* out) {
    const auto width = static_cast<std::size_t>(layout.width);
    for (std::int64_t row = 0; row < layout.rows; ++row) {
        const std::int64_t storedRow = layout.bottomUp ? layout.rows - 1 - row : row;
        const unsigned char* source =
            bmp.data() + layout.dataOffset + static_cast<std::size_t>(storedRow) * layout.rowStride;
        if (layout.bytesPerPixel == 3) {
            CopyRow24AsRgb(source, bmp.data() + bmp.size(), out, width);
        } else {
            CopyPixelsAsRgb<4>(source, out, width);
        }
        out += width * 3;
    }
}

} // namespace

bool DecodeBmpToRgb(const std::vector<unsigned char>& bmp, int& width, int& height,
                    std::vector<unsigned char>& rgb) {
    width = 0;
    height = 0;
    PixelLayout layout;
    if (!ReadPixelLayout(bmp, layout)) {
        rgb.clear();
        return false;
    }
    // Every byte is written below, so a buffer of the right size is reused as it is.
    rgb.resize(static_cast<std::size_t>(layout.width * layout.rows * 3));
    CopyRowsAsRgb(bmp, layout, rgb.data());
    width = static_cast<int>(layout.width);
    height = static_cast<int>(layout.rows);
    return true;
}

} // namespace Velmora
