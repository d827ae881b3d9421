// The mask's per-pixel passes are tables and branch-free loops; each must give exactly what a
// plain implementation of its written rule gives, over every input that can tell them apart.
#include "Extract/Raster.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes RandomBytes(std::size_t count, std::mt19937& rng, int below = 256) {
    Bytes bytes(count);
    for (auto& byte : bytes) {
        byte = static_cast<unsigned char>(rng() % static_cast<unsigned>(below));
    }
    return bytes;
}

// The written rule: the ratio where the reference is bright enough, holes filled from the left
// (leading ones from the first known pixel), rows without a known pixel white.
Bytes ReferenceRatio(const Bytes& colour, const Bytes& reference, int width, int height,
                     unsigned char minReference) {
    Bytes out(colour.size(), 255);
    for (int y = 0; y < height; ++y) {
        int firstKnown = -1;
        for (int x = 0; x < width; ++x) {
            const std::size_t at = (std::size_t(y) * width + x) * 3;
            if (std::max({reference[at], reference[at + 1], reference[at + 2]}) >= minReference) {
                for (int c = 0; c < 3; ++c) {
                    const int r = reference[at + c];
                    const long v = r == 0 ? 0 : std::lround(colour[at + c] * 255.0 / r);
                    out[at + c] = static_cast<unsigned char>(std::clamp(v, 0L, 255L));
                }
                firstKnown = firstKnown < 0 ? x : firstKnown;
            } else if (firstKnown >= 0) {
                std::copy_n(&out[at - 3], 3, &out[at]);
            }
        }
        for (int x = 0; x < firstKnown; ++x) {
            std::copy_n(&out[(std::size_t(y) * width + firstKnown) * 3], 3,
                        &out[(std::size_t(y) * width + x) * 3]);
        }
    }
    return out;
}

// Fault: a wrong table entry, reciprocal or rounding for any (reference, colour) pair, or a
// hole fill that borrows across rows or from the wrong side.
TEST(MaskPassReference, RatioRecoveryMatchesOverEveryPairAndRandomHoles) {
    // Pixel (x, y) divides x by y in red, y by x in green and x by 255 - y in blue: every pixel
    // is known, so every pair is divided in red. The random dark rasters below make the holes.
    Bytes colour, reference;
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            colour.insert(colour.end(),
                          {Bytes::value_type(x), Bytes::value_type(y), Bytes::value_type(x)});
            reference.insert(reference.end(), {Bytes::value_type(y), Bytes::value_type(x),
                                               Bytes::value_type(255 - y)});
        }
    }
    Bytes out;
    ASSERT_TRUE(RatioRecoverColors(colour, reference, 256, 256, out, 4));
    EXPECT_TRUE(out == ReferenceRatio(colour, reference, 256, 256, 4));
    std::mt19937 rng(5);
    for (const auto& [width, height] : {std::pair{1, 1}, {17, 9}, {333, 7}}) {
        const Bytes dark = RandomBytes(std::size_t(width) * height * 3, rng, 8);
        const Bytes some = RandomBytes(dark.size(), rng);
        ASSERT_TRUE(RatioRecoverColors(some, dark, width, height, out, 4));
        EXPECT_TRUE(out == ReferenceRatio(some, dark, width, height, 4)) << width << "x" << height;
    }
}

// Fault: a row that skips the unknown-pixel search because its one dim reference lies in the
// bytes after the last whole 16-byte group, or in the first or last block of the capture, where
// the whitening has to go pixel by pixel. One unknown pixel at every place of bright rows.
TEST(MaskPassReference, RatioFindsALoneUnknownPixelAnywhereInTheRow) {
    for (const int width : {1, 5, 16, 17, 21, 37}) {
        const std::size_t bytes = std::size_t(width) * 3 * 3;
        Bytes colour(bytes), reference(bytes, 200);
        for (std::size_t at = 0; at < bytes; ++at) {
            colour[at] = static_cast<unsigned char>(at * 7 % 200);
        }
        for (std::size_t pixel = 0; pixel < bytes / 3; ++pixel) {
            Bytes dim = reference;
            std::fill_n(&dim[pixel * 3], 3, 3);
            Bytes out;
            ASSERT_TRUE(RatioRecoverColors(colour, dim, width, 3, out, 4));
            ASSERT_TRUE(out == ReferenceRatio(colour, dim, width, 3, 4))
                << "width " << width << " unknown pixel " << pixel;
        }
    }
}

int Digit(int channel) {
    return std::clamp(static_cast<int>((channel - 15) / 18.75 + 0.5), 0, 12);
}
int Level(int digit) {
    return static_cast<int>(digit * 18.75 + 0.5) + 15;
}

// The rule for one pixel, written out plainly.
void ExpectSnappedByRule(const Bytes& in, const Bytes& snapped, const Bytes& inUse, int floor,
                         long limit) {
    for (std::size_t at = 0; at < in.size(); at += 3) {
        const int d[3] = {Digit(in[at]), Digit(in[at + 1]), Digit(in[at + 2])};
        long error = 0;
        for (int c = 0; c < 3; ++c) {
            error += long(in[at + c] - Level(d[c])) * (in[at + c] - Level(d[c]));
        }
        const int index = ((169 * d[0] + 13 * d[1] + d[2]) * 1548) % 2197;
        const bool keep = std::min({in[at], in[at + 1], in[at + 2]}) < floor && inUse[index] != 0 &&
                          (limit < 0 || error <= limit);
        for (int c = 0; c < 3; ++c) {
            ASSERT_EQ(snapped[at + c], keep ? Level(d[c]) : 255)
                << "pixel " << at / 3 << " floor " << floor << " limit " << limit;
        }
    }
}

// Fault: a snap table that misplaces a decision boundary, the error limit, the background floor
// or the in-use lookup for any colour. Every colour of the cube is tried once.
TEST(MaskPassReference, SnapMatchesTheRuleForEveryColour) {
#ifdef VELMORA_THREAD_SANITIZED
    GTEST_SKIP() << "one thread: checked in the plain and AddressSanitizer builds";
#endif
    std::mt19937 rng(11);
    const Bytes inUse = RandomBytes(2197, rng, 2);
    Bytes cube(std::size_t{256} * 256 * 256 * 3);
    for (std::size_t i = 0; i < cube.size(); ++i) {
        cube[i] = static_cast<unsigned char>((i / 3) >> (8 * (2 - i % 3)));
    }
    for (const long limit : {64L, -1L, 0L}) {
        Bytes snapped = cube;
        SnapRgbToLatticeSet(snapped, 4096, 4096, inUse, 250, limit);
        ExpectSnappedByRule(cube, snapped, inUse, 250, limit);
    }
}

// Fault: a block pass that trusts a colour window too far (a limit between two window widths, a
// floor just above a level plus its window), mixes up the runs of a block (edges, a third colour
// or a lone pixel in the middle, white beside colour), or drops the pixels after the last block.
// Runs of jittered lattice colours, some far off, some white, at random lengths.
TEST(MaskPassReference, SnapMatchesTheRuleOnJitteredRuns) {
    std::mt19937 rng(31);
    const Bytes inUse = RandomBytes(2197, rng, 2);
    Bytes runs;
    // Kinds: white, far off, just above the top level (240), then jitter of 1, 4, 5, 9 and 10:
    // each side of the windows of limits 64 and none.
    const int reachOf[] = {0, 16, 9, 1, 4, 5, 9, 10};
    while (runs.size() < std::size_t{3} * 4099) {
        const std::size_t length = 1 + rng() % (rng() % 4 == 0 ? 3 : 40);
        const int kind = int(rng() % 8);
        const int level = Level(int(rng() % 13));
        for (std::size_t i = 0; i < length; ++i) {
            for (int c = 0; c < 3; ++c) {
                const int reach = reachOf[kind];
                const int value = kind == 0   ? 250 + int(rng() % 6)
                                  : kind == 2 ? 240 + int(rng() % (reach + 1))
                                              : level + int(rng() % (2 * reach + 1)) - reach;
                runs.push_back(static_cast<unsigned char>(std::clamp(value, 0, 255)));
            }
        }
    }
    runs.resize(std::size_t{3} * 4099); // 256 blocks and three pixels
    for (const int floor : {250, 0, 1, 200, 241, 245, 255}) {
        for (const long limit : {64L, -1L, 0L, 2L, 3L, 47L, 48L, 74L, 75L, 242L, 243L, 1000L}) {
            Bytes snapped = runs;
            SnapRgbToLatticeSet(snapped, 4099, 1, inUse, static_cast<unsigned char>(floor), limit);
            ExpectSnappedByRule(runs, snapped, inUse, floor, limit);
        }
    }
}

// Shapes whose edges run down the rows (upright, leaning one pixel a row, or every other row),
// whose colours change now and then from one row to the next, with jitter, lone stray pixels and
// white between them.
Bytes ShapesDownTheRows(int width, int height, std::mt19937& rng) {
    constexpr int kStripes = 5;
    int edge[kStripes], lean[kStripes], value[kStripes][3];
    const auto recolour = [&](int stripe) {
        const int kind = int(rng() % 4); // white, near a level, a little further, far off
        const int level = Level(int(rng() % 13));
        for (int c = 0; c < 3; ++c) {
            value[stripe][c] = kind == 0 ? 255 : kind == 3 ? int(rng() % 256) : level;
        }
        value[stripe][0] += kind == 2 ? 5 : 0;
    };
    for (int stripe = 0; stripe < kStripes; ++stripe) {
        edge[stripe] = int(rng() % unsigned(width));
        lean[stripe] = int(rng() % 5) - 2;
        recolour(stripe);
    }
    Bytes mask;
    for (int y = 0; y < height; ++y) {
        for (int stripe = 0; stripe < kStripes; ++stripe) {
            edge[stripe] += y % 2 == 0 ? lean[stripe] / 2 : lean[stripe] - lean[stripe] / 2;
            if (rng() % 9 == 0) {
                recolour(stripe);
            }
        }
        for (int x = 0; x < width; ++x) {
            int owner = 0; // the stripe with the nearest edge at or left of x, wrapping
            for (int stripe = 1; stripe < kStripes; ++stripe) {
                const auto distance = [&](int s) {
                    return ((x - edge[s]) % width + width) % width;
                };
                owner = distance(stripe) < distance(owner) ? stripe : owner;
            }
            for (int c = 0; c < 3; ++c) {
                const int jitter = int(rng() % 5) - 2;
                const int stray = rng() % 60 == 0 ? int(rng() % 256) : -1;
                const int pixel = stray >= 0 ? stray : value[owner][c] + jitter;
                mask.push_back(static_cast<unsigned char>(std::clamp(pixel, 0, 255)));
            }
        }
    }
    return mask;
}

// Fault: a block that takes what the block above became although one of its pixels no longer
// fits it, an above block whose lone or white pixels predict the colour they were given rather
// than white, a first row predicted from nothing, or a row width that is not whole blocks
// pairing a block with the wrong one above.
TEST(MaskPassReference, SnapMatchesTheRuleOnShapesDownTheRows) {
    std::mt19937 rng(47);
    const Bytes inUse = RandomBytes(2197, rng, 2);
    for (const int width : {16, 7, 53, 96, 160, 203}) {
        const Bytes shapes = ShapesDownTheRows(width, 60, rng);
        for (const int floor : {250, 200, 241}) {
            for (const long limit : {64L, -1L, 0L, 48L}) {
                Bytes snapped = shapes;
                SnapRgbToLatticeSet(snapped, width, 60, inUse, static_cast<unsigned char>(floor),
                                    limit);
                ExpectSnappedByRule(shapes, snapped, inUse, floor, limit);
            }
        }
    }
}

// A BMP whose pixel data ends the file (the last row has no bytes after it); a negative height
// stores the rows top down.
Bytes TightBmp(int width, int height, int bits, std::mt19937& rng) {
    const std::size_t stride = (std::size_t(width) * bits / 8 + 3) & ~std::size_t{3};
    Bytes bmp = RandomBytes(54 + stride * std::size_t(std::abs(height)), rng);
    const std::uint32_t fields[] = {
        54, 40, std::uint32_t(width), std::uint32_t(height), 1u + (std::uint32_t(bits) << 16), 0};
    bmp[0] = 'B', bmp[1] = 'M';
    for (int f = 0; f < 6; ++f) {
        for (int i = 0; i < 4; ++i) {
            bmp[10 + 4 * f + i] = static_cast<unsigned char>(fields[f] >> (8 * i));
        }
    }
    return bmp;
}

// The RGB rows, top first, read plainly from the file.
Bytes BmpPixels(const Bytes& bmp, int width, int height, int bits) {
    const std::size_t stride = (std::size_t(width) * bits / 8 + 3) & ~std::size_t{3};
    Bytes rgb;
    for (int y = 0; y < std::abs(height); ++y) {
        const int stored = height > 0 ? height - 1 - y : y;
        for (int x = 0; x < width; ++x) {
            const auto* p = &bmp[54 + stride * stored + std::size_t(x) * bits / 8];
            rgb.insert(rgb.end(), {p[2], p[1], p[0]});
        }
    }
    return rgb;
}

// Fault: a crop, scale, foreground count or BMP decode that drops, shifts or swaps a byte on some
// size or offset the hand-written cases miss.
TEST(MaskPassReference, GeometryCountAndBmpMatchOnRandomShapes) {
    std::mt19937 rng(23);
    for (int round = 0; round < 40; ++round) {
        const int width = 1 + int(rng() % 40), height = 1 + int(rng() % 30);
        const Bytes rgb = RandomBytes(std::size_t(width) * height * 3, rng);
        const int dstW = 1 + int(rng() % 90), dstH = 1 + int(rng() % 70);
        Bytes scaled, expected;
        for (int y = 0; y < dstH; ++y) {
            for (int x = 0; x < dstW; ++x) {
                const int sx = std::min((2 * x + 1) * width / (2 * dstW), width - 1);
                const int sy = std::min((2 * y + 1) * height / (2 * dstH), height - 1);
                const auto* p = &rgb[(std::size_t(sy) * width + sx) * 3];
                expected.insert(expected.end(), p, p + 3);
            }
        }
        ASSERT_TRUE(ScaleRgbNearest(rgb, width, height, dstW, dstH, scaled));
        EXPECT_TRUE(scaled == expected) << width << "x" << height << " to " << dstW << "x" << dstH;

        const SafeFrameRect rect{int(rng() % width), int(rng() % height), 0, 0, true};
        SafeFrameRect fit = rect;
        fit.width = 1 + int(rng() % (width - rect.x));
        fit.height = 1 + int(rng() % (height - rect.y));
        expected.clear();
        for (int y = fit.y; y < fit.y + fit.height; ++y) {
            const auto* p = &rgb[(std::size_t(y) * width + fit.x) * 3];
            expected.insert(expected.end(), p, p + std::size_t(fit.width) * 3);
        }
        Bytes cropped = rgb;
        int w = width, h = height;
        ASSERT_TRUE(CropRgbInPlace(cropped, w, h, fit));
        EXPECT_TRUE(cropped == expected && w == fit.width && h == fit.height);

        const auto floor = static_cast<unsigned char>(rng() % 256);
        std::size_t foreground = 0;
        for (std::size_t at = 0; at < rgb.size(); at += 3) {
            foreground += std::min({rgb[at], rgb[at + 1], rgb[at + 2]}) < floor;
        }
        EXPECT_EQ(MaskForegroundFraction(rgb, width, height, floor),
                  double(foreground) / (double(width) * height));

        const int bits = round % 2 == 0 ? 24 : 32;
        const int storedHeight = round % 4 < 2 ? height : -height;
        const Bytes bmp = TightBmp(width, storedHeight, bits, rng);
        expected = BmpPixels(bmp, width, storedHeight, bits);
        Bytes decoded;
        ASSERT_TRUE(DecodeBmpToRgb(bmp, w, h, decoded));
        EXPECT_TRUE(decoded == expected && w == width && h == height)
            << bits << " " << storedHeight;
    }
}

// Fault: a 16-pixel BMP block that takes red or blue from the wrong neighbour, covers pixels past
// the row's width, or reads past the end of a file whose last row fills it (widths around the
// block size, with and without row padding, both row orders).
TEST(MaskPassReference, BmpRowsAroundTheBlockSizeMatchByteForByte) {
    std::mt19937 rng(41);
    for (const int width : {15, 16, 17, 31, 32, 33, 48, 64}) {
        for (const int height : {3, -3}) {
            const Bytes bmp = TightBmp(width, height, 24, rng);
            const Bytes expected = BmpPixels(bmp, width, height, 24);
            Bytes decoded(7, 0); // a used buffer of the wrong size must come back exact
            int w = 0, h = 0;
            ASSERT_TRUE(DecodeBmpToRgb(bmp, w, h, decoded));
            EXPECT_TRUE(decoded == expected && w == width && h == 3)
                << "width " << width << " height " << height;
        }
    }
}

} // namespace
} // namespace Velmora
