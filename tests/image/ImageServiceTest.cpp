#include "Platform/ImageService.hpp"
#include "Extract/CategoryPalette.hpp"
#include "Extract/Raster.hpp"

#include <gtest/gtest.h>
#include <png.h>
#include <turbojpeg.h>

#include <cstdlib>
#include <cstring>
#include <functional>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

struct Picture {
    int width = 0;
    int height = 0;
    Bytes rgb;

    const unsigned char* At(int x, int y) const {
        return rgb.data() + (static_cast<std::size_t>(y) * width + x) * 3;
    }
};

using Painter = std::function<Rgb8(int x, int y)>;

Picture Paint(int width, int height, const Painter& painter) {
    Picture picture{width, height, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const Rgb8 c = painter(x, y);
            picture.rgb.insert(picture.rgb.end(), {c.r, c.g, c.b});
        }
    }
    return picture;
}

Bytes EncodePng(const Picture& picture) {
    png_image image;
    std::memset(&image, 0, sizeof image);
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.width);
    image.height = static_cast<png_uint_32>(picture.height);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = 0;
    if (png_image_write_to_memory(&image, nullptr, &size, 0, picture.rgb.data(), 0, nullptr) == 0) {
        return {};
    }
    Bytes png(size);
    if (png_image_write_to_memory(&image, png.data(), &size, 0, picture.rgb.data(), 0, nullptr) ==
        0) {
        return {};
    }
    png.resize(size);
    return png;
}

Bytes EncodeJpeg(const Picture& picture) {
    tjhandle encoder = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    Bytes result;
    if (tjCompress2(encoder, picture.rgb.data(), picture.width, 0, picture.height, TJPF_RGB, &jpeg,
                    &size, TJSAMP_444, 95, 0) == 0) {
        result.assign(jpeg, jpeg + size);
    }
    tjFree(jpeg);
    tjDestroy(encoder);
    return result;
}

Picture DecodeJpeg(const Bytes& jpeg) {
    Picture picture;
    tjhandle decoder = tjInitDecompress();
    int subsampling = 0;
    int colourspace = 0;
    if (tjDecompressHeader3(decoder, jpeg.data(), jpeg.size(), &picture.width, &picture.height,
                            &subsampling, &colourspace) == 0) {
        picture.rgb.resize(static_cast<std::size_t>(picture.width) * picture.height * 3);
        if (tjDecompress2(decoder, jpeg.data(), jpeg.size(), picture.rgb.data(), picture.width, 0,
                          picture.height, TJPF_RGB, 0) != 0) {
            picture = Picture{};
        }
    }
    tjDestroy(decoder);
    return picture;
}

constexpr int kJpegTolerance = 8;

::testing::AssertionResult ColourNear(const Picture& picture, int x, int y, Rgb8 expected) {
    const unsigned char* p = picture.At(x, y);
    const int channels[3][2] = {{p[0], expected.r}, {p[1], expected.g}, {p[2], expected.b}};
    for (const auto& channel : channels) {
        if (std::abs(channel[0] - channel[1]) > kJpegTolerance) {
            return ::testing::AssertionFailure()
                   << "at (" << x << "," << y << ") got " << int{p[0]} << "," << int{p[1]} << ","
                   << int{p[2]} << " expected " << int{expected.r} << "," << int{expected.g} << ","
                   << int{expected.b};
        }
    }
    return ::testing::AssertionSuccess();
}

// Tile `tile` is split into four quadrants of distinct lattice colours, so that a tile drawn
// in the wrong place, flipped or mirrored shows.
Rgb8 QuadrantColour(int tile, int quadrant) {
    return ColorForIndex(20 + 4 * tile + quadrant);
}

Painter QuadrantPainter(int tile, int width, int height) {
    return [=](int x, int y) {
        return QuadrantColour(tile, (y < height / 2 ? 0 : 2) + (x < width / 2 ? 0 : 1));
    };
}

struct Stitched {
    bool ok = false;
    Bytes jpeg;
    int width = -1;
    int height = -1;
};

Stitched Stitch(const std::vector<Bytes>& tiles, int cols, int rows) {
    Stitched result;
    result.jpeg = {1, 2, 3};
    result.width = 5;
    result.height = 5;
    result.ok = StitchImageGrid(tiles, cols, rows, result.jpeg, result.width, result.height);
    return result;
}

void ExpectStitchFails(const std::vector<Bytes>& tiles, int cols, int rows) {
    const Stitched result = Stitch(tiles, cols, rows);
    EXPECT_FALSE(result.ok);
    EXPECT_TRUE(result.jpeg.empty());
    EXPECT_EQ(result.width, 0);
    EXPECT_EQ(result.height, 0);
}

TEST(StitchImageGrid, PlacesTwoByTwoWindowTilesWithRowZeroOnTop) {
    const int tileW = 1200;
    const int tileH = 800;
    std::vector<Bytes> tiles;
    for (int tile = 0; tile < 4; ++tile) {
        tiles.push_back(EncodePng(Paint(tileW, tileH, QuadrantPainter(tile, tileW, tileH))));
        ASSERT_FALSE(tiles.back().empty());
    }
    const Stitched result = Stitch(tiles, 2, 2);
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(result.width, 2400);
    EXPECT_EQ(result.height, 1600);
    const Picture picture = DecodeJpeg(result.jpeg);
    ASSERT_EQ(picture.width, 2400);
    ASSERT_EQ(picture.height, 1600);
    const int inset = 24;
    for (int tile = 0; tile < 4; ++tile) {
        SCOPED_TRACE(tile);
        const int left = (tile % 2) * tileW;
        const int top = (tile / 2) * tileH;
        // Quadrant centres and the pixels just inside each tile corner.
        EXPECT_TRUE(
            ColourNear(picture, left + tileW / 4, top + tileH / 4, QuadrantColour(tile, 0)));
        EXPECT_TRUE(ColourNear(picture, left + 3 * tileW / 4, top + 3 * tileH / 4,
                               QuadrantColour(tile, 3)));
        EXPECT_TRUE(ColourNear(picture, left + inset, top + inset, QuadrantColour(tile, 0)));
        EXPECT_TRUE(
            ColourNear(picture, left + tileW - inset, top + inset, QuadrantColour(tile, 1)));
        EXPECT_TRUE(
            ColourNear(picture, left + inset, top + tileH - inset, QuadrantColour(tile, 2)));
        EXPECT_TRUE(ColourNear(picture, left + tileW - inset, top + tileH - inset,
                               QuadrantColour(tile, 3)));
    }
    int width = 0;
    int height = 0;
    ASSERT_TRUE(JpegPixelSize(result.jpeg, width, height));
    EXPECT_EQ(width, 2400);
    EXPECT_EQ(height, 1600);
}

TEST(StitchImageGrid, FillsWideGridsRowByRowFromMixedPngAndJpegTiles) {
    const int tileW = 48;
    const int tileH = 32;
    std::vector<Bytes> tiles;
    for (int tile = 0; tile < 6; ++tile) {
        const Picture flat =
            Paint(tileW, tileH, [tile](int, int) { return QuadrantColour(tile, 0); });
        tiles.push_back(tile % 2 == 0 ? EncodePng(flat) : EncodeJpeg(flat));
    }
    const Stitched result = Stitch(tiles, 3, 2);
    ASSERT_TRUE(result.ok);
    ASSERT_EQ(result.width, 3 * tileW);
    ASSERT_EQ(result.height, 2 * tileH);
    const Picture picture = DecodeJpeg(result.jpeg);
    ASSERT_EQ(picture.width, result.width);
    for (int tile = 0; tile < 6; ++tile) {
        EXPECT_TRUE(ColourNear(picture, (tile % 3) * tileW + tileW / 2,
                               (tile / 3) * tileH + tileH / 2, QuadrantColour(tile, 0)))
            << tile;
    }
}

TEST(StitchImageGrid, RejectsTilesOfUnequalSize) {
    const Painter grey = [](int, int) { return Rgb8{90, 90, 90}; };
    const Bytes tile = EncodePng(Paint(32, 24, grey));
    ExpectStitchFails({tile, EncodePng(Paint(32, 25, grey))}, 2, 1);
    ExpectStitchFails({tile, EncodePng(Paint(31, 24, grey))}, 1, 2);
    ExpectStitchFails({tile, tile, tile, EncodeJpeg(Paint(64, 48, grey))}, 2, 2);
}

TEST(StitchImageGrid, RejectsAGridThatDoesNotMatchTheTileCount) {
    const Bytes tile = EncodePng(Paint(8, 8, [](int, int) { return Rgb8{1, 2, 3}; }));
    ExpectStitchFails({tile, tile, tile, tile}, 2, 1);
    ExpectStitchFails({tile, tile, tile}, 2, 2);
    ExpectStitchFails({}, 0, 0);
    ExpectStitchFails({tile}, 1, 0);
    ExpectStitchFails({tile}, -1, -1);
}

TEST(StitchImageGrid, RejectsEmptyAndUndecodableTiles) {
    // Busy enough that half of the JPEG still holds all headers and part of the scan.
    const Picture picture = Paint(64, 64, [](int x, int y) { return ColorForIndex(x * 61 + y); });
    const Bytes png = EncodePng(picture);
    const Bytes jpeg = EncodeJpeg(picture);
    ASSERT_TRUE(Stitch({png, jpeg}, 2, 1).ok);
    Bytes garbage(500);
    for (std::size_t i = 0; i < garbage.size(); ++i) {
        garbage[i] = static_cast<unsigned char>(i * 131 + 7);
    }
    Bytes pngHeaderOnly(png.begin(), png.begin() + 8);
    pngHeaderOnly.insert(pngHeaderOnly.end(), garbage.begin(), garbage.end());
    const Bytes broken[] = {
        {},
        garbage,
        Bytes(png.begin(), png.begin() + static_cast<std::ptrdiff_t>(png.size() / 2)),
        Bytes(jpeg.begin(), jpeg.begin() + static_cast<std::ptrdiff_t>(jpeg.size() / 2)),
        pngHeaderOnly,
    };
    for (const Bytes& bad : broken) {
        SCOPED_TRACE(bad.size());
        ExpectStitchFails({png, bad}, 2, 1);
        ExpectStitchFails({bad, png}, 1, 2);
    }
}

struct CropCase {
    int x, y, w, h;
};

bool Crop(const Bytes& jpeg, CropCase c, Bytes& out) {
    out = {7, 7};
    return CropJpegCentered(jpeg, c.x, c.y, c.w, c.h, out);
}

TEST(CropJpeg, KeepsTheRectangleUpToTheRightAndBottomEdges) {
    const Bytes jpeg = EncodeJpeg(Paint(64, 48, QuadrantPainter(0, 64, 48)));
    Bytes out;
    ASSERT_TRUE(Crop(jpeg, {32, 24, 32, 24}, out));
    Picture cropped = DecodeJpeg(out);
    ASSERT_EQ(cropped.width, 32);
    ASSERT_EQ(cropped.height, 24);
    EXPECT_TRUE(ColourNear(cropped, 16, 12, QuadrantColour(0, 3)));

    // A rectangle spanning the quadrant corner keeps each part where it was.
    ASSERT_TRUE(Crop(jpeg, {16, 12, 32, 24}, out));
    cropped = DecodeJpeg(out);
    ASSERT_EQ(cropped.width, 32);
    EXPECT_TRUE(ColourNear(cropped, 4, 4, QuadrantColour(0, 0)));
    EXPECT_TRUE(ColourNear(cropped, 27, 4, QuadrantColour(0, 1)));
    EXPECT_TRUE(ColourNear(cropped, 4, 19, QuadrantColour(0, 2)));
    EXPECT_TRUE(ColourNear(cropped, 27, 19, QuadrantColour(0, 3)));

    ASSERT_TRUE(Crop(jpeg, {0, 0, 64, 48}, out));
    EXPECT_EQ(DecodeJpeg(out).width, 64);
}

TEST(CropJpeg, RejectsRectanglesNotWhollyInsideAndBadInput) {
    const Bytes jpeg = EncodeJpeg(Paint(64, 48, QuadrantPainter(0, 64, 48)));
    const CropCase outside[] = {{33, 24, 32, 24}, {32, 25, 32, 24}, {0, 0, 65, 48},
                                {0, 0, 64, 49},   {-1, 0, 8, 8},    {0, -1, 8, 8},
                                {0, 0, 0, 8},     {0, 0, 8, 0},     {1, 1, 2147483647, 8}};
    Bytes out;
    for (const CropCase& c : outside) {
        SCOPED_TRACE(testing::Message() << c.x << "," << c.y << " " << c.w << "x" << c.h);
        EXPECT_FALSE(Crop(jpeg, c, out));
        EXPECT_TRUE(out.empty());
    }
    EXPECT_FALSE(Crop({}, {0, 0, 1, 1}, out));
    EXPECT_TRUE(out.empty());
    EXPECT_FALSE(Crop(Bytes(jpeg.begin(), jpeg.begin() + 40), {0, 0, 1, 1}, out));
    EXPECT_TRUE(out.empty());
}

} // namespace
} // namespace Velmora
