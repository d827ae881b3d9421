// Turns a pair of highlighted captures into mask colours (ratio recovery and hole filling),
// and measures a mask's foreground. Snapping onto the lattice is in LatticeSnap.cpp.
#include "Extract/Raster.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Velmora {
namespace {

constexpr std::size_t kChannels = 3;
constexpr unsigned char kWhite = 255;

// lround(colour * 255 / reference) clamped to a byte, for every (reference, colour) pair;
// 0 where the reference is 0. Indexed [reference * 256 + colour]: no division per pixel.
using RatioTable = std::array<unsigned char, 256 * 256>;

const RatioTable& ChannelRatios() {
    static const RatioTable table = [] {
        RatioTable ratios{};
        for (int reference = 1; reference < 256; ++reference) {
            for (int colour = 0; colour < 256; ++colour) {
                const long value = std::lround(colour * 255.0 / reference);
                ratios[static_cast<std::size_t>(reference * 256 + colour)] =
                    static_cast<unsigned char>(std::clamp(value, 0L, 255L));
            }
        }
        return ratios;
    }();
    return table;
}

// Every pixel is computed, branch-free; an unknown one is white until the hole fill (OR-ing
// 255 in). The row's known flags are kept for that fill. Returns the number of unknown pixels.
std::size_t RatioRow(const RatioTable& ratios, const unsigned char* __restrict colour,
                     const unsigned char* __restrict reference, unsigned char* __restrict out,
                     unsigned char* __restrict known, std::size_t width,
                     unsigned char minReference) {
    std::size_t unknown = 0;
    for (std::size_t x = 0; x < width; ++x) {
        const unsigned char* ref = reference + x * kChannels;
        const unsigned char* col = colour + x * kChannels;
        const bool isKnown = std::max({ref[0], ref[1], ref[2]}) >= minReference;
        const unsigned char white = isKnown ? 0 : kWhite;
        out[x * kChannels] = ratios[ref[0] * 256u + col[0]] | white;
        out[x * kChannels + 1] = ratios[ref[1] * 256u + col[1]] | white;
        out[x * kChannels + 2] = ratios[ref[2] * 256u + col[2]] | white;
        known[x] = isKnown;
        unknown += !isKnown;
    }
    return unknown;
}

// Unknown pixels copy the nearest known pixel to their left; leading ones copy the row's first
// known pixel; a row with no known pixel stays white.
void FillRowHoles(unsigned char* out, const unsigned char* known, std::size_t width) {
    std::size_t firstKnown = 0;
    while (firstKnown < width && known[firstKnown] == 0) {
        ++firstKnown;
    }
    if (firstKnown == width) {
        return;
    }
    for (std::size_t x = 0; x < firstKnown; ++x) {
        std::memcpy(out + x * kChannels, out + firstKnown * kChannels, kChannels);
    }
    for (std::size_t x = firstKnown + 1; x < width; ++x) {
        if (known[x] == 0) {
            std::memcpy(out + x * kChannels, out + (x - 1) * kChannels, kChannels);
        }
    }
}

} // namespace

bool RatioRecoverColors(const std::vector<unsigned char>& colourCapture,
                        const std::vector<unsigned char>& referenceCapture, int width, int height,
                        std::vector<unsigned char>& out, unsigned char minReference) {
    if (width < 1 || height < 1) {
        return false;
    }
    const std::size_t total = ve_detail::RasterBytes(width, height);
    if (colourCapture.size() != total || referenceCapture.size() != total) {
        return false;
    }
    out.resize(total);
    const RatioTable& ratios = ChannelRatios();
    const auto rowPixels = static_cast<std::size_t>(width);
    const std::size_t stride = ve_detail::RasterBytes(width, 1);
    std::vector<unsigned char> known(rowPixels);
    for (std::size_t offset = 0; offset < total; offset += stride) {
        unsigned char* row = out.data() + offset;
        if (RatioRow(ratios, colourCapture.data() + offset, referenceCapture.data() + offset, row,
                     known.data(), rowPixels, minReference) != 0) {
            FillRowHoles(row, known.data(), rowPixels);
        }
    }
    return true;
}

double MaskForegroundFraction(const std::vector<unsigned char>& rgb, int width, int height,
                              unsigned char backgroundFloor) {
    if (width < 1 || height < 1 || rgb.size() < ve_detail::RasterBytes(width, height)) {
        return 0.0;
    }
    const std::size_t total = ve_detail::RasterBytes(width, height);
    const unsigned char* __restrict pixel = rgb.data();
    std::size_t foreground = 0;
    for (std::size_t at = 0; at < total; at += kChannels) {
        const unsigned char darkest = std::min({pixel[at], pixel[at + 1], pixel[at + 2]});
        foreground += darkest < backgroundFloor;
    }
    return static_cast<double>(foreground) /
           (static_cast<double>(width) * static_cast<double>(height));
}

} // namespace Velmora
