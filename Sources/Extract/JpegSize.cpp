// Reads a JPEG's pixel size from its frame header by walking the markers, without decoding.
#include "Extract/Raster.hpp"

#include <cstddef>

namespace Velmora {
namespace {

constexpr std::size_t kMinJpegSize = 12;
constexpr unsigned char kMarkerPrefix = 0xFF;
constexpr unsigned char kStartOfImage = 0xD8;

bool IsStandAloneMarker(unsigned char marker) {
    return marker == 0xD8 || marker == 0xD9 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7);
}

// 0xC4 (Huffman tables), 0xC8 (reserved) and 0xCC (arithmetic conditioning) share the
// start-of-frame range without being frames.
bool IsStartOfFrame(unsigned char marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

int ReadBigEndian16(const std::vector<unsigned char>& bytes, std::size_t at) {
    return (bytes[at] << 8) | bytes[at + 1];
}

} // namespace

bool JpegPixelSize(const std::vector<unsigned char>& jpeg, int& width, int& height) {
    if (jpeg.size() < kMinJpegSize || jpeg[0] != kMarkerPrefix || jpeg[1] != kStartOfImage) {
        return false;
    }
    std::size_t position = 2;
    // The walk keeps at least nine bytes ahead of it, enough for a frame header's size fields.
    while (position + 9 < jpeg.size()) {
        if (jpeg[position] != kMarkerPrefix) {
            position += 1;
            continue;
        }
        // A second 0xFF is read as a marker with a length, not skipped as fill.
        const unsigned char marker = jpeg[position + 1];
        if (IsStandAloneMarker(marker)) {
            position += 2;
            continue;
        }
        if (IsStartOfFrame(marker)) {
            height = ReadBigEndian16(jpeg, position + 5);
            width = ReadBigEndian16(jpeg, position + 7);
            return true;
        }
        const int length = ReadBigEndian16(jpeg, position + 2);
        if (length < 2) {
            return false;
        }
        position += static_cast<std::size_t>(length) + 2;
    }
    return false;
}

} // namespace Velmora
