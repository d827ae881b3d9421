#include "Extract/CategoryPalette.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <set>
#include <tuple>

namespace Velmora {
namespace {

using Host::API_ElemTypeID;

std::tuple<int, int, int> Channels(Rgb8 colour) {
    return {colour.r, colour.g, colour.b};
}

// The snapping rule in plain double arithmetic, as the lattice defines it.
int ReferenceDigit(int channel) {
    const int digit = static_cast<int>(std::trunc((channel - 15) / 18.75 + 0.5));
    return digit < 0 ? 0 : (digit > 12 ? 12 : digit);
}

int ReferenceLevel(int digit) {
    return static_cast<int>(std::trunc(digit * 18.75 + 0.5)) + 15;
}

TEST(CategoryPalette, CategoryColoursMatchTheirLatticePositions) {
    struct Expected {
        Category category;
        int r, g, b;
    };
    const Expected table[] = {
        {Wall, 15, 15, 15},      {Slab, 146, 221, 34},        {Roof, 53, 184, 53},
        {Column, 203, 146, 71},  {Beam, 109, 109, 90},        {Window, 15, 71, 109},
        {Door, 165, 34, 128},    {CurtainWall, 53, 240, 146}, {Railing, 203, 203, 165},
        {Object, 109, 165, 184}, {Stair, 15, 128, 203},       {Mesh, 165, 90, 221},
        {Shell, 71, 53, 240},    {Morph, 221, 34, 15},        {Other, 109, 240, 34},
    };
    for (const Expected& row : table) {
        SCOPED_TRACE(static_cast<int>(row.category));
        EXPECT_EQ(Channels(ColorForCategory(row.category)), std::make_tuple(row.r, row.g, row.b));
        EXPECT_EQ(LatticeIndexForColor(Rgb8{static_cast<std::uint8_t>(row.r),
                                            static_cast<std::uint8_t>(row.g),
                                            static_cast<std::uint8_t>(row.b)},
                                       nullptr),
                  static_cast<int>(row.category));
    }
    EXPECT_EQ(Channels(ColorForIndex(15)), std::make_tuple(15, 203, 53));
    EXPECT_EQ(Channels(ColorForIndex(16)), std::make_tuple(165, 165, 71));
    EXPECT_EQ(Channels(ColorForIndex(2196)), std::make_tuple(109, 34, 240));
}

TEST(CategoryPalette, EveryIndexRoundTripsExactlyAndColoursAreDistinct) {
    std::set<std::tuple<int, int, int>> seen;
    for (int index = 0; index < kLatticeSize; ++index) {
        const Rgb8 colour = ColorForIndex(index);
        long sqErr = -1;
        ASSERT_EQ(LatticeIndexForColor(colour, &sqErr), index);
        ASSERT_EQ(sqErr, 0) << index;
        for (int channel : {colour.r, colour.g, colour.b}) {
            ASSERT_GE(channel, 15);
            ASSERT_LE(channel, 240);
        }
        seen.insert(Channels(colour));
    }
    EXPECT_EQ(seen.size(), static_cast<std::size_t>(kLatticeSize));
}

TEST(CategoryPalette, OutOfRangeIndicesClampOrWrap) {
    EXPECT_EQ(Channels(ColorForIndex(-5)), Channels(ColorForIndex(0)));
    EXPECT_EQ(Channels(ColorForIndex(INT_MIN)), std::make_tuple(15, 15, 15));
    EXPECT_EQ(Channels(ColorForIndex(2197)), std::make_tuple(15, 15, 15));
    EXPECT_EQ(Channels(ColorForIndex(2197 + 15)), Channels(ColorForIndex(15)));
    EXPECT_EQ(Channels(ColorForIndex(INT_MAX)), Channels(ColorForIndex(INT_MAX % 2197)));
}

TEST(CategoryPalette, SnappingUsesTheUnroundedGrid) {
    long sqErr = 0;
    EXPECT_EQ(LatticeIndexForColor(Rgb8{24, 15, 15}, &sqErr), 0);
    EXPECT_EQ(sqErr, 81);
    // 25 crosses the boundary 24.375 and lands on level 1 (34) in the red digit.
    EXPECT_EQ(Channels(ColorForIndex(LatticeIndexForColor(Rgb8{25, 15, 15}, &sqErr))),
              std::make_tuple(34, 15, 15));
    EXPECT_EQ(sqErr, 81);

    EXPECT_EQ(LatticeIndexForColor(Rgb8{0, 0, 0}, &sqErr), 0);
    EXPECT_EQ(sqErr, 675);
    EXPECT_EQ(LatticeIndexForColor(Rgb8{255, 255, 255}, &sqErr), 649);
    EXPECT_EQ(sqErr, 675);
    EXPECT_EQ(Channels(ColorForIndex(649)), std::make_tuple(240, 240, 240));
    EXPECT_EQ(LatticeIndexForColor(Rgb8{146, 221, 34}, nullptr), 1);
}

// Snapping goes through look-up tables; every channel value must agree with the double rule.
TEST(CategoryPalette, SnappingMatchesTheDoubleRuleForEveryChannelValue) {
    for (int value = 0; value < 256; ++value) {
        const auto byte = static_cast<std::uint8_t>(value);
        const int digit = ReferenceDigit(value);
        const long delta = value - ReferenceLevel(digit);
        const Rgb8 probes[3] = {{byte, 15, 15}, {15, byte, 15}, {15, 15, byte}};
        const int positions[3] = {169 * digit, 13 * digit, digit};
        for (int channel = 0; channel < 3; ++channel) {
            SCOPED_TRACE(testing::Message() << "value " << value << " channel " << channel);
            long sqErr = -1;
            EXPECT_EQ(LatticeIndexForColor(probes[channel], &sqErr),
                      (positions[channel] * 1548) % 2197);
            EXPECT_EQ(sqErr, delta * delta); // the other channels sit on level 0
        }
    }
}

TEST(CategoryPalette, ElementTypesMapToTheirCategories) {
    const std::pair<API_ElemTypeID, Category> mapped[] = {
        {Host::API_WallID, Wall},       {Host::API_SlabID, Slab},
        {Host::API_RoofID, Roof},       {Host::API_ColumnID, Column},
        {Host::API_BeamID, Beam},       {Host::API_WindowID, Window},
        {Host::API_DoorID, Door},       {Host::API_CurtainWallID, CurtainWall},
        {Host::API_RailingID, Railing}, {Host::API_ObjectID, Object},
        {Host::API_LampID, Object},     {Host::API_StairID, Stair},
        {Host::API_MeshID, Mesh},       {Host::API_ShellID, Shell},
        {Host::API_MorphID, Morph},
    };
    for (const auto& [type, category] : mapped) {
        EXPECT_EQ(CategoryOfElemType(type), category) << static_cast<int>(type);
    }
}

TEST(CategoryPalette, SubElementsAndUnlistedTypesAreOther) {
    const API_ElemTypeID others[] = {
        Host::API_ZombieElemID,
        Host::API_SkylightID,
        Host::API_ZoneID,
        Host::API_CurtainWallSegmentID,
        Host::API_CurtainWallFrameID,
        Host::API_CurtainWallPanelID,
        Host::API_CurtainWallJunctionID,
        Host::API_CurtainWallAccessoryID,
        Host::API_RiserID,
        Host::API_TreadID,
        Host::API_StairStructureID,
        Host::API_RailingToprailID,
        Host::API_RailingPostID,
        Host::API_RailingBalusterID,
        Host::API_RailingPanelID,
        Host::API_RailingSegmentID,
        Host::API_RailingEndFinishID,
        Host::API_BeamSegmentID,
        Host::API_ColumnSegmentID,
        Host::API_OpeningID,
        Host::API_ExternalElemID,
        static_cast<API_ElemTypeID>(999),
    };
    for (API_ElemTypeID type : others) {
        EXPECT_EQ(CategoryOfElemType(type), Other) << static_cast<int>(type);
    }
}

} // namespace
} // namespace Velmora
