// Independent readers and a writer for the pictures the add-on handles: JPEG through
// libjpeg-turbo, PNG through libpng, so that a test never checks the add-on with its own code.
#pragma once

#include <filesystem>
#include <vector>

namespace Velmora::Testing {

struct DecodedImage {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb; // packed, rows top to bottom
};

bool DecodeJpeg(std::vector<unsigned char> const& bytes, DecodedImage& out);
bool DecodePng(std::vector<unsigned char> const& bytes, DecodedImage& out);
bool DecodeJpegFile(std::filesystem::path const& path, DecodedImage& out);
bool DecodePngFile(std::filesystem::path const& path, DecodedImage& out);
// Empty when libjpeg-turbo refuses; subsampling is one of turbojpeg's TJSAMP values.
std::vector<unsigned char> EncodeJpeg(DecodedImage const& image, int quality, int subsampling);

} // namespace Velmora::Testing
