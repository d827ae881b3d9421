#include "Platform/ImageService.hpp"
#include "Extract/CategoryPalette.hpp"
#include "Extract/Raster.hpp"

#include <gtest/gtest.h>
#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <functional>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

struct Picture {
    int width = 0;
    int height = 0;
    Bytes rgb;
};

Picture Paint(int width, int height, const std::function<Rgb8(int x, int y)>& colourAt) {
    Picture picture{width, height, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Rgb8 c = colourAt(x, y);
            picture.rgb.insert(picture.rgb.end(), {c.r, c.g, c.b});
        }
    }
    return picture;
}

// A grid of tiles numbered row by row from `first`; each tile's quadrants have their own
// colours, so a misplaced, flipped or mirrored tile shows.
Rgb8 QuadrantColour(int tile, int quadrant) {
    return ColorForIndex(20 + 4 * tile + quadrant);
}

Picture QuadrantGrid(int cols, int rows, int tileW, int tileH, int first = 0) {
    return Paint(cols * tileW, rows * tileH, [=](int x, int y) {
        const int quadrant = (y % tileH < tileH / 2 ? 0 : 2) + (x % tileW < tileW / 2 ? 0 : 1);
        return QuadrantColour(first + (y / tileH) * cols + x / tileW, quadrant);
    });
}

Bytes EncodePng(const Picture& picture) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    Bytes png(picture.rgb.size() * 2 + 1024);
    png_alloc_size_t size = png.size();
    EXPECT_NE(
        png_image_write_to_memory(&image, png.data(), &size, 0, picture.rgb.data(), 0, nullptr), 0);
    png.resize(size);
    return png;
}

Bytes EncodeJpeg(const Picture& picture) {
    tjhandle encoder = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    EXPECT_EQ(tjCompress2(encoder, picture.rgb.data(), picture.width, 0, picture.height, TJPF_RGB,
                          &jpeg, &size, TJSAMP_444, 95, 0),
              0);
    const Bytes result(jpeg, jpeg + size);
    tjFree(jpeg);
    tjDestroy(encoder);
    return result;
}

// Decodes a JPEG whose header must state the given size.
Picture DecodeJpeg(const Bytes& jpeg, int width, int height) {
    Picture picture{0, 0, Bytes(static_cast<std::size_t>(width) * height * 3)};
    EXPECT_TRUE(JpegPixelSize(jpeg, picture.width, picture.height));
    EXPECT_EQ(std::make_pair(picture.width, picture.height), std::make_pair(width, height));
    tjhandle decoder = tjInitDecompress();
    EXPECT_EQ(tjDecompress2(decoder, jpeg.data(), jpeg.size(), picture.rgb.data(), width, 0, height,
                            TJPF_RGB, 0),
              0);
    tjDestroy(decoder);
    return picture;
}

// Samples each quadrant just inside its tile's outer corner; lossy encoding moves channels a
// little, lattice colours are much further apart.
void ExpectQuadrantGrid(const Picture& picture, int cols, int rows, int tileW, int tileH,
                        int first = 0) {
    for (int tile = 0; tile < cols * rows; ++tile) {
        for (int quadrant = 0; quadrant < 4; ++quadrant) {
            const int x = (tile % cols) * tileW + (quadrant % 2 == 0 ? 4 : tileW - 5);
            const int y = (tile / cols) * tileH + (quadrant / 2 == 0 ? 4 : tileH - 5);
            const unsigned char* p =
                picture.rgb.data() + (static_cast<std::size_t>(y) * picture.width + x) * 3;
            const Rgb8 expected = QuadrantColour(first + tile, quadrant);
            EXPECT_LE(std::max({std::abs(p[0] - expected.r), std::abs(p[1] - expected.g),
                                std::abs(p[2] - expected.b)}),
                      8)
                << "tile " << first + tile << " quadrant " << quadrant;
        }
    }
}

TEST(StitchImageGrid, PlacesMixedPngAndJpegTilesRowByRowWithRowZeroOnTop) {
    std::vector<Bytes> tiles;
    for (int tile = 0; tile < 6; ++tile) {
        const Picture picture = QuadrantGrid(1, 1, 64, 48, tile);
        tiles.push_back(tile % 2 == 0 ? EncodePng(picture) : EncodeJpeg(picture));
    }
    Bytes jpeg = {1, 2, 3};
    int width = 0;
    int height = 0;
    ASSERT_TRUE(StitchImageGrid(tiles, 3, 2, jpeg, width, height));
    ASSERT_EQ(std::make_pair(width, height), std::make_pair(3 * 64, 2 * 48));
    ExpectQuadrantGrid(DecodeJpeg(jpeg, width, height), 3, 2, 64, 48);
}

TEST(StitchImageGrid, RejectsBadGridsAndTilesWithClearedOutputs) {
    // Busy enough that half of the JPEG still holds all headers and part of the scan.
    const Picture busy = Paint(64, 64, [](int x, int y) { return ColorForIndex(x * 61 + y); });
    const Bytes png = EncodePng(busy);
    const Bytes jpeg = EncodeJpeg(busy);
    const Bytes garbage(500, 0x5A);
    Bytes pngSignatureOnly(png.begin(), png.begin() + 8);
    pngSignatureOnly.resize(8 + garbage.size(), garbage[0]);
    const auto half = [](const Bytes& bytes) {
        return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2));
    };
    std::vector<std::tuple<std::vector<Bytes>, int, int>> cases = {
        {{png, EncodePng(QuadrantGrid(1, 1, 64, 65))}, 2, 1}, // tiles of unequal sizes
        {{png, EncodeJpeg(QuadrantGrid(1, 1, 63, 64))}, 1, 2},
        {{png, png, png, EncodeJpeg(QuadrantGrid(2, 2, 64, 64))}, 2, 2},
        {{png, png, png, png}, 2, 1}, // grids that do not match the tile count
        {{png, png, png}, 2, 2},
        {{}, 0, 0},
        {{png}, -1, -1},
    };
    for (const Bytes& bad : {Bytes{}, garbage, half(png), half(jpeg), pngSignatureOnly}) {
        cases.emplace_back(std::vector<Bytes>{png, bad}, 2, 1);
        cases.emplace_back(std::vector<Bytes>{bad, png}, 1, 2);
    }
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const auto& [tiles, cols, rows] = cases[i];
        Bytes out = {1, 2, 3};
        int width = 5;
        int height = 5;
        EXPECT_FALSE(StitchImageGrid(tiles, cols, rows, out, width, height)) << i;
        EXPECT_EQ(std::make_tuple(out.size(), width, height), std::make_tuple(0u, 0, 0)) << i;
    }
}

TEST(CropJpeg, KeepsRectanglesWhollyInsideAndRejectsOthers) {
    const Bytes jpeg = EncodeJpeg(QuadrantGrid(2, 2, 32, 24));
    Bytes out;
    for (int tile = 0; tile < 4; ++tile) { // the last one touches the right and bottom edges
        ASSERT_TRUE(CropJpegCentered(jpeg, (tile % 2) * 32, (tile / 2) * 24, 32, 24, out));
        ExpectQuadrantGrid(DecodeJpeg(out, 32, 24), 1, 1, 32, 24, tile);
    }
    const std::array<int, 4> outside[] = {{33, 24, 32, 24},  {32, 25, 32, 24}, {-1, 0, 8, 8},
                                          {0, -1, 8, 8},     {0, 0, 0, 8},     {0, 0, 8, 0},
                                          {1, 1, INT_MAX, 8}};
    for (const auto& [x, y, w, h] : outside) {
        out = {7};
        EXPECT_FALSE(CropJpegCentered(jpeg, x, y, w, h, out)) << x << "," << y << " " << w;
        EXPECT_TRUE(out.empty());
    }
    for (const Bytes& bad : {Bytes{}, Bytes(jpeg.begin(), jpeg.begin() + 40)}) {
        out = {7};
        EXPECT_FALSE(CropJpegCentered(bad, 0, 0, 1, 1, out)) << bad.size();
        EXPECT_TRUE(out.empty());
    }
}

} // namespace
} // namespace Velmora
