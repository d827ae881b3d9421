#include "Extract/Raster.hpp"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <functional>
#include <string>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

struct BmpLayout {
    std::int32_t width = 5;
    std::int32_t height = 3; // negative: rows stored top-down
    std::uint16_t bitsPerPixel = 24;
    std::uint32_t infoHeaderSize = 40;
    std::uint32_t compression = 0;
    bool writeMasks = false;
    std::array<std::uint32_t, 3> masks = {0x00FF0000, 0x0000FF00, 0x000000FF};
    std::uint32_t gapBeforePixels = 0;
};

void Put16(Bytes& bytes, std::size_t at, std::uint32_t value) {
    bytes[at] = static_cast<unsigned char>(value);
    bytes[at + 1] = static_cast<unsigned char>(value >> 8);
}

void Put32(Bytes& bytes, std::size_t at, std::uint32_t value) {
    Put16(bytes, at, value & 0xFFFF);
    Put16(bytes, at + 2, value >> 16);
}

// A distinct colour for every pixel; (x, y) counts rows from the top of the picture.
std::array<unsigned char, 3> PixelAt(int x, int y) {
    return {static_cast<unsigned char>(10 + 40 * x), static_cast<unsigned char>(20 + 50 * y),
            static_cast<unsigned char>(3 + 7 * (x + y))};
}

Bytes ExpectedRgb(int width, int height) {
    Bytes rgb;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto pixel = PixelAt(x, y);
            rgb.insert(rgb.end(), pixel.begin(), pixel.end());
        }
    }
    return rgb;
}

// Writes a bitmap file; row padding and the unused fourth byte hold junk that must not leak.
Bytes MakeBmp(const BmpLayout& layout) {
    const std::size_t masksEnd = layout.writeMasks ? 66 : 0;
    const std::size_t dataOffset =
        std::max<std::size_t>(14 + layout.infoHeaderSize, masksEnd) + layout.gapBeforePixels;
    const int rows = layout.height < 0 ? -layout.height : layout.height;
    const std::size_t bytesPerPixel = layout.bitsPerPixel / 8u;
    const std::size_t stride = (layout.width * bytesPerPixel + 3) & ~std::size_t{3};
    Bytes bmp(dataOffset + stride * static_cast<std::size_t>(rows), 0xEE);
    std::fill(bmp.begin(), bmp.begin() + static_cast<std::ptrdiff_t>(dataOffset), 0);
    bmp[0] = 'B';
    bmp[1] = 'M';
    Put32(bmp, 2, static_cast<std::uint32_t>(bmp.size()));
    Put32(bmp, 10, static_cast<std::uint32_t>(dataOffset));
    Put32(bmp, 14, layout.infoHeaderSize);
    Put32(bmp, 18, static_cast<std::uint32_t>(layout.width));
    Put32(bmp, 22, static_cast<std::uint32_t>(layout.height));
    Put16(bmp, 26, 1);
    Put16(bmp, 28, layout.bitsPerPixel);
    Put32(bmp, 30, layout.compression);
    if (layout.writeMasks) {
        for (std::size_t i = 0; i < 3; ++i) {
            Put32(bmp, 54 + 4 * i, layout.masks[i]);
        }
    }
    for (int y = 0; y < rows; ++y) {
        const int storedRow = layout.height > 0 ? rows - 1 - y : y;
        std::size_t at = dataOffset + static_cast<std::size_t>(storedRow) * stride;
        for (int x = 0; x < layout.width; ++x, at += bytesPerPixel) {
            const auto pixel = PixelAt(x, y);
            bmp[at] = pixel[2];
            bmp[at + 1] = pixel[1];
            bmp[at + 2] = pixel[0];
            if (bytesPerPixel == 4) {
                bmp[at + 3] = 0x77;
            }
        }
    }
    return bmp;
}

struct Decoded {
    bool ok = false;
    int width = -1;
    int height = -1;
    Bytes rgb;
};

Decoded Decode(const Bytes& bmp) {
    Decoded result;
    result.width = 99;
    result.height = 99;
    result.rgb = {1, 2, 3};
    result.ok = DecodeBmpToRgb(bmp, result.width, result.height, result.rgb);
    return result;
}

void ExpectDecodes(const Bytes& bmp, int width, int height) {
    const Decoded decoded = Decode(bmp);
    ASSERT_TRUE(decoded.ok);
    EXPECT_EQ(decoded.width, width);
    EXPECT_EQ(decoded.height, height);
    EXPECT_EQ(decoded.rgb, ExpectedRgb(width, height));
}

void ExpectRejected(const Bytes& bmp) {
    const Decoded decoded = Decode(bmp);
    EXPECT_FALSE(decoded.ok);
    EXPECT_EQ(decoded.width, 0);
    EXPECT_EQ(decoded.height, 0);
    EXPECT_TRUE(decoded.rgb.empty());
}

TEST(BmpDecoder, DecodesBothDepthsInBothRowOrders) {
    for (std::uint16_t bits : {24, 32}) {
        for (std::int32_t height : {3, -3}) {
            SCOPED_TRACE(testing::Message() << bits << " bits, height " << height);
            BmpLayout layout;
            layout.bitsPerPixel = bits;
            layout.height = height;
            ExpectDecodes(MakeBmp(layout), 5, 3);
        }
    }
}

TEST(BmpDecoder, OnePaddedPixelComesOutAsRedGreenBlue) {
    Bytes bmp(58, 0);
    bmp[0] = 'B';
    bmp[1] = 'M';
    Put32(bmp, 10, 54);
    Put32(bmp, 14, 40);
    Put32(bmp, 18, 1);
    Put32(bmp, 22, 1);
    Put16(bmp, 28, 24);
    bmp[54] = 0x11; // blue
    bmp[55] = 0x22; // green
    bmp[56] = 0x33; // red
    bmp[57] = 0xAB; // row padding
    const Decoded decoded = Decode(bmp);
    ASSERT_TRUE(decoded.ok);
    EXPECT_EQ(decoded.rgb, (Bytes{0x33, 0x22, 0x11}));
}

TEST(BmpDecoder, LongerInfoHeadersAndGapsBeforeThePixelsDecodeAlike) {
    for (std::uint32_t headerSize : {40u, 108u, 124u}) {
        SCOPED_TRACE(headerSize);
        BmpLayout layout;
        layout.infoHeaderSize = headerSize;
        ExpectDecodes(MakeBmp(layout), 5, 3);
        layout.gapBeforePixels = 9;
        ExpectDecodes(MakeBmp(layout), 5, 3);
    }
}

TEST(BmpDecoder, AcceptsOnlyTheRedGreenBlueBitFieldLayout) {
    BmpLayout layout;
    layout.bitsPerPixel = 32;
    layout.compression = 3;
    layout.writeMasks = true;
    for (std::uint32_t headerSize : {40u, 108u}) {
        layout.infoHeaderSize = headerSize;
        ExpectDecodes(MakeBmp(layout), 5, 3);
    }
    layout.masks = {0x000000FF, 0x0000FF00, 0x00FF0000};
    ExpectRejected(MakeBmp(layout));
    layout.masks = {0xFF000000, 0x00FF0000, 0x0000FF00};
    ExpectRejected(MakeBmp(layout));

    BmpLayout shallow = BmpLayout{};
    shallow.compression = 3;
    shallow.writeMasks = true;
    ExpectRejected(MakeBmp(shallow)); // bit fields at 24 bits

    // One 32-bit pixel right after a 40-byte header: the masks do not fit in the file.
    BmpLayout tiny;
    tiny.width = 1;
    tiny.height = 1;
    tiny.bitsPerPixel = 32;
    tiny.compression = 3;
    const Bytes short_file = MakeBmp(tiny);
    ASSERT_LT(short_file.size(), 66u);
    ExpectRejected(short_file);
}

TEST(BmpDecoder, RejectsMalformedAndUnsupportedFilesWithClearedOutputs) {
    const Bytes valid = MakeBmp(BmpLayout{});
    ExpectDecodes(valid, 5, 3);
    const std::pair<std::string, std::function<void(Bytes&)>> damages[] = {
        {"no signature", [](Bytes& b) { b[1] = 'A'; }},
        {"shorter than a header", [](Bytes& b) { b.resize(53); }},
        {"core header", [](Bytes& b) { Put32(b, 14, 12); }},
        {"pixels inside the header", [](Bytes& b) { Put32(b, 10, 53); }},
        {"16 bits", [](Bytes& b) { Put16(b, 28, 16); }},
        {"8 bits", [](Bytes& b) { Put16(b, 28, 8); }},
        {"RLE8", [](Bytes& b) { Put32(b, 30, 1); }},
        {"RLE4", [](Bytes& b) { Put32(b, 30, 2); }},
        {"embedded JPEG", [](Bytes& b) { Put32(b, 30, 4); }},
        {"zero height", [](Bytes& b) { Put32(b, 22, 0); }},
        {"zero width", [](Bytes& b) { Put32(b, 18, 0); }},
        {"negative width", [](Bytes& b) { Put32(b, 18, static_cast<std::uint32_t>(-5)); }},
        {"too wide", [](Bytes& b) { Put32(b, 18, 100001); }},
        {"too tall", [](Bytes& b) { Put32(b, 22, 100001); }},
        {"too tall top-down", [](Bytes& b) { Put32(b, 22, static_cast<std::uint32_t>(-100001)); }},
        {"most negative height", [](Bytes& b) { Put32(b, 22, 0x80000000u); }},
        {"one byte of pixels missing", [](Bytes& b) { b.pop_back(); }},
        {"offset past the end", [](Bytes& b) { Put32(b, 10, 0xFFFFFFF0u); }},
        {"huge header size", [](Bytes& b) { Put32(b, 14, 0xFFFFFFFFu); }},
    };
    for (const auto& [name, damage] : damages) {
        SCOPED_TRACE(name);
        Bytes bmp = valid;
        damage(bmp);
        ExpectRejected(bmp);
    }
}

TEST(BmpDecoder, AcceptsTheLargestWidthWithPixelsFillingTheFileExactly) {
    BmpLayout layout;
    layout.width = 100000;
    layout.height = -1;
    const Bytes bmp = MakeBmp(layout);
    ASSERT_EQ(bmp.size(), 54u + 300000u);
    ExpectDecodes(bmp, 100000, 1);
}

} // namespace
} // namespace Velmora
