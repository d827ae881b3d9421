#include "Extract/PngEncoder.hpp"

#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

struct Picture {
    std::string name;
    int width, height, channels;
    Bytes pixels;
};

// Calls byteAt(x, y, channel) in memory order.
template <typename ByteAt>
Picture Generate(const char* kind, int width, int height, int channels, ByteAt byteAt) {
    Picture picture{kind, width, height, channels, {}};
    picture.name +=
        std::to_string(width) + "x" + std::to_string(height) + "x" + std::to_string(channels);
    for (int i = 0; i < width * height * channels; ++i) {
        const int pixel = i / channels;
        picture.pixels.push_back(
            static_cast<unsigned char>(byteAt(pixel % width, pixel / width, i % channels)));
    }
    return picture;
}

// std::mt19937's raw output is fixed by the standard, so these pictures are the same everywhere.
Picture RandomPicture(int width, int height, int channels, unsigned seed) {
    std::mt19937 rng(seed);
    return Generate("random", width, height, channels, [&](int, int, int) { return rng() >> 24; });
}

// White with two flat lattice-coloured blocks, as the mask renderer produces.
Picture MaskPicture(int width, int height) {
    return Generate("mask", width, height, 3, [&](int x, int y, int c) {
        static const int green[3] = {146, 221, 34}, blue[3] = {15, 71, 109};
        const bool inGreen = x > width / 5 && x < width / 2 && y > height / 4;
        return inGreen ? green[c] : x + y > width && y < 3 * height / 4 ? blue[c] : 255;
    });
}

Picture GradientPicture(int width, int height, int channels) {
    return Generate("gradient", width, height, channels,
                    [](int x, int y, int c) { return x * (c + 1) + y * (3 - c); });
}

// Seven grey levels: recurring patterns outgrow the hash chain limit, so which of them share a
// bucket decides the matches found. Pins the hash function and the chain walk.
Picture FewLevelPicture(int width, int height) {
    std::mt19937 rng(9);
    return Generate("levels", width, height, 3, [&](int, int, int) { return (rng() % 7) * 40; });
}

// Over 4 MB filtered: the compressor moves its window several times, matches reaching across.
Picture BandedMaskPicture(int width, int height) {
    const Picture mask = MaskPicture(width, height), noise = RandomPicture(width, height, 3, 31);
    return Generate("banded", width, height, 3, [&](int x, int y, int c) {
        return ((y / 16) % 5 == 0 ? noise : mask).pixels[(y * width + x) * 3 + c];
    });
}

// The filtered stream repeats every `periodRows` rows, so only matches that far back compress it.
Picture PeriodicPicture(int width, int periodRows, int height) {
    const Picture period = RandomPicture(width, periodRows, 3, 99);
    return Generate("periodic", width, height, 3, [&](int x, int y, int c) {
        return period.pixels[((y % periodRows) * width + x) * 3 + c];
    });
}

std::uint32_t ReadU32BE(const unsigned char* p) {
    return (std::uint32_t{p[0]} << 24) | (p[1] << 16) | (p[2] << 8) | p[3];
}

struct Encoded {
    Bytes png, idat, filtered;
};

// Encodes, checks the chunks and their CRCs, and inflates the IDAT, which must hold exactly one
// zlib stream.
Encoded Encode(const Picture& p) {
    Encoded e;
    EXPECT_TRUE(EncodeImageToPng(p.pixels, p.width, p.height, p.channels, e.png));
    std::string types;
    std::size_t at = 8;
    for (std::size_t length = 0; at + 12 <= e.png.size(); at += 12 + length) {
        length = std::min<std::size_t>(ReadU32BE(&e.png[at]), e.png.size() - at - 12);
        const unsigned char* type = &e.png[at + 4];
        types.append(reinterpret_cast<const char*>(type), 4) += ' ';
        EXPECT_EQ(ReadU32BE(type + 4 + length), crc32(0, type, static_cast<uInt>(length + 4)));
        if (types == "IHDR IDAT ") {
            e.idat.assign(type + 4, type + 4 + length);
        }
    }
    EXPECT_EQ(types, "IHDR IDAT IEND ");
    EXPECT_EQ(at, e.png.size()) << "bytes after the last chunk";
    e.filtered.resize(p.pixels.size() + static_cast<std::size_t>(p.height) + 1);
    uLongf size = e.filtered.size();
    uLong used = e.idat.size();
    EXPECT_EQ(uncompress2(e.filtered.data(), &size, e.idat.data(), &used), Z_OK);
    EXPECT_EQ(used, e.idat.size()) << "bytes after the zlib stream";
    e.filtered.resize(size);
    return e;
}

TEST(PngEncoderRoundTrip, EveryPictureDecodesFromOneFixedBlockOfFilteredRows) {
    const Picture pictures[] = {
        RandomPicture(1, 1, 3, 1),    RandomPicture(1, 1, 4, 2),     RandomPicture(37, 23, 3, 3),
        RandomPicture(64, 48, 4, 4),  RandomPicture(1, 17, 3, 5),    RandomPicture(17, 1, 4, 6),
        RandomPicture(301, 7, 3, 7),  MaskPicture(203, 151),         MaskPicture(1, 9),
        GradientPicture(255, 61, 3),  GradientPicture(129, 33, 4),   GradientPicture(2, 2, 4),
        PeriodicPicture(1365, 8, 40), PeriodicPicture(110, 99, 250), BandedMaskPicture(1500, 1000),
        RandomPicture(4000, 2, 3, 8)};
    for (const Picture& picture : pictures) {
        SCOPED_TRACE(picture.name);
        const Encoded e = Encode(picture);
        png_image image{};
        image.version = PNG_IMAGE_VERSION;
        Bytes decoded;
        if (png_image_begin_read_from_memory(&image, e.png.data(), e.png.size()) != 0) {
            image.format = picture.channels == 4 ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
            decoded.resize(PNG_IMAGE_SIZE(image));
            png_image_finish_read(&image, nullptr, decoded.data(), 0, nullptr);
        }
        EXPECT_EQ(image.warning_or_error & PNG_IMAGE_ERROR, 0u) << image.message;
        EXPECT_TRUE(decoded == picture.pixels);
        ASSERT_GE(e.idat.size(), 7u);
        EXPECT_EQ((e.idat[0] << 16) | (e.idat[1] << 8) | (e.idat[2] & 7), 0x780103)
            << "zlib header 78 01, then one block: BFINAL=1, BTYPE=01";
        EXPECT_EQ(ReadU32BE(&e.idat[e.idat.size() - 4]),
                  adler32(1, e.filtered.data(), static_cast<uInt>(e.filtered.size())));
    }
}

TEST(PngEncoderFilters, KnownPicturesGetTheirFilters) {
    // White: Sub zeroes all but the first pixel of row 0 (tying with Paeth), Up every later row.
    const Encoded white = Encode(Generate("white", 40, 6, 3, [](int, int, int) { return 255; }));
    ASSERT_EQ(white.filtered.size(), 6u * 121);
    for (std::size_t y = 0; y < 6; ++y) {
        EXPECT_EQ(white.filtered[y * 121], y == 0 ? 1 : 2) << "row " << y;
    }
    // A lone pixel costs the same under every filter, so the lowest type, None, wins.
    const Picture dot = RandomPicture(1, 1, 3, 42);
    EXPECT_EQ(Encode(dot).filtered, (Bytes{0, dot.pixels[0], dot.pixels[1], dot.pixels[2]}));
}

TEST(PngEncoderWindow, MatchesReachExactlyOneWindowBack) {
    // Filtered rows of 1365 * 3 + 1 = 4096 bytes repeating after 8 rows (32768 bytes) compress;
    // rows of 110 * 3 + 1 = 331 bytes repeating after 99 rows (32769 bytes) cannot.
    EXPECT_LT(Encode(PeriodicPicture(1365, 8, 40)).png.size(), 1365u * 40);
    EXPECT_GT(Encode(PeriodicPicture(110, 99, 250)).png.size(), 110u * 3 * 250);
}

TEST(PngEncoderInput, RejectsBadShapesAndShortInputAndIgnoresExtraBytes) {
    const Bytes pixels(64 * 4, 7);
    const struct {
        int width, height, channels;
        std::size_t bytes = 256;
    } cases[] = {{4, 4, 1}, {4, 4, 2},  {4, 4, 5},  {4, 4, 0},    {0, 4, 3},
                 {4, 0, 3}, {-4, 4, 3}, {4, -4, 4}, {5, 3, 4, 59}};
    for (const auto& c : cases) {
        Bytes png(10, 1);
        const Bytes input(pixels.begin(), pixels.begin() + c.bytes);
        EXPECT_FALSE(EncodeImageToPng(input, c.width, c.height, c.channels, png) || !png.empty())
            << c.width << "x" << c.height << "x" << c.channels << " from " << c.bytes << " bytes";
    }
    Bytes exact, viaRgb;
    EXPECT_FALSE(EncodeRgbToPng(Bytes(5 * 3 * 3 - 1), 5, 3, viaRgb));
    ASSERT_TRUE(EncodeImageToPng(Bytes(pixels.begin(), pixels.begin() + 48), 4, 4, 3, exact));
    ASSERT_TRUE(EncodeRgbToPng(pixels, 4, 4, viaRgb));
    EXPECT_TRUE(viaRgb == exact);
}

// Whole-file fingerprints recorded from the first reviewed implementation: a faster encoder
// must not change a single output byte.
TEST(PngEncoderPins, OutputIsByteForByteUnchanged) {
    const struct {
        Picture picture;
        std::size_t size;
        std::uint32_t crc;
    } pins[] = {
        {MaskPicture(640, 480), 7956, 0xC70BE37Du},
        {GradientPicture(333, 211, 4), 3551, 0x0422E040u},
        {RandomPicture(160, 90, 3, 2024), 45749, 0xDD0949CCu},
        {PeriodicPicture(1365, 8, 40), 40542, 0x80A7ACECu},
        {BandedMaskPicture(1500, 1000), 1013778, 0x7C25685Du},
        {FewLevelPicture(400, 300), 204958, 0xDBF8FA81u},
    };
    for (const auto& pin : pins) {
        const Bytes png = Encode(pin.picture).png;
        EXPECT_EQ(png.size(), pin.size) << pin.picture.name;
        EXPECT_EQ(crc32(0, png.data(), static_cast<uInt>(png.size())), pin.crc) << pin.picture.name;
    }
}

} // namespace
} // namespace Velmora
