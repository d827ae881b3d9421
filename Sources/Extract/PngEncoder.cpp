#include "Extract/PngEncoder.hpp"

#include "Extract/Checksums.hpp"
#include "Extract/FixedDeflate.hpp"
#include "Extract/PngRowFilter.hpp"

#include <cstddef>
#include <cstdint>

namespace Velmora {
namespace {

constexpr unsigned char kPngSignature[8] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};
// Deflate with a 32 KiB window, fastest-compression level flag, no preset dictionary.
constexpr unsigned char kZlibHeader[2] = {0x78, 0x01};

struct Raster {
    const unsigned char* pixels;
    std::size_t width;
    std::size_t height;
    std::size_t channels;

    std::size_t RowBytes() const { return width * channels; }
};

void AppendU32BE(std::vector<unsigned char>& out, std::uint32_t value) {
    const unsigned char bytes[4] = {
        static_cast<unsigned char>(value >> 24), static_cast<unsigned char>(value >> 16),
        static_cast<unsigned char>(value >> 8), static_cast<unsigned char>(value)};
    out.insert(out.end(), bytes, bytes + 4);
}

// The chunk at `lengthStart` holds a placeholder length, its type and its data: fills in the
// length and appends the CRC-32 of type and data.
void FinishChunk(std::vector<unsigned char>& out, std::size_t lengthStart) {
    const std::size_t length = out.size() - lengthStart - 8;
    for (int i = 0; i < 4; ++i) {
        out[lengthStart + static_cast<std::size_t>(i)] =
            static_cast<unsigned char>(length >> (24 - 8 * i));
    }
    AppendU32BE(out, ve_detail::Crc32(out.data() + lengthStart + 4, length + 4));
}

// Length, type, data, and the CRC-32 of type and data.
void AppendChunk(std::vector<unsigned char>& out, const char* type, const unsigned char* data,
                 std::size_t length) {
    const std::size_t lengthStart = out.size();
    AppendU32BE(out, 0);
    out.insert(out.end(), type, type + 4);
    if (length > 0) {
        out.insert(out.end(), data, data + length);
    }
    FinishChunk(out, lengthStart);
}

// Filters the rows one at a time as the compressor asks for them, and sums the filtered
// stream's Adler-32 on the way.
class FilteredRows : public ve_detail::DeflateSource {
public:
    explicit FilteredRows(const Raster& raster)
        : raster_(raster), filter_(raster.RowBytes(), raster.channels) {}

    std::size_t TotalBytes() const override { return raster_.height * (raster_.RowBytes() + 1); }
    std::size_t MaxPieceBytes() const override { return raster_.RowBytes() + 1; }

    std::size_t WriteNext(unsigned char* out) override {
        const std::size_t rowBytes = raster_.RowBytes();
        const unsigned char* raw = raster_.pixels + nextRow_ * rowBytes;
        filter_.Filter(raw, nextRow_ == 0 ? nullptr : raw - rowBytes, out);
        adler_.Update(out, rowBytes + 1);
        ++nextRow_;
        return rowBytes + 1;
    }

    std::uint32_t Adler32() const { return adler_.Value(); }

private:
    Raster raster_;
    ve_detail::RowFilter filter_;
    ve_detail::Adler32 adler_;
    std::size_t nextRow_ = 0;
};

void AppendHeaderChunk(std::vector<unsigned char>& png, const Raster& raster) {
    std::vector<unsigned char> header;
    AppendU32BE(header, static_cast<std::uint32_t>(raster.width));
    AppendU32BE(header, static_cast<std::uint32_t>(raster.height));
    const unsigned char colourType = raster.channels == 4 ? 6 : 2;
    const unsigned char rest[5] = {8, colourType, 0, 0, 0}; // depth, colour, methods, interlace
    header.insert(header.end(), rest, rest + 5);
    AppendChunk(png, "IHDR", header.data(), header.size());
}

// One IDAT holding the whole zlib stream, compressed straight into place.
void AppendDataChunk(std::vector<unsigned char>& png, const Raster& raster) {
    const std::size_t lengthStart = png.size();
    AppendU32BE(png, 0);
    png.insert(png.end(), {'I', 'D', 'A', 'T'});
    png.insert(png.end(), kZlibHeader, kZlibHeader + sizeof kZlibHeader);
    FilteredRows rows(raster);
    ve_detail::DeflateFixedBlock(rows, png);
    AppendU32BE(png, rows.Adler32());
    FinishChunk(png, lengthStart);
}

bool InputIsValid(const std::vector<unsigned char>& pixels, int width, int height, int channels) {
    if (width < 1 || height < 1 || (channels != 3 && channels != 4)) {
        return false;
    }
    const std::size_t rowBytes =
        static_cast<std::size_t>(width) * static_cast<std::size_t>(channels);
    return pixels.size() / rowBytes >= static_cast<std::size_t>(height);
}

} // namespace

bool EncodeImageToPng(const std::vector<unsigned char>& pixels, int width, int height, int channels,
                      std::vector<unsigned char>& png) {
    png.clear();
    if (!InputIsValid(pixels, width, height, channels)) {
        return false;
    }
    const Raster raster{pixels.data(), static_cast<std::size_t>(width),
                        static_cast<std::size_t>(height), static_cast<std::size_t>(channels)};
    png.insert(png.end(), kPngSignature, kPngSignature + sizeof kPngSignature);
    AppendHeaderChunk(png, raster);
    AppendDataChunk(png, raster);
    AppendChunk(png, "IEND", nullptr, 0);
    return true;
}

bool EncodeRgbToPng(const std::vector<unsigned char>& rgb, int width, int height,
                    std::vector<unsigned char>& png) {
    return EncodeImageToPng(rgb, width, height, 3, png);
}

} // namespace Velmora
