#include "Extract/Raster.hpp"
#include "Extract/CategoryPalette.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <tuple>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;
using Pixel = std::tuple<int, int, int>;

unsigned char Byte(std::uint64_t value) {
    return static_cast<unsigned char>(value);
}

Bytes Row(const std::vector<Pixel>& pixels) {
    Bytes rgb;
    for (const auto& [r, g, b] : pixels) {
        rgb.insert(rgb.end(), {Byte(r), Byte(g), Byte(b)});
    }
    return rgb;
}

template <typename PixelAt>
Bytes Paint(int width, int height, PixelAt pixelAt) {
    std::vector<Pixel> pixels;
    for (int at = 0; at < width * height; ++at) {
        pixels.push_back(pixelAt(at % width, at / width));
    }
    return Row(pixels);
}

// Pixel (x, y) is (x0 + x, y0 + y, 7), so any misplaced or swapped byte shows.
Bytes CoordinateRaster(int width, int height, int x0 = 0, int y0 = 0) {
    return Paint(width, height, [=](int x, int y) { return Pixel{x0 + x, y0 + y, 7}; });
}

// Catches truncation instead of half-up rounding, an odd surplus put on the left, a sliver
// crop of zero width, and overflow on huge sizes.
TEST(SafeFrameCrop, CentresTheLargestRectangleWithHalfUpRounding) {
    // Image size and aspect, then x, y, width, height and `needed`. 9 * 3 / 2 = 13.5 rounds up.
    const std::array<int, 9> cases[] = {
        {1000, 1000, 16, 9, 0, 218, 1000, 563, 1},
        {1920, 1080, 16, 9, 0, 0, 1920, 1080, 0},
        {100, 9, 3, 2, 43, 0, 14, 9, 1},
        {1001, 500, 1, 1, 250, 0, 500, 500, 1},
        {3, 1, 1, 100, 1, 0, 1, 1, 1},
        {INT_MAX, INT_MAX, 1, INT_MAX, INT_MAX / 2, 0, 1, INT_MAX, 1},
        {0, 10, 1, 1, 0, 0, 0, 0, 0},
        {10, 10, 1, -3, 0, 0, 0, 0, 0}};
    for (const auto& c : cases) {
        const SafeFrameRect r = ComputeSafeFrameCrop(c[0], c[1], c[2], c[3]);
        EXPECT_EQ((std::array<int, 5>{r.x, r.y, r.width, r.height, r.needed}),
                  (std::array<int, 5>{c[4], c[5], c[6], c[7], c[8]}))
            << c[0] << "x" << c[1] << " at " << c[2] << ":" << c[3];
    }
}

// Catches a crop that clips a rectangle reaching past an edge instead of refusing it, one
// applied although not needed, and a refused crop that still changes the raster.
TEST(CropRgb, CopiesOnlyRectanglesThatFitAndLeavesTheRasterAloneOtherwise) {
    const auto crop = [](const SafeFrameRect& rect) {
        Bytes rgb = CoordinateRaster(6, 5);
        int width = 6, height = 5;
        const bool cropped = CropRgbInPlace(rgb, width, height, rect);
        return std::make_tuple(cropped, width, height, rgb);
    };
    const Bytes whole = CoordinateRaster(6, 5);
    EXPECT_EQ(crop(SafeFrameRect{2, 1, 4, 4, true}), // touches both far edges
              std::make_tuple(true, 4, 4, CoordinateRaster(4, 4, 2, 1)));
    EXPECT_EQ(crop(SafeFrameRect{1, 1, 1, 1, false}), std::make_tuple(true, 6, 5, whole));
    const SafeFrameRect bad[] = {
        {1, 0, 6, 5, true}, {0, 1, 6, 5, true}, {-1, 0, 2, 2, true},           {0, -1, 2, 2, true},
        {0, 0, 0, 2, true}, {0, 0, 2, 0, true}, {INT_MAX, 0, INT_MAX, 1, true}};
    for (const SafeFrameRect& rect : bad) {
        EXPECT_EQ(crop(rect), std::make_tuple(false, 6, 5, whole)) << rect.x << "," << rect.y;
    }
}

void Put32(Bytes& bytes, std::size_t at, std::int64_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[at + i] = Byte(static_cast<std::uint64_t>(value) >> (8 * i));
    }
}

// Pixels as CoordinateRaster paints them; row padding and the fourth byte of 32-bit pixels hold
// junk that must not leak. `gap` bytes lie between the headers and the pixels.
Bytes MakeBmp(int width = 5, int height = 3, int bits = 24, std::int64_t headerSize = 40,
              int gap = 0, bool bitFields = false) {
    const std::int64_t offset = std::max<std::int64_t>(14 + headerSize, bitFields ? 66 : 0) + gap;
    const int rows = std::abs(height);
    const std::size_t depth = bits / 8u;
    const std::size_t stride = (width * depth + 3) & ~std::size_t{3};
    Bytes bmp = {'B', 'M'};
    bmp.resize(static_cast<std::size_t>(offset), 0);
    bmp.resize(bmp.size() + stride * static_cast<std::size_t>(rows), 0xEE);
    const std::int64_t fields[] = {offset, headerSize,       width,
                                   height, 1 + (bits << 16), bitFields ? 3 : 0};
    for (std::size_t i = 0; i < 6; ++i) {
        Put32(bmp, 10 + 4 * i, fields[i]);
    }
    for (std::size_t i = 0; bitFields && i < 3; ++i) {
        Put32(bmp, 54 + 4 * i, 0xFF0000u >> (8 * i));
    }
    for (int y = 0; y < rows; ++y) {
        const std::size_t stored = height > 0 ? rows - 1 - y : y;
        for (int x = 0; x < width; ++x) {
            const unsigned char bgr[] = {7, Byte(y), Byte(x)};
            std::copy(bgr, bgr + 3, bmp.begin() + offset + stored * stride + x * depth);
        }
    }
    return bmp;
}

// Catches a layout the host writes refused (top-down, 32-bit, long headers, bit fields, a gap
// before the pixels), junk from padding leaking, and a damaged or oversized file read anyway.
TEST(BmpDecoder, DecodesTheAcceptedLayoutsAndRejectsOthersWithClearedOutputs) {
    const Bytes valid = MakeBmp();
    const auto damaged = [](Bytes bmp, std::size_t at, std::int64_t value) {
        Put32(bmp, at, value);
        return bmp;
    };
    const Bytes fields = MakeBmp(5, 3, 32, 40, 0, true);
    const Bytes cutShort = damaged(damaged(MakeBmp(1, 1, 32), 30, 3), 54, 0xFF0000); // 58 bytes
    const std::tuple<std::string, Bytes, int, int> files[] = {
        {"bottom-up 24 bits", valid, 5, 3},
        {"top-down 32 bits", MakeBmp(5, -3, 32), 5, 3},
        {"long header and a gap", MakeBmp(5, -3, 32, 124, 9), 5, 3},
        {"bit fields", fields, 5, 3},
        {"widest, filling the file exactly", MakeBmp(100000, -1), 100000, 1},
        {"tallest, filling the file exactly", MakeBmp(1, 100000), 1, 100000},
        {"red mask", damaged(fields, 54, 0xFF), 0, 0},
        {"bit fields cut short after the red mask", cutShort, 0, 0},
        {"no signature", damaged(valid, 0, 'B' | ('A' << 8)), 0, 0},
        {"shorter than a header", Bytes(valid.begin(), valid.begin() + 53), 0, 0},
        {"one byte of pixels missing", Bytes(valid.begin(), valid.end() - 1), 0, 0},
        {"core header", damaged(valid, 14, 12), 0, 0},
        {"pixels inside the header", damaged(valid, 10, 53), 0, 0},
        {"16 bits", damaged(valid, 26, 1 + (16u << 16)), 0, 0},
        {"RLE8", damaged(valid, 30, 1), 0, 0},
        {"zero height", damaged(valid, 22, 0), 0, 0},
        {"too wide", MakeBmp(100001, 1), 0, 0},
        {"too tall", MakeBmp(1, -100001), 0, 0},
        {"most negative height", damaged(valid, 22, 0x80000000u), 0, 0},
        {"offset past the end", damaged(valid, 10, 0xFFFFFFF0u), 0, 0},
        {"huge header size", damaged(valid, 14, 0xFFFFFFFFu), 0, 0}};
    for (const auto& [name, bmp, width, height] : files) {
        int w = 99, h = 99;
        Bytes rgb = {1, 2, 3};
        EXPECT_EQ(DecodeBmpToRgb(bmp, w, h, rgb), width != 0) << name;
        EXPECT_EQ(std::make_tuple(w, h, rgb),
                  std::make_tuple(width, height, CoordinateRaster(width, height)))
            << name;
    }
}

Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes Segment(unsigned char marker, const Bytes& payload) {
    return Concat(
        {{0xFF, marker, Byte((payload.size() + 2) >> 8), Byte(payload.size() + 2)}, payload});
}

// A frame header of three components, as an encoder writes it.
Bytes Frame(unsigned char marker, int width, int height) {
    return Segment(marker,
                   Concat({{8, Byte(height >> 8), Byte(height), Byte(width >> 8), Byte(width), 3},
                           Bytes(9, 0x11)}));
}

// Catches a walk that takes a size from a non-frame segment, misreads fill bytes, reads past
// the end, or sets the size without finding a frame.
TEST(JpegPixelSize, WalksTheMarkersToTheFirstFrameAndLeavesTheSizeAloneWithoutOne) {
    const Bytes soi = {0xFF, 0xD8};
    const Bytes decoy = Frame(0xC0, 1, 1);
    const Bytes appAndFrame = Concat({soi, Segment(0xE0, {0xAA, 0xBB}), Frame(0xC0, 77, 55)});
    const Bytes standAlone = {0xFF, 0xD0, 0xFF, 0xD7, 0xFF, 0x01, 0xFF, 0xD9, 0x00, 0x12, 0xC0};
    const int none = -7; // the size a walk that finds no frame must leave untouched
    const std::tuple<Bytes, int, int> cases[] = {
        {Concat({soi, standAlone, Segment(0xC4, decoy), Segment(0xC8, {0, 0}),
                 Segment(0xCC, {0xC0, 0xC0}), Segment(0xE0, decoy), Frame(0xC0, 640, 480)}),
         640, 480},
        // Skipping the second FF as fill would read 00 as the marker and 0x0640 as a length.
        {Concat({soi, {0xFF, 0xFF, 0x00, 0x06, 0x40, 0x00, 0x00, 0x00}, Frame(0xC0, 9, 7)}), 9, 7},
        {Bytes(appAndFrame.begin(), appAndFrame.end() - 9), 77, 55},      // cut after the sizes
        {Bytes(appAndFrame.begin(), appAndFrame.end() - 10), none, none}, // one byte shorter
        {Concat({{0xFF, 0xD9}, decoy}), none, none},
        {Concat({{0x00, 0xD8}, decoy}), none, none},
        {Concat({soi, {0xFF, 0xE0, 0x00, 0x01}, decoy}), none, none},
        {Concat({soi, Segment(0xE0, Bytes(40, 0))}), none, none},
        {Concat({soi, Frame(0xC1, 1024, 65535), Frame(0xC0, 5, 5)}), 1024, 65535},
        {Concat({soi, Frame(0xCF, 65535, 1024), Frame(0xC0, 5, 5)}), 65535, 1024}};
    for (const auto& [jpeg, width, height] : cases) {
        int w = none, h = none;
        EXPECT_EQ(JpegPixelSize(jpeg, w, h), width != none) << jpeg.size();
        EXPECT_EQ(std::make_pair(w, h), std::make_pair(width, height)) << jpeg.size();
    }
}

Pixel Channels(Rgb8 colour) {
    return {colour.r, colour.g, colour.b};
}

// Catches a wrong colour for any category, a wrap of the instance range one early or late,
// negative indices not folded, and level boundaries rounded the wrong way.
TEST(CategoryPalette, IndicesHaveFixedColoursAndColoursSnapToTheNearestLevels) {
    const std::pair<int, Pixel> table[] = {
        {Wall, {15, 15, 15}},      {Slab, {146, 221, 34}},        {Roof, {53, 184, 53}},
        {Column, {203, 146, 71}},  {Beam, {109, 109, 90}},        {Window, {15, 71, 109}},
        {Door, {165, 34, 128}},    {CurtainWall, {53, 240, 146}}, {Railing, {203, 203, 165}},
        {Object, {109, 165, 184}}, {Stair, {15, 128, 203}},       {Mesh, {165, 90, 221}},
        {Shell, {71, 53, 240}},    {Morph, {221, 34, 15}},        {Other, {109, 240, 34}},
        {15, {15, 203, 53}},       {2196, {109, 34, 240}},        {2197 + 15, {15, 203, 53}},
        {-5, {15, 15, 15}},        {INT_MIN, {15, 15, 15}}};
    for (const auto& [index, colour] : table) {
        EXPECT_EQ(Channels(ColorForIndex(index)), colour) << index;
    }
    EXPECT_EQ(Channels(ColorForCategory(Door)), Channels(ColorForIndex(Door)));
    EXPECT_EQ(Channels(ColorForIndex(INT_MAX)), Channels(ColorForIndex(INT_MAX % 2197)));
    // Level boundaries lie on the unrounded grid 15 + 18.75 * (digit + 0.5), so 62, 137 and
    // 212, halfway between two rounded levels, go up. Squared errors add up over the channels.
    const std::tuple<Rgb8, Pixel, long> colourToLevels[] = {
        {{0, 24, 25}, {15, 15, 34}, 225 + 81 + 81},
        {{61, 62, 137}, {53, 71, 146}, 64 + 81 + 81},
        {{212, 255, 15}, {221, 240, 15}, 81 + 225}};
    for (const auto& [colour, levels, error] : colourToLevels) {
        long sqErr = -1;
        EXPECT_EQ(Channels(ColorForIndex(LatticeIndexForColor(colour, &sqErr))), levels) << error;
        EXPECT_EQ(sqErr, error);
    }
}

// Catches a type mapped to its neighbour's category and a sub-element given its whole's.
TEST(CategoryPalette, ElementTypesMapToTheirCategoriesAndSubElementsToOther) {
    using namespace Host;
    const API_ElemTypeID inCategoryOrder[] = {
        API_WallID,   API_SlabID, API_RoofID,        API_ColumnID,  API_BeamID,
        API_WindowID, API_DoorID, API_CurtainWallID, API_RailingID, API_ObjectID,
        API_StairID,  API_MeshID, API_ShellID,       API_MorphID};
    for (int category = Wall; category < Other; ++category) {
        EXPECT_EQ(CategoryOfElemType(inCategoryOrder[category]), category) << category;
    }
    EXPECT_EQ(CategoryOfElemType(API_LampID), Object);
    EXPECT_EQ(CategoryOfElemType(API_CurtainWallPanelID), Other); // a part, not its whole
}

// Catches a pass that trusts width and height over its buffers' sizes: it would read or write
// past their ends (ASan shows it). Each must refuse and leave its output as it was. What the
// passes compute is matched against their plain rules over random inputs elsewhere.
TEST(ShortRaster, EveryPassRefusesABufferThatDoesNotHoldItsShape) {
    Bytes shortRaster = CoordinateRaster(6, 5);
    shortRaster.pop_back();
    Bytes rgb = shortRaster;
    int width = 6, height = 5;
    EXPECT_FALSE(CropRgbInPlace(rgb, width, height, SafeFrameRect{0, 4, 6, 1, true}));
    EXPECT_EQ(std::make_tuple(rgb, width, height), std::make_tuple(shortRaster, 6, 5));
    SnapRgbToLatticeSet(rgb, 6, 5, std::vector<unsigned char>(kLatticeSize, 1), 250, -1);
    EXPECT_EQ(rgb, shortRaster);

    Bytes out = {9};
    EXPECT_FALSE(ScaleRgbNearest(CoordinateRaster(2, 2), 2, 3, 4, 4, out));
    EXPECT_FALSE(ScaleRgbNearest(CoordinateRaster(2, 2), 2, 2, 4, 0, out));
    const Bytes colour = CoordinateRaster(6, 3);
    EXPECT_FALSE(RatioRecoverColors(colour, Bytes(53), 6, 3, out, 4));
    EXPECT_FALSE(RatioRecoverColors(Bytes(53), colour, 6, 3, out, 4));
    EXPECT_FALSE(RatioRecoverColors(colour, colour, 7, 3, out, 4));
    EXPECT_EQ(out, Bytes{9});
}

} // namespace
} // namespace Velmora
