#include "Extract/CategoryPalette.hpp"

#include <array>
#include <cstdint>

namespace Velmora {
namespace {

constexpr double kLevelStep = 18.75;
constexpr int kLevelBase = 15;
constexpr int kTopLevel = kLatticeLevels - 1;

// Consecutive indices visit far-apart lattice positions; 1327 * 1548 = 1 (mod 2197).
constexpr std::uint32_t kScrambleStep = 1327;
constexpr int kUnscrambleStep = 1548;

constexpr std::uint8_t LevelByte(int digit) {
    return static_cast<std::uint8_t>(static_cast<int>(digit * kLevelStep + 0.5) + kLevelBase);
}

// Boundaries lie on the unrounded grid, so the level bytes' midpoints are not used.
constexpr int SnapDigit(int channel) {
    const int digit = static_cast<int>((channel - kLevelBase) / kLevelStep + 0.5);
    if (digit < 0) {
        return 0;
    }
    return digit > kTopLevel ? kTopLevel : digit;
}

struct ChannelTables {
    std::array<std::uint8_t, kLatticeLevels> levelByte{};
    std::array<std::uint8_t, 256> digitOfChannel{};
};

// Built at compile time so that snapping a channel is a table look-up, not double math.
constexpr ChannelTables BuildChannelTables() {
    ChannelTables tables;
    for (int digit = 0; digit < kLatticeLevels; ++digit) {
        tables.levelByte[static_cast<std::size_t>(digit)] = LevelByte(digit);
    }
    for (int channel = 0; channel < 256; ++channel) {
        tables.digitOfChannel[static_cast<std::size_t>(channel)] =
            static_cast<std::uint8_t>(SnapDigit(channel));
    }
    return tables;
}

constexpr ChannelTables kChannelTables = BuildChannelTables();

long SquaredDistance(std::uint8_t channel, int digit) {
    const long delta = static_cast<long>(channel) -
                       static_cast<long>(kChannelTables.levelByte[static_cast<std::size_t>(digit)]);
    return delta * delta;
}

} // namespace

Category CategoryOfElemType(Host::API_ElemTypeID type) {
    switch (type) {
    case Host::API_WallID:
        return Wall;
    case Host::API_SlabID:
        return Slab;
    case Host::API_RoofID:
        return Roof;
    case Host::API_ColumnID:
        return Column;
    case Host::API_BeamID:
        return Beam;
    case Host::API_WindowID:
        return Window;
    case Host::API_DoorID:
        return Door;
    case Host::API_CurtainWallID:
        return CurtainWall;
    case Host::API_RailingID:
        return Railing;
    case Host::API_ObjectID:
    case Host::API_LampID:
        return Object;
    case Host::API_StairID:
        return Stair;
    case Host::API_MeshID:
        return Mesh;
    case Host::API_ShellID:
        return Shell;
    case Host::API_MorphID:
        return Morph;
    default:
        return Other;
    }
}

Rgb8 ColorForIndex(int index) {
    const auto wrapped = static_cast<std::uint32_t>(index < 0 ? 0 : index % kLatticeSize);
    const std::uint32_t position = (wrapped * kScrambleStep) % kLatticeSize;
    const std::uint32_t levels = kLatticeLevels;
    const auto& bytes = kChannelTables.levelByte;
    return Rgb8{bytes[position / (levels * levels)], bytes[(position / levels) % levels],
                bytes[position % levels]};
}

Rgb8 ColorForCategory(Category category) {
    return ColorForIndex(static_cast<int>(category));
}

int LatticeIndexForColor(Rgb8 color, long* sqErr) {
    const auto& digitOf = kChannelTables.digitOfChannel;
    const int red = digitOf[color.r];
    const int green = digitOf[color.g];
    const int blue = digitOf[color.b];
    if (sqErr != nullptr) {
        *sqErr = SquaredDistance(color.r, red) + SquaredDistance(color.g, green) +
                 SquaredDistance(color.b, blue);
    }
    const int position = (red * kLatticeLevels + green) * kLatticeLevels + blue;
    return (position * kUnscrambleStep) % kLatticeSize;
}

} // namespace Velmora
