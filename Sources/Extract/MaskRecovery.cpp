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
// 0 where the reference is 0. Indexed [reference * 256 + colour].
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

void RecoverPixel(const RatioTable& ratios, const unsigned char* colour,
                  const unsigned char* reference, unsigned char* out) {
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
        out[channel] = ratios[reference[channel] * 256u + colour[channel]];
    }
}

// One pass: known pixels get their ratio, unknown ones copy the pixel to their left once a
// known pixel has been seen; leading unknowns copy the row's first known pixel afterwards.
void RecoverRow(const RatioTable& ratios, const unsigned char* colour,
                const unsigned char* reference, unsigned char* out, std::size_t width,
                unsigned char minReference) {
    std::size_t firstKnown = width;
    for (std::size_t x = 0; x < width; ++x) {
        const std::size_t at = x * kChannels;
        const unsigned char* ref = reference + at;
        if (std::max({ref[0], ref[1], ref[2]}) >= minReference) {
            RecoverPixel(ratios, colour + at, ref, out + at);
            firstKnown = std::min(firstKnown, x);
        } else if (firstKnown < x) {
            std::memcpy(out + at, out + at - kChannels, kChannels);
        }
    }
    if (firstKnown == width) {
        return; // no known pixel: the row stays white
    }
    for (std::size_t x = 0; x < firstKnown; ++x) {
        std::memcpy(out + x * kChannels, out + firstKnown * kChannels, kChannels);
    }
}

using LatticeColours = std::array<Rgb8, kLatticeSize>;

LatticeColours BuildLatticeColours() {
    LatticeColours colours;
    for (int index = 0; index < kLatticeSize; ++index) {
        colours[static_cast<std::size_t>(index)] = ColorForIndex(index);
    }
    return colours;
}

// Snapping is separable. A lattice index is (p * 1548) mod 2197 with p linear in the three
// channel levels, so it is the sum (mod 2197) of the indices each channel gives alone, with
// the other two channels at level 0 (byte 15); the squared error is the sum of the channels'
// own errors. Each channel therefore needs one 256-entry table, filled from
// LatticeIndexForColor itself so that the results cannot drift from it.
struct ChannelSnap {
    std::array<std::uint16_t, 256> index{};
    std::array<std::uint16_t, 256> sqError{};
};

using ChannelSnaps = std::array<ChannelSnap, kChannels>;

ChannelSnaps BuildChannelSnaps() {
    constexpr std::uint8_t kLevelZero = 15;
    ChannelSnaps snaps;
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
        for (int value = 0; value < 256; ++value) {
            std::uint8_t probe[kChannels] = {kLevelZero, kLevelZero, kLevelZero};
            probe[channel] = static_cast<std::uint8_t>(value);
            long sqError = 0;
            const int index = LatticeIndexForColor(Rgb8{probe[0], probe[1], probe[2]}, &sqError);
            snaps[channel].index[static_cast<std::size_t>(value)] =
                static_cast<std::uint16_t>(index);
            snaps[channel].sqError[static_cast<std::size_t>(value)] =
                static_cast<std::uint16_t>(sqError);
        }
    }
    return snaps;
}

class LatticeSnapper {
public:
    LatticeSnapper(const std::vector<unsigned char>& inUse, unsigned char backgroundFloor,
                   long maxSqError)
        : colours_(BuildLatticeColours()), snaps_(BuildChannelSnaps()), inUse_(inUse),
          backgroundFloor_(backgroundFloor), maxSqError_(maxSqError) {}

    Rgb8 Snap(const unsigned char* pixel) const {
        const Rgb8 white{kWhite, kWhite, kWhite};
        if (pixel[0] >= backgroundFloor_ && pixel[1] >= backgroundFloor_ &&
            pixel[2] >= backgroundFloor_) {
            return white;
        }
        std::size_t index = 0;
        long sqError = 0;
        for (std::size_t channel = 0; channel < kChannels; ++channel) {
            index += snaps_[channel].index[pixel[channel]];
            sqError += snaps_[channel].sqError[pixel[channel]];
        }
        index %= kLatticeSize;
        const bool closeEnough = maxSqError_ < 0 || sqError <= maxSqError_;
        return inUse_[index] != 0 && closeEnough ? colours_[index] : white;
    }

private:
    LatticeColours colours_;
    ChannelSnaps snaps_;
    const std::vector<unsigned char>& inUse_;
    unsigned char backgroundFloor_;
    long maxSqError_;
};

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
    out.assign(total, kWhite);
    const RatioTable& ratios = ChannelRatios();
    const std::size_t stride = ve_detail::RasterBytes(width, 1);
    for (std::size_t offset = 0; offset < total; offset += stride) {
        RecoverRow(ratios, colourCapture.data() + offset, referenceCapture.data() + offset,
                   out.data() + offset, static_cast<std::size_t>(width), minReference);
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
    const LatticeSnapper snapper(inUse, backgroundFloor, maxSqError);
    // Masks are long runs of one colour: a pixel equal to the previous input reuses its result.
    unsigned char previousInput[kChannels] = {0, 0, 0};
    Rgb8 previousResult = snapper.Snap(previousInput);
    const std::size_t total = ve_detail::RasterBytes(width, height);
    for (unsigned char* pixel = rgb.data(); pixel != rgb.data() + total; pixel += kChannels) {
        if (pixel[0] != previousInput[0] || pixel[1] != previousInput[1] ||
            pixel[2] != previousInput[2]) {
            std::memcpy(previousInput, pixel, kChannels);
            previousResult = snapper.Snap(pixel);
        }
        pixel[0] = previousResult.r;
        pixel[1] = previousResult.g;
        pixel[2] = previousResult.b;
    }
}

double MaskForegroundFraction(const std::vector<unsigned char>& rgb, int width, int height,
                              unsigned char backgroundFloor) {
    if (width < 1 || height < 1 || rgb.size() < ve_detail::RasterBytes(width, height)) {
        return 0.0;
    }
    const std::size_t total = ve_detail::RasterBytes(width, height);
    std::size_t foreground = 0;
    for (std::size_t at = 0; at < total; at += kChannels) {
        if (rgb[at] < backgroundFloor || rgb[at + 1] < backgroundFloor ||
            rgb[at + 2] < backgroundFloor) {
            ++foreground;
        }
    }
    return static_cast<double>(foreground) /
           (static_cast<double>(width) * static_cast<double>(height));
}

} // namespace Velmora
