// Pure helpers on packed RGB rasters: 3 bytes a pixel, rows top to bottom, no padding.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Velmora {

namespace ve_detail {
// Bytes of a packed width x height RGB raster.
inline std::size_t RasterBytes(int width, int height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3;
}
} // namespace ve_detail

struct SafeFrameRect {
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool needed = false;
};

bool DecodeBmpToRgb(const std::vector<unsigned char>& bmp, int& width, int& height,
                    std::vector<unsigned char>& rgb);
bool JpegPixelSize(const std::vector<unsigned char>& jpeg, int& width, int& height);
SafeFrameRect ComputeSafeFrameCrop(int imageWidth, int imageHeight, int aspectWidth,
                                   int aspectHeight);
bool CropRgbInPlace(std::vector<unsigned char>& rgb, int& width, int& height,
                    const SafeFrameRect& rect);
bool ScaleRgbNearest(const std::vector<unsigned char>& src, int srcWidth, int srcHeight,
                     int dstWidth, int dstHeight, std::vector<unsigned char>& dst);
bool RatioRecoverColors(const std::vector<unsigned char>& colourCapture,
                        const std::vector<unsigned char>& referenceCapture, int width, int height,
                        std::vector<unsigned char>& out, unsigned char minReference);
void SnapRgbToLatticeSet(std::vector<unsigned char>& rgb, int width, int height,
                         const std::vector<unsigned char>& inUse, unsigned char backgroundFloor,
                         long maxSqError);
double MaskForegroundFraction(const std::vector<unsigned char>& rgb, int width, int height,
                              unsigned char backgroundFloor);

} // namespace Velmora
