// Turns a pair of highlighted captures into mask colours (ratio recovery and hole filling),
// and measures a mask's foreground. Snapping onto the lattice is in LatticeSnap.cpp.
#include "Extract/ByteVector.hpp"
#include "Extract/Raster.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Velmora {
namespace {

constexpr std::size_t kChannels = 3;
constexpr unsigned char kWhite = 255;

using ve_detail::U8x16;
using U32x4 = std::uint32_t __attribute__((vector_size(16)));
using I32x4 = std::int32_t __attribute__((vector_size(16)));
using F32x4 = float __attribute__((vector_size(16)));

// floor(255 c / r + 1/2) for lanes holding one byte each (unsigned, for the shifts; signed,
// for the conversions SSE2 has), c at most r and r at least 1. 255 c is an integer below 2^16,
// so floats hold it exactly. Where 255 c / r + 1/2 is an integer k, 255 c / r is k - 1/2, a
// float, so the correctly rounded division and the addition are exact. Elsewhere its fraction
// is a multiple of 1 / 2r, so it lies at least 1/510 from either integer, and the two roundings
// (below 2^-16 and 2^-17 for values under 256) cannot carry it across: truncating gives the floor.
// A reciprocal estimate with a Newton step and a bias (no division) was measured slower: it
// needs five more multiply and add slots per four lanes, and those slots, not the divider, are
// what this loop is short of.
inline __attribute__((always_inline)) U32x4 Ratio4(U32x4 colour, U32x4 reference) {
    const F32x4 c = __builtin_convertvector(reinterpret_cast<I32x4>(colour), F32x4);
    const F32x4 r = __builtin_convertvector(reinterpret_cast<I32x4>(reference), F32x4);
    const F32x4 quotient = c * 255.0f / r + 0.5f;
    return reinterpret_cast<U32x4>(__builtin_convertvector(quotient, I32x4));
}

// lround(c * 255 / r) clamped to a byte, 0 where r is 0, for 16 channels. c is first lowered to
// r, since the ratio reaches 255 exactly when c >= r; an r of 0 then has c 0 and is raised to 1,
// giving 0. Byte k of every 32-bit lane goes through Ratio4 together and back to its place, so
// bytes are spread and gathered by shifts and masks alone.
inline __attribute__((always_inline)) U8x16 Ratio16(U8x16 colour, U8x16 reference) {
    const auto clamped = reinterpret_cast<U32x4>(colour < reference ? colour : reference);
    const auto references = reinterpret_cast<U32x4>(reference > 1 ? reference : U8x16{} + 1);
    const auto byte = [](U32x4 lanes, int shift) { return (lanes >> shift) & 0xFF; };
    const U32x4 out = Ratio4(byte(clamped, 0), byte(references, 0)) |
                      Ratio4(byte(clamped, 8), byte(references, 8)) << 8 |
                      Ratio4(byte(clamped, 16), byte(references, 16)) << 16 |
                      Ratio4(byte(clamped, 24), byte(references, 24)) << 24;
    return reinterpret_cast<U8x16>(out);
}

// A pixel is unknown when its brightest reference channel is below the minimum; its three
// bytes are then whitened (OR-ing 255 in) until the hole fill.
constexpr std::size_t kBlockPixels = 16;
constexpr std::size_t kBlockBytes = kBlockPixels * kChannels;
constexpr std::size_t kReach = 2;

using BlockMask = std::array<unsigned char, kBlockBytes>;

constexpr BlockMask PhaseMask(std::size_t phase) {
    BlockMask mask{};
    for (std::size_t at = 0; at < kBlockBytes; ++at) {
        mask[at] = at % kChannels == phase ? 0xFF : 0;
    }
    return mask;
}

constexpr BlockMask kFirst = PhaseMask(0);
constexpr BlockMask kSecond = PhaseMask(1);
constexpr BlockMask kThird = PhaseMask(2);

bool AnyLane(U8x16 lanes) {
    unsigned char folded = 0;
    for (std::size_t lane = 0; lane < sizeof(U8x16); ++lane) {
        folded |= lanes[lane];
    }
    return folded != 0;
}

// 16 pixels, 16 bytes at a time: every byte sees its pixel's other two reference bytes through
// loads shifted by one and two (constant masks pick which), so there is no shuffle. It reads two
// bytes either side of the block. True if any pixel is unknown.
bool WhitenBlock(const unsigned char* reference, unsigned char* white, unsigned char minReference) {
    const U8x16 floor = ve_detail::SplatU8x16(minReference);
    U8x16 any{};
    for (std::size_t at = 0; at < kBlockBytes; at += sizeof(U8x16)) {
        const auto dim = [&](std::ptrdiff_t shift) {
            return reinterpret_cast<U8x16>(ve_detail::LoadU8x16(reference + at + shift) < floor);
        };
        const U8x16 first = ve_detail::LoadU8x16(kFirst.data() + at);
        const U8x16 second = ve_detail::LoadU8x16(kSecond.data() + at);
        const U8x16 third = ve_detail::LoadU8x16(kThird.data() + at);
        const U8x16 behind = dim(-1);
        const U8x16 near = (dim(1) & ~third) | (behind & third);
        const U8x16 far = (dim(2) & first) | (behind & second) | (dim(-2) & third);
        const U8x16 marks = dim(0) & near & far;
        ve_detail::StoreU8x16(white + at, marks);
        any |= marks;
    }
    return AnyLane(any);
}

unsigned char WhitenPixels(const unsigned char* reference, unsigned char* white, std::size_t pixels,
                           unsigned char minReference) {
    unsigned char any = 0;
    for (std::size_t at = 0; at < pixels * kChannels; at += kChannels) {
        const unsigned char* ref = reference + at;
        const unsigned char mark = std::max({ref[0], ref[1], ref[2]}) < minReference ? kWhite : 0;
        std::memset(white + at, mark, kChannels);
        any |= mark;
    }
    return any;
}

// The row's whitening marks, block by block where the two bytes either side lie inside the
// capture (`before` and `after` count what does), pixel by pixel elsewhere. True if any pixel
// is unknown.
bool WhitenRow(const unsigned char* reference, unsigned char* white, std::size_t width,
               std::size_t before, std::size_t after, unsigned char minReference) {
    const std::size_t firstBlock = before >= kReach ? 0 : 1;
    std::size_t endBlock = width / kBlockPixels;
    if (endBlock > 0 && endBlock * kBlockBytes + kReach > width * kChannels + after) {
        --endBlock;
    }
    if (endBlock <= firstBlock) {
        return WhitenPixels(reference, white, width, minReference) != 0;
    }
    const std::size_t head = firstBlock * kBlockPixels;
    bool any = WhitenPixels(reference, white, head, minReference) != 0;
    for (std::size_t block = firstBlock; block < endBlock; ++block) {
        any |=
            WhitenBlock(reference + block * kBlockBytes, white + block * kBlockBytes, minReference);
    }
    const std::size_t done = endBlock * kBlockBytes;
    any |= WhitenPixels(reference + done, white + done, width - endBlock * kBlockPixels,
                        minReference) != 0;
    return any;
}

// Every byte of a row, 16 at a time; the last few through a padded copy. True if any reference
// byte is below the minimum, so that only such rows look for unknown pixels.
bool RatioBytes(const unsigned char* colour, const unsigned char* reference, unsigned char* out,
                std::size_t bytes, unsigned char minReference) {
    constexpr std::size_t kLanes = sizeof(U8x16);
    const U8x16 floor = ve_detail::SplatU8x16(minReference);
    U8x16 dim{};
    const auto step = [&](const unsigned char* colours, const unsigned char* references,
                          unsigned char* into) {
        const U8x16 ref = ve_detail::LoadU8x16(references);
        ve_detail::StoreU8x16(into, Ratio16(ve_detail::LoadU8x16(colours), ref));
        dim |= reinterpret_cast<U8x16>(ref < floor);
    };
    std::size_t at = 0;
    for (; at + kLanes <= bytes; at += kLanes) {
        step(colour + at, reference + at, out + at);
    }
    if (at < bytes) {
        // Padding with the minimum itself keeps it out of the dim check.
        unsigned char lastColour[kLanes] = {}, lastOut[kLanes];
        unsigned char lastReference[kLanes];
        std::memset(lastReference, minReference, kLanes);
        std::memcpy(lastColour, colour + at, bytes - at);
        std::memcpy(lastReference, reference + at, bytes - at);
        step(lastColour, lastReference, lastOut);
        std::memcpy(out + at, lastOut, bytes - at);
    }
    return AnyLane(dim);
}

void OrBytes(unsigned char* __restrict out, const unsigned char* __restrict white,
             std::size_t bytes) {
    for (std::size_t at = 0; at < bytes; ++at) {
        out[at] |= white[at];
    }
}

// Unknown pixels (whitened) copy the nearest known pixel to their left; leading ones copy the
// row's first known pixel; a row with no known pixel stays white.
void FillRowHoles(unsigned char* out, const unsigned char* white, std::size_t width) {
    std::size_t firstKnown = 0;
    while (firstKnown < width && white[firstKnown * kChannels] != 0) {
        ++firstKnown;
    }
    if (firstKnown == width) {
        return;
    }
    for (std::size_t x = 0; x < firstKnown; ++x) {
        std::memcpy(out + x * kChannels, out + firstKnown * kChannels, kChannels);
    }
    for (std::size_t x = firstKnown + 1; x < width; ++x) {
        if (white[x * kChannels] != 0) {
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
    const auto rowPixels = static_cast<std::size_t>(width);
    const std::size_t stride = ve_detail::RasterBytes(width, 1);
    std::vector<unsigned char> white(stride);
    for (std::size_t offset = 0; offset < total; offset += stride) {
        unsigned char* row = out.data() + offset;
        const unsigned char* reference = referenceCapture.data() + offset;
        if (RatioBytes(colourCapture.data() + offset, reference, row, stride, minReference) &&
            WhitenRow(reference, white.data(), rowPixels, offset, total - offset - stride,
                      minReference)) {
            OrBytes(row, white.data(), stride);
            FillRowHoles(row, white.data(), rowPixels);
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
