// Turns a pair of highlighted captures into a clean mask: ratio recovery, hole filling,
// snapping onto the colours in use, and the foreground measure.
#include "Extract/CategoryPalette.hpp"
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

// Snapping is separable. A lattice position is 169 * dR + 13 * dG + dB and the squared error
// is the sum of the channels' own errors, so one 256-entry table per channel holds, packed in
// one word, the channel's share of the position (bits 0-11), whether it reaches the background
// floor (bit 12, summing to 3 when all three do) and its squared error (bits 16 and up). The
// per-channel values come from LatticeIndexForColor itself, probed with the other two channels
// at level 0 (byte 15), so that they cannot drift from it. The 2197 positions then map to the
// packed output colour, white where the colour is not in use.
constexpr std::uint32_t kPositionBits = 0xFFF;
constexpr int kBackgroundShift = 12;
constexpr std::uint32_t kAllBackground = 3;
constexpr int kErrorShift = 16;
constexpr std::uint32_t kPackedWhite = 0xFFFFFF;
constexpr std::uint32_t kScrambleStep = 1327; // lattice index to lattice position

struct SnapTables {
    std::array<std::array<std::uint32_t, 256>, kChannels> channel{};
    std::array<std::uint32_t, kLatticeSize + 1> colourAt{}; // the extra entry is white
    std::uint32_t maxError = 0;
};

std::uint32_t Pack(Rgb8 colour) {
    return colour.r | (std::uint32_t{colour.g} << 8) | (std::uint32_t{colour.b} << 16);
}

void BuildChannelTables(SnapTables& tables, unsigned char backgroundFloor) {
    constexpr std::uint8_t kLevelZero = 15;
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
        for (int value = 0; value < 256; ++value) {
            std::uint8_t probe[kChannels] = {kLevelZero, kLevelZero, kLevelZero};
            probe[channel] = static_cast<std::uint8_t>(value);
            long sqError = 0;
            const auto index = static_cast<std::uint32_t>(
                LatticeIndexForColor(Rgb8{probe[0], probe[1], probe[2]}, &sqError));
            const std::uint32_t position = (index * kScrambleStep) % kLatticeSize;
            const std::uint32_t background = value >= backgroundFloor ? 1 : 0;
            tables.channel[channel][static_cast<std::size_t>(value)] =
                position | (background << kBackgroundShift) |
                (static_cast<std::uint32_t>(sqError) << kErrorShift);
        }
    }
}

SnapTables BuildSnapTables(const std::vector<unsigned char>& inUse, unsigned char backgroundFloor,
                           long maxSqError) {
    SnapTables tables;
    BuildChannelTables(tables, backgroundFloor);
    for (int index = 0; index < kLatticeSize; ++index) {
        const std::uint32_t position =
            (static_cast<std::uint32_t>(index) * kScrambleStep) % kLatticeSize;
        tables.colourAt[position] =
            inUse[static_cast<std::size_t>(index)] != 0 ? Pack(ColorForIndex(index)) : kPackedWhite;
    }
    tables.colourAt[kLatticeSize] = kPackedWhite;
    // The error never exceeds 3 * 15^2, so any larger limit, or none, is the same as 0xFFFF.
    constexpr long kNoLimit = 0xFFFF;
    tables.maxError =
        static_cast<std::uint32_t>(maxSqError < 0 ? kNoLimit : std::min(maxSqError, kNoLimit));
    return tables;
}

std::uint32_t SnapOne(const SnapTables& tables, const unsigned char* pixel) {
    const std::uint32_t sum =
        tables.channel[0][pixel[0]] + tables.channel[1][pixel[1]] + tables.channel[2][pixel[2]];
    const bool keep = ((sum >> kBackgroundShift) & kAllBackground) != kAllBackground &&
                      (sum >> kErrorShift) <= tables.maxError;
    return tables.colourAt[keep ? (sum & kPositionBits) : std::uint32_t{kLatticeSize}];
}

void PutPacked(unsigned char* pixel, std::uint32_t colour) {
    pixel[0] = static_cast<unsigned char>(colour);
    pixel[1] = static_cast<unsigned char>(colour >> 8);
    pixel[2] = static_cast<unsigned char>(colour >> 16);
}

void SnapPixels(const SnapTables& tables, unsigned char* __restrict rgb, std::size_t pixels) {
    for (std::size_t at = 0; at < pixels * kChannels; at += kChannels) {
        PutPacked(rgb + at, SnapOne(tables, rgb + at));
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

void SnapRgbToLatticeSet(std::vector<unsigned char>& rgb, int width, int height,
                         const std::vector<unsigned char>& inUse, unsigned char backgroundFloor,
                         long maxSqError) {
    if (width < 1 || height < 1 || rgb.empty() || inUse.size() != kLatticeSize ||
        rgb.size() < ve_detail::RasterBytes(width, height)) {
        return;
    }
    const SnapTables tables = BuildSnapTables(inUse, backgroundFloor, maxSqError);
    SnapPixels(tables, rgb.data(),
               static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
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
