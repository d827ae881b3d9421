// Geometry on packed RGB rasters: the safe-frame crop and nearest-neighbour scaling.
#include "Extract/Raster.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Velmora {
namespace {

constexpr std::size_t kChannels = 3;

// Source byte offset of every destination column, computed once per call.
std::vector<std::size_t> NearestColumnOffsets(int srcWidth, int dstWidth) {
    std::vector<std::size_t> offsets(static_cast<std::size_t>(dstWidth));
    const auto lastColumn = static_cast<std::uint64_t>(srcWidth - 1);
    for (std::size_t x = 0; x < offsets.size(); ++x) {
        const std::uint64_t sx = ((2 * x + 1) * static_cast<std::uint64_t>(srcWidth)) /
                                 (2 * static_cast<std::uint64_t>(dstWidth));
        offsets[x] = static_cast<std::size_t>(std::min(sx, lastColumn)) * kChannels;
    }
    return offsets;
}

std::size_t NearestRow(std::uint64_t y, int srcHeight, int dstHeight) {
    const std::uint64_t sy = ((2 * y + 1) * static_cast<std::uint64_t>(srcHeight)) /
                             (2 * static_cast<std::uint64_t>(dstHeight));
    return static_cast<std::size_t>(std::min(sy, static_cast<std::uint64_t>(srcHeight - 1)));
}

} // namespace

SafeFrameRect ComputeSafeFrameCrop(int imageWidth, int imageHeight, int aspectWidth,
                                   int aspectHeight) {
    if (imageWidth < 1 || imageHeight < 1 || aspectWidth < 1 || aspectHeight < 1) {
        return SafeFrameRect{};
    }
    const auto width = static_cast<std::uint64_t>(imageWidth);
    const auto height = static_cast<std::uint64_t>(imageHeight);
    const auto aspectW = static_cast<std::uint64_t>(aspectWidth);
    const auto aspectH = static_cast<std::uint64_t>(aspectHeight);
    // Round half up: (2 * a * b + c) / (2 * c) == floor(a * b / c + 1/2).
    std::uint64_t cropWidth = (2 * height * aspectW + aspectH) / (2 * aspectH);
    std::uint64_t cropHeight = height;
    if (cropWidth > width) {
        cropWidth = width;
        cropHeight = std::min((2 * width * aspectH + aspectW) / (2 * aspectW), height);
    }
    cropWidth = std::max<std::uint64_t>(cropWidth, 1);
    cropHeight = std::max<std::uint64_t>(cropHeight, 1);
    SafeFrameRect rect;
    rect.x = static_cast<std::int32_t>((width - cropWidth) / 2);
    rect.y = static_cast<std::int32_t>((height - cropHeight) / 2);
    rect.width = static_cast<std::int32_t>(cropWidth);
    rect.height = static_cast<std::int32_t>(cropHeight);
    rect.needed = cropWidth != width || cropHeight != height;
    return rect;
}

bool CropRgbInPlace(std::vector<unsigned char>& rgb, int& width, int& height,
                    const SafeFrameRect& rect) {
    if (!rect.needed) {
        return true;
    }
    if (width < 1 || height < 1 || rect.width < 1 || rect.height < 1 || rect.x < 0 || rect.y < 0) {
        return false;
    }
    if (std::int64_t{rect.x} + rect.width > width || std::int64_t{rect.y} + rect.height > height ||
        rgb.size() < ve_detail::RasterBytes(width, height)) {
        return false;
    }
    // Rows move towards the start, each to an offset at or before its own, so copying them in
    // order within the buffer never overwrites a row not yet moved; no second buffer is needed.
    const std::size_t sourceStride = ve_detail::RasterBytes(width, 1);
    const std::size_t croppedStride = ve_detail::RasterBytes(rect.width, 1);
    const std::size_t firstByte = static_cast<std::size_t>(rect.y) * sourceStride +
                                  static_cast<std::size_t>(rect.x) * kChannels;
    for (std::size_t row = 0; row < static_cast<std::size_t>(rect.height); ++row) {
        std::memmove(rgb.data() + row * croppedStride, rgb.data() + firstByte + row * sourceStride,
                     croppedStride);
    }
    rgb.resize(ve_detail::RasterBytes(rect.width, rect.height));
    width = rect.width;
    height = rect.height;
    return true;
}

bool ScaleRgbNearest(const std::vector<unsigned char>& src, int srcWidth, int srcHeight,
                     int dstWidth, int dstHeight, std::vector<unsigned char>& dst) {
    if (srcWidth < 1 || srcHeight < 1 || dstWidth < 1 || dstHeight < 1 ||
        src.size() != ve_detail::RasterBytes(srcWidth, srcHeight)) {
        return false;
    }
    dst.resize(ve_detail::RasterBytes(dstWidth, dstHeight));
    const std::vector<std::size_t> columnOffsets = NearestColumnOffsets(srcWidth, dstWidth);
    const std::size_t srcStride = ve_detail::RasterBytes(srcWidth, 1);
    const std::size_t dstStride = ve_detail::RasterBytes(dstWidth, 1);
    std::size_t previousSourceRow = 0;
    for (std::size_t y = 0; y < static_cast<std::size_t>(dstHeight); ++y) {
        unsigned char* target = dst.data() + y * dstStride;
        const std::size_t sourceRow = NearestRow(y, srcHeight, dstHeight);
        // Enlarging repeats source rows; a repeated row is one copy of the row above.
        if (y > 0 && sourceRow == previousSourceRow) {
            std::memcpy(target, target - dstStride, dstStride);
            continue;
        }
        const unsigned char* source = src.data() + sourceRow * srcStride;
        for (const std::size_t offset : columnOffsets) {
            target[0] = source[offset];
            target[1] = source[offset + 1];
            target[2] = source[offset + 2];
            target += kChannels;
        }
        previousSourceRow = sourceRow;
    }
    return true;
}

} // namespace Velmora
