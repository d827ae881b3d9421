// Mask categories and the 13x13x13 colour lattice every mask colour is drawn from.
#pragma once

#include "Host/HostTypes.hpp"

#include <cstdint>

namespace Velmora {

struct Rgb8 {
    std::uint8_t r = 0;
    std::uint8_t g = 0;
    std::uint8_t b = 0;
};

enum Category : int {
    Wall = 0,
    Slab,
    Roof,
    Column,
    Beam,
    Window,
    Door,
    CurtainWall,
    Railing,
    Object,
    Stair,
    Mesh,
    Shell,
    Morph,
    Other,
};

constexpr int kCategoryCount = 15;
constexpr int kLatticeLevels = 13;
constexpr int kLatticeSize = 2197; // 13^3

Category CategoryOfElemType(Host::API_ElemTypeID type);
Rgb8 ColorForIndex(int index);
Rgb8 ColorForCategory(Category category);
int LatticeIndexForColor(Rgb8 color, long* sqErr);

} // namespace Velmora
