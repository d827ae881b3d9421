#include "Sim/TexturePixels.hpp"

#include <algorithm>
#include <cstdint>

namespace Velmora::Sim {

namespace {

using Host::ModelerAPI::ARGBPixel;
using Host::ModelerAPI::Color;

std::uint32_t Hash(int x, int y) {
    auto h =
        static_cast<std::uint32_t>(x) * 0x9E3779B1u ^ static_cast<std::uint32_t>(y) * 0x85EBCA77u;
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    return h;
}

unsigned char Byte(double value) {
    return static_cast<unsigned char>(std::clamp(value, 0.0, 1.0) * 255.0 + 0.5);
}

ARGBPixel Mix(Color const& a, Color const& b, double t, unsigned char alpha) {
    return {alpha, Byte(a.red + (b.red - a.red) * t), Byte(a.green + (b.green - a.green) * t),
            Byte(a.blue + (b.blue - a.blue) * t)};
}

ARGBPixel Paint(Color const& color, unsigned char alpha) {
    return Mix(color, color, 0.0, alpha);
}

// A tree crown with its trunk, transparent around them.
ARGBPixel LeafPixel(SceneTexture const& t, int x, int y) {
    double const u = (x + 0.5) / t.width, v = (y + 0.5) / t.height; // v = 0 at the top
    double const dx = (u - 0.5) / 0.45, dy = (v - 0.42) / 0.40;
    double const ripple =
        0.08 * static_cast<double>(Hash(x / std::max(1, t.cell), y / std::max(1, t.cell)) % 100) /
        100.0;
    if (dx * dx + dy * dy <= 1.0 - ripple)
        return Paint(t.colors[0], 255);
    if (v > 0.75 && u > 0.46 && u < 0.54)
        return Paint(t.colors[1], 255);
    return Paint(t.colors[0], 0);
}

ARGBPixel PatternPixel(SceneTexture const& t, int x, int y) {
    int const cell = t.cell;
    switch (t.pattern) {
    case TexturePattern::Solid:
        return Paint(t.colors[0], 255);
    case TexturePattern::Checker:
        return Mix(t.colors[0], t.colors[1], ((x / cell + y / cell) & 1) ? 1.0 : 0.0, 255);
    case TexturePattern::Bricks: {
        int const mortar = std::max(1, cell / 8);
        int const shift = ((y / cell) & 1) * cell;
        bool const joint = y % cell < mortar || (x + shift) % (2 * cell) < mortar;
        return Mix(t.colors[0], t.colors[1], joint ? 1.0 : 0.0, 255);
    }
    case TexturePattern::Noise:
        return Mix(t.colors[0], t.colors[1], (Hash(x, y) & 255) / 255.0, 255);
    case TexturePattern::Leaf:
        return LeafPixel(t, x, y);
    case TexturePattern::Bump: {
        std::uint32_t const h = Hash(x / cell, y / cell);
        return Mix(t.colors[0], t.colors[1], (h & 255) / 255.0,
                   static_cast<unsigned char>(64 + (h >> 8) % 128));
    }
    }
    return {};
}

} // namespace

void FillTexturePixels(SceneTexture const& texture, ARGBPixel* pixels) {
    for (int y = 0; y < texture.height; ++y) {
        for (int x = 0; x < texture.width; ++x) {
            ARGBPixel pixel = PatternPixel(texture, x, y);
            if (!texture.alpha)
                pixel.alpha = 255;
            pixels[static_cast<std::size_t>(y) * texture.width + x] = pixel;
        }
    }
}

} // namespace Velmora::Sim
