#include "Platform/ImageService.hpp"
#include "Extract/CategoryPalette.hpp"
#include "Extract/PngEncoder.hpp"
#include "support/ImageFiles.hpp"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <iterator>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

using Picture = Testing::DecodedImage;

// A grid of tiles numbered row by row from `first`; each tile's quadrants have their own
// colours, so a misplaced, flipped or mirrored tile shows.
Rgb8 QuadrantColour(int tile, int quadrant) {
    return ColorForIndex(20 + 4 * tile + quadrant);
}

Picture QuadrantGrid(int cols, int rows, int tileW, int tileH, int first = 0) {
    Picture picture{cols * tileW, rows * tileH, {}};
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const int quadrant = (y % tileH < tileH / 2 ? 0 : 2) + (x % tileW < tileW / 2 ? 0 : 1);
            const Rgb8 c = QuadrantColour(first + (y / tileH) * cols + x / tileW, quadrant);
            picture.rgb.insert(picture.rgb.end(), {c.r, c.g, c.b});
        }
    }
    return picture;
}

Bytes EncodePng(const Picture& picture) {
    Bytes png;
    EXPECT_TRUE(EncodeRgbToPng(picture.rgb, picture.width, picture.height, png));
    return png;
}

Bytes JpegOf(const Picture& picture, int quality = 95, int subsampling = TJSAMP_444) {
    const Bytes jpeg = Testing::EncodeJpeg(picture, quality, subsampling);
    EXPECT_FALSE(jpeg.empty());
    return jpeg;
}

Picture PictureOf(const Bytes& jpeg) {
    Picture picture;
    EXPECT_TRUE(Testing::DecodeJpeg(jpeg, picture));
    return picture;
}

// Samples each quadrant just inside its tile's outer corner, so a shifted tile shows; lossy
// encoding moves channels a little, lattice colours are much further apart.
void ExpectQuadrantGrid(const Picture& picture, int cols, int rows, int tileW, int tileH,
                        int first = 0) {
    ASSERT_EQ(std::make_pair(picture.width, picture.height),
              std::make_pair(cols * tileW, rows * tileH));
    for (int tile = 0; tile < cols * rows; ++tile) {
        for (int quadrant = 0; quadrant < 4; ++quadrant) {
            const int x = (tile % cols) * tileW + (quadrant % 2 == 0 ? 4 : tileW - 5);
            const int y = (tile / cols) * tileH + (quadrant / 2 == 0 ? 4 : tileH - 5);
            const unsigned char* p = &picture.rgb[(std::size_t{1} * y * picture.width + x) * 3];
            const Rgb8 e = QuadrantColour(first + tile, quadrant);
            EXPECT_LE(std::max({abs(p[0] - e.r), abs(p[1] - e.g), abs(p[2] - e.b)}), 8)
                << "tile " << first + tile << " quadrant " << quadrant;
        }
    }
}

// Catches tiles placed column by column, flipped (row 0 at the bottom) or mirrored, and a PNG
// or JPEG tile the stitcher cannot take.
TEST(StitchImageGrid, PlacesMixedPngAndJpegTilesRowByRowWithRowZeroOnTop) {
    std::vector<Bytes> tiles;
    for (int tile = 0; tile < 6; ++tile) {
        const Picture picture = QuadrantGrid(1, 1, 64, 48, tile);
        tiles.push_back(tile % 2 == 0 ? EncodePng(picture) : JpegOf(picture));
    }
    Bytes jpeg = {1, 2, 3};
    int width = 0, height = 0;
    ASSERT_TRUE(StitchImageGrid(tiles, 3, 2, jpeg, width, height));
    ASSERT_EQ(std::make_pair(width, height), std::make_pair(3 * 64, 2 * 48));
    ExpectQuadrantGrid(PictureOf(jpeg), 3, 2, 64, 48);
}

// Catches unequal tiles, a grid that does not match the tile count, or a damaged tile stitched
// anyway, and outputs not cleared on refusal.
TEST(StitchImageGrid, RejectsBadGridsAndTilesWithClearedOutputs) {
    // Busy enough that half of the JPEG still holds all headers and part of the scan.
    const Picture busy = QuadrantGrid(16, 16, 4, 4);
    const Bytes png = EncodePng(busy);
    const Bytes jpeg = JpegOf(busy);
    const Bytes garbage(500, 0x5A);
    const Bytes halfPng(png.begin(), png.begin() + static_cast<std::ptrdiff_t>(png.size() / 2));
    const Bytes halfJpeg(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2));
    const std::tuple<std::vector<Bytes>, int, int> cases[] = {
        {{png, EncodePng(QuadrantGrid(1, 1, 64, 65))}, 2, 1}, // tiles of unequal sizes
        {{png, JpegOf(QuadrantGrid(1, 1, 63, 64))}, 1, 2},
        {{png, png, png}, 2, 2}, // grids that do not match the tile count
        {{png}, -1, -1},
        {{garbage, png}, 1, 2}, // undecodable tiles, first or later
        {{png, {}}, 2, 1},
        {{png, garbage}, 2, 1},
        {{png, halfPng}, 2, 1},
        {{png, halfJpeg}, 2, 1}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto& [tiles, cols, rows] = cases[i];
        Bytes out = {1, 2, 3};
        int width = 5, height = 5;
        EXPECT_FALSE(StitchImageGrid(tiles, cols, rows, out, width, height)) << i;
        EXPECT_EQ(std::make_tuple(out.size(), width, height), std::make_tuple(0u, 0, 0)) << i;
    }
}

// Catches a crop off by a pixel, one clipped to fit instead of refused, and output kept on
// refusal.
TEST(CropJpeg, KeepsRectanglesWhollyInsideAndRejectsOthers) {
    const Bytes jpeg = JpegOf(QuadrantGrid(2, 2, 32, 24));
    Bytes out;
    for (int tile = 0; tile < 4; ++tile) { // the last one touches the right and bottom edges
        ASSERT_TRUE(CropJpegCentered(jpeg, (tile % 2) * 32, (tile / 2) * 24, 32, 24, out));
        ExpectQuadrantGrid(PictureOf(out), 1, 1, 32, 24, tile);
    }
    const std::array<int, 4> outside[] = {
        {33, 24, 32, 24}, {32, 25, 32, 24}, {-1, 0, 8, 8}, {0, 0, 0, 8}, {1, 1, INT_MAX, 8}};
    for (const auto& [x, y, w, h] : outside) {
        out = {7};
        EXPECT_FALSE(CropJpegCentered(jpeg, x, y, w, h, out)) << x << "," << y << " " << w;
        EXPECT_TRUE(out.empty());
    }
}

// The quantisation tables (DQT segments) of a JPEG: they depend only on the quality setting.
Bytes QuantTables(const Bytes& jpeg) {
    Bytes tables;
    for (std::size_t at = 2; at + 4 <= jpeg.size() && jpeg[at + 1] != 0xDA;) {
        const std::size_t length = (jpeg[at + 2] << 8) | jpeg[at + 3];
        if (jpeg[at + 1] == 0xDB) {
            tables.insert(tables.end(), jpeg.begin() + at, jpeg.begin() + at + 2 + length);
        }
        at += 2 + length;
    }
    return tables;
}

Bytes JpegAtQuality(int quality) {
    return JpegOf(QuadrantGrid(1, 1, 16, 16), quality, TJSAMP_420);
}

// Fault: the stitched or cropped JPEG written at another quality than 85 (84 and 86 already
// give other tables).
TEST(StitchImageGrid, WritesAndCropsAtQuality85) {
    const Bytes at85 = QuantTables(JpegAtQuality(85));
    ASSERT_FALSE(at85.empty());
    ASSERT_NE(QuantTables(JpegAtQuality(84)), at85);
    ASSERT_NE(QuantTables(JpegAtQuality(86)), at85);
    Bytes stitched, cropped;
    int width = 0, height = 0;
    ASSERT_TRUE(
        StitchImageGrid({EncodePng(QuadrantGrid(1, 1, 32, 24))}, 1, 1, stitched, width, height));
    ASSERT_TRUE(CropJpegCentered(stitched, 8, 8, 16, 8, cropped));
    EXPECT_EQ(QuantTables(stitched), at85);
    EXPECT_EQ(QuantTables(cropped), at85);
}

// Fault: the canvas limit off by one either way: the encoder takes sides up to 65500, and a
// canvas past that is refused before drawing.
TEST(StitchImageGrid, AcceptsCanvasSidesUpTo65500AndRefusesOneMore) {
    const std::tuple<int, int, int, int, bool> grids[] = {
        {4, 1, 16375, 8, true},
        {17, 1, 3853, 8, false}, // 65500 and 65501 wide
        {1, 4, 8, 16375, true},
        {1, 17, 8, 3853, false}}; // 65500 and 65501 tall
    for (const auto& [cols, rows, tileW, tileH, accepted] : grids) {
        const Bytes tile =
            EncodePng(Picture{tileW, tileH, Bytes(std::size_t{3} * tileW * tileH, 90)});
        Bytes jpeg;
        int width = 0, height = 0;
        EXPECT_EQ(StitchImageGrid(std::vector<Bytes>(std::size_t(cols) * rows, tile), cols, rows,
                                  jpeg, width, height),
                  accepted)
            << cols * tileW << "x" << rows * tileH;
        EXPECT_EQ(width, accepted ? cols * tileW : 0);
    }
}

} // namespace
} // namespace Velmora
