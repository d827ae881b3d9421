#include "Extract/Raster.hpp"
#include "Extract/CategoryPalette.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>
#include <tuple>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;
using Pixel = std::tuple<int, int, int>;

template <typename PixelAt>
Bytes Paint(int width, int height, PixelAt pixelAt) {
    Bytes rgb;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const auto [r, g, b] = pixelAt(x, y);
            rgb.insert(rgb.end(), {static_cast<unsigned char>(r), static_cast<unsigned char>(g),
                                   static_cast<unsigned char>(b)});
        }
    }
    return rgb;
}

// Pixel (x, y) is (x0 + x, y0 + y, 7), so any misplaced or swapped byte shows.
Bytes CoordinateRaster(int width, int height, int x0 = 0, int y0 = 0) {
    return Paint(width, height, [=](int x, int y) { return Pixel{x0 + x, y0 + y, 7}; });
}

SafeFrameRect Rect(int x, int y, int width, int height) {
    return SafeFrameRect{x, y, width, height, true};
}

TEST(SafeFrameCrop, CentresTheLargestRectangleWithHalfUpRounding) {
    struct Case {
        int w, h, aw, ah, x, y, cw, ch;
        bool needed;
    };
    // 9 * 3 / 2 = 13.5 rounds up to 14; an odd surplus leaves its extra pixel on the right; a
    // sliver is widened to one pixel; huge sizes do not overflow; non-positive ones give nothing.
    const int mid = (INT_MAX - 1) / 2;
    const Case cases[] = {{1000, 1000, 16, 9, 0, 218, 1000, 563, true},
                          {1920, 1080, 16, 9, 0, 0, 1920, 1080, false},
                          {100, 9, 3, 2, 43, 0, 14, 9, true},
                          {1001, 500, 1, 1, 250, 0, 500, 500, true},
                          {3, 1, 1, 100, 1, 0, 1, 1, true},
                          {INT_MAX, INT_MAX, INT_MAX, 1, 0, mid, INT_MAX, 1, true},
                          {INT_MAX, INT_MAX, 1, INT_MAX, mid, 0, 1, INT_MAX, true},
                          {0, 10, 1, 1, 0, 0, 0, 0, false},
                          {10, -1, 1, 1, 0, 0, 0, 0, false},
                          {10, 10, 0, 1, 0, 0, 0, 0, false},
                          {10, 10, 1, -3, 0, 0, 0, 0, false}};
    for (const Case& c : cases) {
        const SafeFrameRect r = ComputeSafeFrameCrop(c.w, c.h, c.aw, c.ah);
        EXPECT_EQ(std::make_tuple(r.x, r.y, r.width, r.height, r.needed),
                  std::make_tuple(c.x, c.y, c.cw, c.ch, c.needed))
            << c.w << "x" << c.h << " at " << c.aw << ":" << c.ah;
    }
}

TEST(CropRgb, CopiesOnlyRectanglesThatFitAndLeavesTheRasterAloneOtherwise) {
    Bytes rgb = CoordinateRaster(6, 5);
    int width = 6;
    int height = 5;
    ASSERT_TRUE(CropRgbInPlace(rgb, width, height, Rect(2, 1, 4, 4))); // touches both far edges
    EXPECT_EQ(std::make_pair(width, height), std::make_pair(4, 4));
    EXPECT_EQ(rgb, CoordinateRaster(4, 4, 2, 1));
    SafeFrameRect unneeded = Rect(1, 1, 1, 1);
    unneeded.needed = false;
    EXPECT_TRUE(CropRgbInPlace(rgb, width, height, unneeded));
    EXPECT_EQ(rgb, CoordinateRaster(4, 4, 2, 1));

    const SafeFrameRect bad[] = {
        Rect(1, 0, 6, 5), Rect(0, 1, 6, 5), Rect(-1, 0, 2, 2),           Rect(0, -1, 2, 2),
        Rect(0, 0, 0, 2), Rect(0, 0, 2, 0), Rect(INT_MAX, 0, INT_MAX, 1)};
    for (const SafeFrameRect& rect : bad) {
        rgb = CoordinateRaster(6, 5);
        width = 6;
        height = 5;
        EXPECT_FALSE(CropRgbInPlace(rgb, width, height, rect)) << rect.x << "," << rect.y;
        EXPECT_EQ(rgb, CoordinateRaster(6, 5));
        EXPECT_EQ(std::make_pair(width, height), std::make_pair(6, 5));
    }
    rgb = CoordinateRaster(6, 4); // shorter than its stated size
    EXPECT_FALSE(CropRgbInPlace(rgb, width, height, Rect(0, 0, 2, 2)));
}

TEST(ScaleNearest, RepeatsPixelsWhenEnlargingAndSamplesCentresWhenShrinking) {
    Bytes dst;
    ASSERT_TRUE(ScaleRgbNearest(CoordinateRaster(3, 2), 3, 2, 9, 6, dst));
    EXPECT_EQ(dst, Paint(9, 6, [](int x, int y) { return Pixel{x / 3, y / 3, 7}; }));
    // Block centres fall on source pixels 1 and 3, not 0 and 2.
    ASSERT_TRUE(ScaleRgbNearest(CoordinateRaster(4, 4), 4, 4, 2, 2, dst));
    EXPECT_EQ(dst, (Bytes{1, 1, 7, 3, 1, 7, 1, 3, 7, 3, 3, 7}));
    ASSERT_TRUE(ScaleRgbNearest(CoordinateRaster(3, 1), 3, 1, 2, 2, dst));
    EXPECT_EQ(dst, (Bytes{0, 0, 7, 2, 0, 7, 0, 0, 7, 2, 0, 7}));

    const Bytes src = CoordinateRaster(2, 2);
    dst = {9};
    EXPECT_FALSE(ScaleRgbNearest(src, 2, 3, 4, 4, dst));
    EXPECT_FALSE(ScaleRgbNearest(Bytes(src.begin(), src.end() - 1), 2, 2, 4, 4, dst));
    EXPECT_FALSE(ScaleRgbNearest(Bytes(src.size() + 3), 2, 2, 4, 4, dst));
    EXPECT_FALSE(ScaleRgbNearest(src, 2, 2, 4, 0, dst));
    EXPECT_FALSE(ScaleRgbNearest(Bytes{}, 0, 0, 4, 4, dst));
    EXPECT_EQ(dst, Bytes{9});
}

void Put32(Bytes& bytes, std::size_t at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[at + i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

struct BmpLayout {
    std::int32_t width = 5;
    std::int32_t height = 3; // negative: rows stored top-down
    std::uint16_t bits = 24;
    std::uint32_t headerSize = 40;
    std::uint32_t gap = 0;  // bytes between the headers and the pixels
    bool bitFields = false; // with red, green and blue masks
};

// Row padding and the fourth byte of 32-bit pixels hold junk that must not leak.
Bytes MakeBmp(const BmpLayout& layout) {
    const std::size_t offset =
        std::max<std::size_t>(14 + layout.headerSize, layout.bitFields ? 66 : 0) + layout.gap;
    const int rows = std::abs(layout.height);
    const std::size_t depth = layout.bits / 8u;
    const std::size_t stride = (layout.width * depth + 3) & ~std::size_t{3};
    Bytes bmp(offset + stride * static_cast<std::size_t>(rows), 0xEE);
    std::fill(bmp.begin(), bmp.begin() + static_cast<std::ptrdiff_t>(offset), 0);
    const std::uint32_t fields[] = {
        static_cast<std::uint32_t>(offset),       layout.headerSize,
        static_cast<std::uint32_t>(layout.width), static_cast<std::uint32_t>(layout.height),
        1u + (std::uint32_t{layout.bits} << 16),  layout.bitFields ? 3u : 0u};
    Put32(bmp, 0, 'B' | ('M' << 8));
    for (std::size_t i = 0; i < 6; ++i) {
        Put32(bmp, 10 + 4 * i, fields[i]);
    }
    for (std::size_t i = 0; layout.bitFields && i < 3; ++i) {
        Put32(bmp, 54 + 4 * i, 0xFF0000u >> (8 * i));
    }
    const Bytes rgb = CoordinateRaster(layout.width, rows);
    for (int y = 0; y < rows; ++y) {
        const int stored = layout.height > 0 ? rows - 1 - y : y;
        unsigned char* out = bmp.data() + offset + static_cast<std::size_t>(stored) * stride;
        for (int x = 0; x < layout.width; ++x, out += depth) {
            const unsigned char* in = rgb.data() + (y * layout.width + x) * 3;
            std::copy(std::make_reverse_iterator(in + 3), std::make_reverse_iterator(in), out);
        }
    }
    return bmp;
}

TEST(BmpDecoder, DecodesEveryAcceptedLayout) {
    // Both depths and row orders, longer headers with a gap before the pixels, bit fields, and
    // the widest and tallest pictures with their pixels filling the file exactly.
    const BmpLayout layouts[] = {{5, 3, 24, 40, 0, false},       {5, -3, 24, 40, 0, false},
                                 {5, 3, 32, 40, 0, false},       {5, -3, 32, 40, 0, false},
                                 {5, 3, 24, 108, 9, false},      {5, -3, 32, 124, 9, false},
                                 {5, 3, 32, 40, 0, true},        {5, 3, 32, 108, 0, true},
                                 {100000, -1, 24, 40, 0, false}, {1, 100000, 24, 40, 0, false}};
    for (const BmpLayout& layout : layouts) {
        int width = 0;
        int height = 0;
        Bytes rgb;
        const int rows = std::abs(layout.height);
        EXPECT_TRUE(DecodeBmpToRgb(MakeBmp(layout), width, height, rgb)) << &layout - layouts;
        EXPECT_EQ(std::make_pair(width, height), std::make_pair(layout.width, rows));
        EXPECT_EQ(rgb, CoordinateRaster(layout.width, rows)) << &layout - layouts;
    }
}

TEST(BmpDecoder, RejectsMalformedAndUnsupportedFilesWithClearedOutputs) {
    const Bytes valid = MakeBmp(BmpLayout{});
    const auto damaged = [](Bytes bmp, std::size_t at, std::uint32_t value) {
        Put32(bmp, at, value);
        return bmp;
    };
    const Bytes fields = MakeBmp({5, 3, 32, 40, 0, true});
    const BmpLayout tiny = {1, 1, 32}; // 58 bytes: no room for the green and blue masks
    const std::pair<std::string, Bytes> files[] = {
        {"red mask", damaged(fields, 54, 0xFF)},
        {"green mask", damaged(fields, 58, 0xFF)},
        {"blue mask", damaged(fields, 62, 0xFF00)},
        {"bit fields at 24 bits", MakeBmp({5, 3, 24, 40, 0, true})},
        {"bit fields cut short after the red mask",
         damaged(damaged(MakeBmp(tiny), 30, 3), 54, 0xFF0000)},
        {"no signature", damaged(valid, 0, 'B' | ('A' << 8))},
        {"shorter than a header", Bytes(valid.begin(), valid.begin() + 53)},
        {"one byte of pixels missing", Bytes(valid.begin(), valid.end() - 1)},
        {"core header", damaged(valid, 14, 12)},
        {"pixels inside the header", damaged(valid, 10, 53)},
        {"16 bits", damaged(valid, 26, 1 + (16u << 16))},
        {"RLE8", damaged(valid, 30, 1)},
        {"zero height", damaged(valid, 22, 0)},
        {"zero width", damaged(valid, 18, 0)},
        {"negative width", damaged(valid, 18, static_cast<std::uint32_t>(-5))},
        {"too wide", MakeBmp({100001, 1})},
        {"too tall top-down", MakeBmp({1, -100001})},
        {"most negative height", damaged(valid, 22, 0x80000000u)},
        {"offset past the end", damaged(valid, 10, 0xFFFFFFF0u)},
        {"huge header size", damaged(valid, 14, 0xFFFFFFFFu)},
    };
    for (const auto& [name, bmp] : files) {
        int width = 99;
        int height = 99;
        Bytes rgb = {1, 2, 3};
        EXPECT_FALSE(DecodeBmpToRgb(bmp, width, height, rgb)) << name;
        EXPECT_EQ(std::make_tuple(width, height, rgb.size()), std::make_tuple(0, 0, 0u)) << name;
    }
}

Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

// A frame header of three components, as an encoder writes it.
Bytes Frame(unsigned char marker, int width, int height) {
    const auto byte = [](int value) { return static_cast<unsigned char>(value); };
    return Concat({{0xFF, marker, 0x00, 0x11, 0x08, byte(height >> 8), byte(height),
                    byte(width >> 8), byte(width), 0x03},
                   Bytes(9, 0x11)});
}

Bytes Segment(unsigned char marker, const Bytes& payload) {
    const auto length = payload.size() + 2;
    return Concat({{0xFF, marker, static_cast<unsigned char>(length >> 8),
                    static_cast<unsigned char>(length)},
                   payload});
}

TEST(JpegPixelSize, WalksTheMarkersToTheFirstFrame) {
    const Bytes soi = {0xFF, 0xD8};
    const Bytes decoy = Frame(0xC0, 1, 1);
    const Bytes appAndFrame = Concat({soi, Segment(0xE0, {0xAA, 0xBB}), Frame(0xC0, 77, 55)});
    std::vector<std::tuple<Bytes, int, int>> sized = {
        {Concat({soi, Segment(0xC4, decoy), Segment(0xC8, {0, 0}), Segment(0xCC, {0xC0, 0xC0}),
                 Segment(0xE0, decoy), Frame(0xC0, 640, 480)}),
         640, 480},
        {Concat({soi,
                 {0xFF, 0xD0, 0xFF, 0xD7, 0xFF, 0x01, 0xFF, 0xD8, 0xFF, 0xD9, 0x00, 0x12, 0xC0},
                 Frame(0xC0, 3, 4)}),
         3, 4},
        // Skipping the second FF as fill would read 00 as the marker and 0x0640 as a length.
        {Concat({soi, {0xFF, 0xFF, 0x00, 0x06, 0x40, 0x00, 0x00, 0x00}, Frame(0xC0, 9, 7)}), 9, 7},
        {Bytes(appAndFrame.begin(), appAndFrame.end() - 9), 77, 55}, // cut after the sizes
    };
    for (unsigned char marker : {0xC1, 0xC2, 0xC3, 0xC7, 0xCB, 0xCF}) {
        sized.emplace_back(Concat({soi, Frame(marker, 1024, 65535), Frame(0xC0, 5, 5)}), 1024,
                           65535);
    }
    for (std::size_t i = 0; i < sized.size(); ++i) {
        const auto& [jpeg, width, height] = sized[i];
        int w = 0;
        int h = 0;
        EXPECT_TRUE(JpegPixelSize(jpeg, w, h)) << i;
        EXPECT_EQ(std::make_pair(w, h), std::make_pair(width, height)) << i;
    }
    const Bytes unsized[] = {
        {},
        Bytes(appAndFrame.begin(), appAndFrame.end() - 10), // a byte short of the walk's margin
        Concat({{0xFF, 0xD9}, decoy}),
        Concat({{0x00, 0xD8}, decoy}),
        Concat({soi, {0xFF, 0xE0, 0x00, 0x01}, decoy}),
        Concat({soi, {0xFF, 0xE0, 0xFF, 0xF0}, decoy}),
        Concat({soi, Segment(0xE0, Bytes(40, 0))}),
    };
    for (const Bytes& jpeg : unsized) {
        int width = -7;
        int height = -9;
        EXPECT_FALSE(JpegPixelSize(jpeg, width, height)) << &jpeg - unsized;
        EXPECT_EQ(std::make_pair(width, height), std::make_pair(-7, -9)); // left untouched
    }
}

Pixel Channels(Rgb8 colour) {
    return {colour.r, colour.g, colour.b};
}

Bytes Row(std::initializer_list<Pixel> pixels) {
    Bytes rgb;
    for (const auto& [r, g, b] : pixels) {
        rgb.insert(rgb.end(), {static_cast<unsigned char>(r), static_cast<unsigned char>(g),
                               static_cast<unsigned char>(b)});
    }
    return rgb;
}

TEST(CategoryPalette, CategoriesAndIndicesHaveFixedColoursAndOutOfRangeIndicesClampOrWrap) {
    const std::pair<int, Pixel> table[] = {
        {Wall, {15, 15, 15}},      {Slab, {146, 221, 34}},        {Roof, {53, 184, 53}},
        {Column, {203, 146, 71}},  {Beam, {109, 109, 90}},        {Window, {15, 71, 109}},
        {Door, {165, 34, 128}},    {CurtainWall, {53, 240, 146}}, {Railing, {203, 203, 165}},
        {Object, {109, 165, 184}}, {Stair, {15, 128, 203}},       {Mesh, {165, 90, 221}},
        {Shell, {71, 53, 240}},    {Morph, {221, 34, 15}},        {Other, {109, 240, 34}},
        {15, {15, 203, 53}},       {2196, {109, 34, 240}},        {2197 + 15, {15, 203, 53}},
        {-5, {15, 15, 15}},        {INT_MIN, {15, 15, 15}},
    };
    for (const auto& [index, colour] : table) {
        EXPECT_EQ(Channels(ColorForIndex(index)), colour) << index;
    }
    EXPECT_EQ(Channels(ColorForCategory(Door)), Channels(ColorForIndex(Door)));
    EXPECT_EQ(Channels(ColorForIndex(INT_MAX)), Channels(ColorForIndex(INT_MAX % 2197)));
}

// Level boundaries lie on the unrounded grid 15 + 18.75 * (digit + 0.5), so 62, 137 and 212,
// halfway between two rounded levels, go up.
TEST(CategoryPalette, SnapsChannelsToTheirLevelsAndSumsTheSquaredErrors) {
    const std::pair<int, int> valueToLevel[] = {{0, 15},  {24, 15},   {25, 34},   {61, 53},
                                                {62, 71}, {137, 146}, {212, 221}, {255, 240}};
    for (const auto& [value, level] : valueToLevel) {
        long sqErr = -1;
        const int index =
            LatticeIndexForColor(Rgb8{static_cast<std::uint8_t>(value), 15, 15}, &sqErr);
        EXPECT_EQ(Channels(ColorForIndex(index)), Pixel(level, 15, 15)) << value;
        EXPECT_EQ(sqErr, (value - level) * (value - level)) << value;
    }
    long sqErr = 0;
    const int index = LatticeIndexForColor(Rgb8{24, 25, 255}, &sqErr);
    EXPECT_EQ(Channels(ColorForIndex(index)), Pixel(15, 34, 240));
    EXPECT_EQ(sqErr, 81 + 81 + 225);
}

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
    for (API_ElemTypeID type :
         {API_CurtainWallPanelID, API_RailingPostID, API_BeamSegmentID, API_ZoneID}) {
        EXPECT_EQ(CategoryOfElemType(type), Other) << static_cast<int>(type);
    }
}

TEST(RatioRecover, DividesOutTheShadingAndFillsHolesWithinTheRowOnly) {
    const Pixel o{0, 0, 0};
    const Pixel w{255, 255, 255};
    const Pixel a{255, 128, 2};
    const Pixel dim{3, 3, 3};       // below the reference floor: a hole
    const Pixel shaded{127, 64, 1}; // against `shade`: 255, 128.5 and 127.5 round up
    const Pixel shade{127, 127, 2};
    const Pixel green{10, 200, 10}; // against `redOnly`: red clamps, zero divides to zero
    const Pixel redOnly{4, 0, 0};
    // Row 0 has holes before, between and after known pixels; row 1 is all holes.
    const Bytes colour = Row({o, a, o, o, shaded, o, a, a, a, a, a, a, o, o, o, o, o, green});
    const Bytes reference = Row({o, w, dim, o, shade, o, o, o, o, o, o, o, o, o, o, o, o, redOnly});
    Bytes out;
    ASSERT_TRUE(RatioRecoverColors(colour, reference, 6, 3, out, 4));
    const Pixel h{255, 129, 128};
    const Pixel r{255, 0, 0};
    EXPECT_EQ(out, Row({a, a, a, a, h, h, w, w, w, w, w, w, r, r, r, r, r, r}));
}

TEST(RatioRecover, RejectsMismatchedSizes) {
    const Bytes two(6, 100);
    Bytes out = {1};
    EXPECT_FALSE(RatioRecoverColors(two, Bytes(5, 100), 2, 1, out, 4));
    EXPECT_FALSE(RatioRecoverColors(Bytes(5, 100), two, 2, 1, out, 4));
    EXPECT_FALSE(RatioRecoverColors(two, two, 3, 1, out, 4));
    EXPECT_EQ(out, Bytes{1});
}

// Snapping goes through per-channel tables and reuses results along runs; it must agree with
// the per-pixel rule: white from the floor up, else the lattice colour when in use and close
// enough, else white.
TEST(SnapToLattice, AgreesWithThePerPixelRuleOverEveryChannelValue) {
    std::vector<unsigned char> inUse(kLatticeSize, 0);
    for (std::size_t index = 0; index < inUse.size(); index += 3) {
        inUse[index] = 1;
    }
    inUse[649] = 1; // (240, 240, 240), next to the background
    const int greens[] = {0, 14, 15, 24, 25, 53, 99, 146, 200, 240, 249, 250, 255};
    const Bytes rgb = Paint(256, 256 * 13, [&](int x, int y) {
        return Pixel{y % 256, greens[y / 256], x};
    });
    for (long maxSqError : {64L, -1L}) {
        Bytes snapped = rgb;
        SnapRgbToLatticeSet(snapped, 256, 256 * 13, inUse, 250, maxSqError);
        for (std::size_t at = 0; at < rgb.size(); at += 3) {
            const Rgb8 in{rgb[at], rgb[at + 1], rgb[at + 2]};
            long sqErr = 0;
            const int index = LatticeIndexForColor(in, &sqErr);
            const bool keep = std::min({in.r, in.g, in.b}) < 250 && inUse[index] != 0 &&
                              (maxSqError < 0 || sqErr <= maxSqError);
            ASSERT_EQ(Pixel(snapped[at], snapped[at + 1], snapped[at + 2]),
                      keep ? Channels(ColorForIndex(index)) : Pixel(255, 255, 255))
                << int{in.r} << "," << int{in.g} << "," << int{in.b} << " limit " << maxSqError;
        }
    }
}

TEST(SnapToLattice, InvalidInputsLeaveTheRasterAloneAndBytesBeyondItStay) {
    const Bytes original = Row({{15, 15, 16}, {15, 15, 16}});
    Bytes rgb = original;
    std::vector<unsigned char> inUse(kLatticeSize, 0);
    inUse[0] = 1;
    SnapRgbToLatticeSet(rgb, 2, 1, std::vector<unsigned char>(kLatticeSize - 1, 1), 250, 64);
    SnapRgbToLatticeSet(rgb, 1, 3, inUse, 250, 64);
    SnapRgbToLatticeSet(rgb, 0, 1, inUse, 250, 64);
    EXPECT_EQ(rgb, original);
    SnapRgbToLatticeSet(rgb, 1, 1, inUse, 250, 64);
    EXPECT_EQ(rgb, Row({{15, 15, 15}, {15, 15, 16}}));
}

TEST(ForegroundFraction, CountsPixelsWithAnyChannelBelowTheFloor) {
    const Bytes rgb = Row({{255, 255, 255}, {250, 250, 250}, {250, 249, 250}, {0, 0, 0}});
    EXPECT_DOUBLE_EQ(MaskForegroundFraction(rgb, 4, 1, 250), 0.5);
    EXPECT_DOUBLE_EQ(MaskForegroundFraction(rgb, 2, 2, 251), 0.75);
    EXPECT_DOUBLE_EQ(MaskForegroundFraction(rgb, 1, 1, 250), 0.0);
    EXPECT_DOUBLE_EQ(MaskForegroundFraction(rgb, 5, 1, 250), 0.0);
    EXPECT_DOUBLE_EQ(MaskForegroundFraction(rgb, 0, 4, 250), 0.0);
}

} // namespace
} // namespace Velmora
