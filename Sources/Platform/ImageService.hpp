// JPEG grid stitching and cropping through the platform's image libraries
// (ImageIO and CoreGraphics on macOS, libjpeg-turbo elsewhere). JPEG quality 0.85.
#pragma once

#include <vector>

namespace Velmora {

// tiles: encoded images (PNG or JPEG) in row-major order, row 0 at the top.
bool StitchImageGrid(std::vector<std::vector<unsigned char>> const& tiles, int cols, int rows,
                     std::vector<unsigned char>& outJpeg, int& outW, int& outH);

// Crops to the given rectangle (top-left origin); the rectangle must lie wholly inside.
bool CropJpegCentered(std::vector<unsigned char> const& jpeg, int x, int y, int w, int h,
                      std::vector<unsigned char>& outJpeg);

} // namespace Velmora
