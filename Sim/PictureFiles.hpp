// The picture files the 3D window saves: JPEG (quality 90), PNG and 24-bit BMP, from packed
// RGB rows (top to bottom). Each returns false when the file cannot be written.
#pragma once

#include <string>
#include <vector>

namespace Velmora::Sim {

struct RgbImage {
    int width = 0, height = 0;
    std::vector<unsigned char> const* rgb = nullptr;
};

bool WriteJpegFile(std::string const& path, RgbImage const& image);
bool WritePngFile(std::string const& path, RgbImage const& image);
// Bottom-up rows of blue, green, red, each padded to four bytes, after a BITMAPINFOHEADER.
bool WriteBmpFile(std::string const& path, RgbImage const& image);

} // namespace Velmora::Sim
