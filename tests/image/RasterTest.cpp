#include "Extract/Raster.hpp"
#include "Extract/CategoryPalette.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <tuple>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;
using Pixel = std::tuple<int, int, int>;

// A raster whose pixel (x, y) is (x, y, 7) so that any misplaced byte shows.
Bytes CoordinateRaster(int width, int height) {
    Bytes rgb;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            rgb.insert(rgb.end(),
                       {static_cast<unsigned char>(x), static_cast<unsigned char>(y), 7});
        }
    }
    return rgb;
}

Pixel PixelOf(const Bytes& rgb, int width, int x, int y) {
    const std::size_t at = (static_cast<std::size_t>(y) * width + x) * 3;
    return {rgb[at], rgb[at + 1], rgb[at + 2]};
}

Bytes Row(std::initializer_list<Pixel> pixels) {
    Bytes rgb;
    for (const auto& [r, g, b] : pixels) {
        rgb.insert(rgb.end(), {static_cast<unsigned char>(r), static_cast<unsigned char>(g),
                               static_cast<unsigned char>(b)});
    }
    return rgb;
}

SafeFrameRect Rect(int x, int y, int width, int height) {
    SafeFrameRect rect;
    rect.x = x;
    rect.y = y;
    rect.width = width;
    rect.height = height;
    rect.needed = true;
    return rect;
}

std::tuple<int, int, int, int, bool> Fields(const SafeFrameRect& rect) {
    return {rect.x, rect.y, rect.width, rect.height, rect.needed};
}

TEST(SafeFrameCrop, FitsTheLargestCentredRectangleWithHalfUpRounding) {
    EXPECT_EQ(Fields(ComputeSafeFrameCrop(1000, 1000, 16, 9)),
              std::make_tuple(0, 218, 1000, 563, true));
    EXPECT_EQ(Fields(ComputeSafeFrameCrop(1920, 1080, 16, 9)),
              std::make_tuple(0, 0, 1920, 1080, false));
    // 9 * 3 / 2 = 13.5 rounds up to 14.
    EXPECT_EQ(Fields(ComputeSafeFrameCrop(100, 9, 3, 2)), std::make_tuple(43, 0, 14, 9, true));
    // An odd surplus (501) leaves its extra pixel on the right.
    EXPECT_EQ(Fields(ComputeSafeFrameCrop(1001, 500, 1, 1)),
              std::make_tuple(250, 0, 500, 500, true));
    // A sliver rounds to zero and is widened to one pixel.
    EXPECT_EQ(Fields(ComputeSafeFrameCrop(3, 1, 1, 100)), std::make_tuple(1, 0, 1, 1, true));
}

TEST(SafeFrameCrop, LargeArgumentsDoNotOverflow) {
    EXPECT_EQ(Fields(ComputeSafeFrameCrop(INT_MAX, INT_MAX, INT_MAX, 1)),
              std::make_tuple(0, (INT_MAX - 1) / 2, INT_MAX, 1, true));
    EXPECT_EQ(Fields(ComputeSafeFrameCrop(INT_MAX, INT_MAX, 1, INT_MAX)),
              std::make_tuple((INT_MAX - 1) / 2, 0, 1, INT_MAX, true));
}

TEST(SafeFrameCrop, NonPositiveArgumentsGiveNoCrop) {
    for (const auto& [w, h, aw, ah] :
         {std::make_tuple(0, 10, 1, 1), std::make_tuple(10, -1, 1, 1),
          std::make_tuple(10, 10, 0, 1), std::make_tuple(10, 10, 1, -3)}) {
        EXPECT_EQ(Fields(ComputeSafeFrameCrop(w, h, aw, ah)), std::make_tuple(0, 0, 0, 0, false));
    }
}

TEST(CropRgb, CopiesARectangleTouchingTheRightAndBottomEdges) {
    Bytes rgb = CoordinateRaster(6, 5);
    int width = 6;
    int height = 5;
    ASSERT_TRUE(CropRgbInPlace(rgb, width, height, Rect(2, 1, 4, 4)));
    ASSERT_EQ(width, 4);
    ASSERT_EQ(height, 4);
    ASSERT_EQ(rgb.size(), 4u * 4u * 3u);
    for (int y = 0; y < 4; ++y) {
        for (int x = 0; x < 4; ++x) {
            EXPECT_EQ(PixelOf(rgb, 4, x, y), std::make_tuple(x + 2, y + 1, 7));
        }
    }
}

TEST(CropRgb, RectangleNotNeededLeavesTheRasterAlone) {
    Bytes rgb = CoordinateRaster(3, 3);
    int width = 3;
    int height = 3;
    SafeFrameRect rect = Rect(1, 1, 1, 1);
    rect.needed = false;
    EXPECT_TRUE(CropRgbInPlace(rgb, width, height, rect));
    EXPECT_EQ(rgb, CoordinateRaster(3, 3));
    EXPECT_EQ(width, 3);
}

TEST(CropRgb, RectanglesThatDoNotFitExactlyFailWithoutChanges) {
    const SafeFrameRect bad[] = {Rect(0, 0, 7, 5), Rect(0, 0, 6, 6),  Rect(1, 0, 6, 5),
                                 Rect(0, 1, 6, 5), Rect(-1, 0, 2, 2), Rect(0, -1, 2, 2),
                                 Rect(0, 0, 0, 2), Rect(0, 0, 2, 0),  Rect(INT_MAX, 0, INT_MAX, 1)};
    for (const SafeFrameRect& rect : bad) {
        SCOPED_TRACE(testing::Message()
                     << rect.x << "," << rect.y << " " << rect.width << "x" << rect.height);
        Bytes rgb = CoordinateRaster(6, 5);
        int width = 6;
        int height = 5;
        EXPECT_FALSE(CropRgbInPlace(rgb, width, height, rect));
        EXPECT_EQ(rgb, CoordinateRaster(6, 5));
        EXPECT_EQ(width, 6);
        EXPECT_EQ(height, 5);
    }
    Bytes shortRaster = CoordinateRaster(6, 4);
    int width = 6;
    int height = 5;
    EXPECT_FALSE(CropRgbInPlace(shortRaster, width, height, Rect(0, 0, 2, 2)));
    EXPECT_EQ(shortRaster.size(), 6u * 4u * 3u);
}

TEST(ScaleNearest, EnlargesByRepeatingEachPixel) {
    const Bytes src = CoordinateRaster(3, 2);
    Bytes dst;
    ASSERT_TRUE(ScaleRgbNearest(src, 3, 2, 9, 6, dst));
    ASSERT_EQ(dst.size(), 9u * 6u * 3u);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 9; ++x) {
            EXPECT_EQ(PixelOf(dst, 9, x, y), PixelOf(src, 3, x / 3, y / 3));
        }
    }
}

TEST(ScaleNearest, SamplesAtPixelCentres) {
    const Bytes src = CoordinateRaster(4, 4);
    Bytes dst;
    ASSERT_TRUE(ScaleRgbNearest(src, 4, 4, 2, 2, dst));
    // Centres of the 2x2 blocks fall on source pixels 1 and 3, not 0 and 2.
    EXPECT_EQ(dst, Row({{1, 1, 7}, {3, 1, 7}, {1, 3, 7}, {3, 3, 7}}));

    ASSERT_TRUE(ScaleRgbNearest(CoordinateRaster(3, 1), 3, 1, 2, 3, dst));
    EXPECT_EQ(dst, Row({{0, 0, 7}, {2, 0, 7}, {0, 0, 7}, {2, 0, 7}, {0, 0, 7}, {2, 0, 7}}));
}

TEST(ScaleNearest, RejectsBadSizesWithoutTouchingTheDestination) {
    const Bytes src = CoordinateRaster(2, 2);
    Bytes dst = {9};
    EXPECT_FALSE(ScaleRgbNearest(src, 2, 3, 4, 4, dst));
    EXPECT_FALSE(ScaleRgbNearest(Bytes(src.begin(), src.end() - 1), 2, 2, 4, 4, dst));
    EXPECT_FALSE(ScaleRgbNearest(src, 2, 2, 0, 4, dst));
    EXPECT_FALSE(ScaleRgbNearest(src, 2, 2, 4, -1, dst));
    EXPECT_FALSE(ScaleRgbNearest(Bytes{}, 0, 0, 4, 4, dst));
    EXPECT_EQ(dst, Bytes{9});
}

// Renders a capture pair: the colour capture is the mask colour shaded, the reference is
// white shaded alike.
void ShadedPair(const Bytes& mask, const std::vector<int>& shading, Bytes& colour,
                Bytes& reference) {
    colour.clear();
    reference.clear();
    for (std::size_t i = 0; i < mask.size(); ++i) {
        const int shade = shading[i / 3];
        colour.push_back(static_cast<unsigned char>(std::lround(mask[i] * shade / 255.0)));
        reference.push_back(static_cast<unsigned char>(shade));
    }
}

TEST(RatioRecover, ShadingCancelsOut) {
    const Bytes mask = Row({{146, 221, 34}, {15, 71, 109}, {240, 15, 128}, {53, 184, 53}});
    Bytes colour;
    Bytes reference;
    ShadedPair(mask, {255, 200, 150, 128}, colour, reference);
    Bytes out;
    ASSERT_TRUE(RatioRecoverColors(colour, reference, 4, 1, out, 4));
    ASSERT_EQ(out.size(), mask.size());
    for (std::size_t i = 0; i < mask.size(); ++i) {
        EXPECT_NEAR(out[i], mask[i], 1) << i;
    }
}

// The division goes through a table; every (colour, reference) pair must match lround.
TEST(RatioRecover, EveryChannelPairMatchesTheRoundedRatio) {
    Bytes colour;
    Bytes reference;
    for (int ref = 0; ref < 256; ++ref) {
        for (int value = 0; value < 256; ++value) {
            colour.insert(colour.end(), {static_cast<unsigned char>(value), 0, 255});
            reference.insert(reference.end(), {static_cast<unsigned char>(ref), 255, 255});
        }
    }
    Bytes out;
    ASSERT_TRUE(RatioRecoverColors(colour, reference, 256, 256, out, 0));
    for (int ref = 0; ref < 256; ++ref) {
        for (int value = 0; value < 256; ++value) {
            const long ratio = ref == 0 ? 0 : std::min(255L, std::lround(value * 255.0 / ref));
            ASSERT_EQ(PixelOf(out, 256, value, ref), std::make_tuple(ratio, 0, 255))
                << value << "/" << ref;
        }
    }
}

TEST(RatioRecover, FillsHolesWithinTheRowOnly) {
    const Pixel a{200, 10, 10};
    const Pixel b{10, 200, 10};
    const Pixel dark{0, 0, 0};
    const Pixel lit{255, 255, 255};
    // Row 0: hole, A, hole, hole, B, hole. Row 1: all dark. Row 2: only the last pixel known.
    const Bytes colour =
        Row({dark, a, dark, dark, b, dark, a, a, a, a, a, a, dark, dark, dark, dark, dark, b});
    const Bytes reference = Row({dark,
                                 lit,
                                 {3, 3, 3},
                                 dark,
                                 lit,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 dark,
                                 {4, 0, 0}});
    Bytes out;
    ASSERT_TRUE(RatioRecoverColors(colour, reference, 6, 3, out, 4));
    const Pixel white{255, 255, 255};
    const Pixel b4{255, 0, 0}; // (10, 200, 10) against (4, 0, 0): clamped red, zero elsewhere
    EXPECT_EQ(out, Row({a, a, a, a, b, b, white, white, white, white, white, white, b4, b4, b4, b4,
                        b4, b4}));
}

TEST(RatioRecover, RejectsMismatchedSizes) {
    const Bytes two(6, 100);
    Bytes out = {1};
    EXPECT_FALSE(RatioRecoverColors(two, Bytes(5, 100), 2, 1, out, 4));
    EXPECT_FALSE(RatioRecoverColors(Bytes(5, 100), two, 2, 1, out, 4));
    EXPECT_FALSE(RatioRecoverColors(two, two, 3, 1, out, 4));
    EXPECT_FALSE(RatioRecoverColors(two, two, 0, 1, out, 4));
    EXPECT_EQ(out, Bytes{1});
}

Pixel Colour(int index) {
    const Rgb8 c = ColorForIndex(index);
    return {c.r, c.g, c.b};
}

std::vector<unsigned char> InUse(std::initializer_list<int> indices) {
    std::vector<unsigned char> inUse(kLatticeSize, 0);
    for (int index : indices) {
        inUse[static_cast<std::size_t>(index)] = 1;
    }
    return inUse;
}

TEST(SnapToLattice, NearColoursSnapOnlyOntoColoursInUse) {
    Bytes rgb = Row({{15, 15, 16}});
    SnapRgbToLatticeSet(rgb, 1, 1, InUse({0}), 250, 64);
    EXPECT_EQ(rgb, Row({{15, 15, 15}}));

    rgb = Row({{15, 15, 16}});
    SnapRgbToLatticeSet(rgb, 1, 1, InUse({1, 2}), 250, 64);
    EXPECT_EQ(rgb, Row({{255, 255, 255}}));
}

TEST(SnapToLattice, ErrorToleranceAndBackgroundFloor) {
    const Pixel slab = Colour(Slab);
    const auto& [r, g, b] = slab;
    // Squared errors 64 (kept) and 65 (dropped); a near-white pixel at the floor is background
    // even though (240, 240, 240) is in use; just below the floor it snaps from too far.
    Bytes rgb = Row({{r + 8, g, b}, {r + 8, g - 1, b}, {250, 250, 250}, {249, 250, 250}});
    SnapRgbToLatticeSet(rgb, 4, 1, InUse({Slab, 649}), 250, 64);
    const Pixel white{255, 255, 255};
    EXPECT_EQ(rgb, Row({slab, white, white, white}));

    rgb = Row({{r + 8, g - 1, b}, {249, 250, 250}});
    SnapRgbToLatticeSet(rgb, 2, 1, InUse({Slab, 649}), 250, -1);
    EXPECT_EQ(rgb, Row({slab, {240, 240, 240}}));
}

TEST(SnapToLattice, RunsOfRepeatedAndAlternatingColoursSnapIndependently) {
    const Pixel p15 = Colour(15);
    const Pixel p16 = Colour(16);
    const Pixel white{255, 255, 255};
    // The last two pixels differ in blue only and snap apart.
    Bytes rgb = Row(
        {{0, 0, 0}, {0, 0, 0}, p15, p15, p16, p15, {0, 0, 0}, white, {15, 15, 20}, {15, 15, 128}});
    SnapRgbToLatticeSet(rgb, 10, 1, InUse({0, 15}), 250, -1);
    EXPECT_EQ(rgb, Row({{15, 15, 15},
                        {15, 15, 15},
                        p15,
                        p15,
                        white,
                        p15,
                        {15, 15, 15},
                        white,
                        {15, 15, 15},
                        white}));
}

// Snapping goes through per-channel tables; it must agree with the per-pixel rule: white
// from the floor up, else the lattice colour when in use and close enough, else white.
TEST(SnapToLattice, AgreesWithThePerPixelRuleOverEveryChannelValue) {
    std::vector<unsigned char> inUse(kLatticeSize, 0);
    for (std::size_t index = 0; index < inUse.size(); index += 3) {
        inUse[index] = 1;
    }
    const int greens[] = {0, 14, 15, 24, 25, 53, 99, 146, 200, 240, 249, 250, 255};
    Bytes rgb;
    for (int green : greens) {
        for (int red = 0; red < 256; ++red) {
            for (int blue = 0; blue < 256; ++blue) {
                rgb.insert(rgb.end(),
                           {static_cast<unsigned char>(red), static_cast<unsigned char>(green),
                            static_cast<unsigned char>(blue)});
            }
        }
    }
    const int width = 256;
    const int height = static_cast<int>(rgb.size() / (3 * 256));
    for (long maxSqError : {64L, -1L}) {
        SCOPED_TRACE(maxSqError);
        Bytes snapped = rgb;
        SnapRgbToLatticeSet(snapped, width, height, inUse, 250, maxSqError);
        for (std::size_t at = 0; at < rgb.size(); at += 3) {
            const Rgb8 in{rgb[at], rgb[at + 1], rgb[at + 2]};
            Pixel expected{255, 255, 255};
            long sqErr = 0;
            const int index = LatticeIndexForColor(in, &sqErr);
            const bool background = in.r >= 250 && in.g >= 250 && in.b >= 250;
            const bool close = maxSqError < 0 || sqErr <= maxSqError;
            if (!background && inUse[static_cast<std::size_t>(index)] != 0 && close) {
                expected = Colour(index);
            }
            ASSERT_EQ(Pixel(snapped[at], snapped[at + 1], snapped[at + 2]), expected)
                << "input " << int{in.r} << "," << int{in.g} << "," << int{in.b};
        }
    }
}

TEST(SnapToLattice, InvalidInputsLeaveTheRasterAlone) {
    const Bytes original = Row({{15, 15, 16}, {15, 15, 16}});
    Bytes rgb = original;
    SnapRgbToLatticeSet(rgb, 2, 1, std::vector<unsigned char>(kLatticeSize - 1, 1), 250, 64);
    SnapRgbToLatticeSet(rgb, 3, 1, InUse({0}), 250, 64);
    SnapRgbToLatticeSet(rgb, 0, 1, InUse({0}), 250, 64);
    EXPECT_EQ(rgb, original);
    // A raster longer than its size keeps the bytes beyond it.
    SnapRgbToLatticeSet(rgb, 1, 1, InUse({0}), 250, 64);
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
