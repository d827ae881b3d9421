#include "Extract/PngEncoder.hpp"
#include "Extract/Checksums.hpp"

#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
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
    picture.name += std::to_string(width) + "x" + std::to_string(height);
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

// Seven levels a byte: patterns recur beyond the chain limit, which pins the hash and chain walk.
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

// The IDAT's zlib stream (the chunk after IHDR), inflated by zlib itself.
Bytes InflateIdat(const Bytes& png, std::size_t filteredSize) {
    constexpr std::size_t kIdatAt = 8 + 12 + 13;
    Bytes filtered(filteredSize + 1);
    uLongf length = filtered.size();
    EXPECT_EQ(uncompress(filtered.data(), &length, &png[kIdatAt + 8], ReadU32BE(&png[kIdatAt])),
              Z_OK);
    filtered.resize(length);
    return filtered;
}

// Undoes the row filters as a decoder does, to compare the inflated stream with the pixels.
Bytes Unfilter(const Bytes& filtered, std::size_t rowBytes, std::size_t bpp) {
    Bytes raw;
    for (std::size_t at = 0, y = 0; at + rowBytes < filtered.size() + 1; at += rowBytes + 1, ++y) {
        for (std::size_t x = 0; x < rowBytes; ++x) {
            const int a = x >= bpp ? raw[raw.size() - bpp] : 0;
            const int b = y > 0 ? raw[raw.size() - rowBytes] : 0;
            const int c = x >= bpp && y > 0 ? raw[raw.size() - rowBytes - bpp] : 0;
            const int pa = std::abs(b - c), pb = std::abs(a - c), pc = std::abs(a + b - 2 * c);
            const int paeth = pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
            const int predictors[5] = {0, a, b, (a + b) / 2, paeth};
            raw.push_back(
                static_cast<unsigned char>(filtered[at + 1 + x] + predictors[filtered[at] % 5]));
        }
    }
    return raw;
}

// Encodes and checks what readers rely on: exactly IHDR, IDAT and IEND with correct CRCs, and a
// single zlib stream, with nothing after it, that decodes to the pixels without a warning.
Bytes Encode(const Picture& p) {
    Bytes png, decoded;
    EXPECT_TRUE(EncodeImageToPng(p.pixels, p.width, p.height, p.channels, png));
    std::string types;
    std::size_t at = 8;
    for (std::size_t length = 0; at + 12 <= png.size(); at += 12 + length) {
        length = std::min<std::size_t>(ReadU32BE(&png[at]), png.size() - at - 12);
        const unsigned char* type = &png[at + 4];
        types.append(reinterpret_cast<const char*>(type), 4) += ' ';
        EXPECT_EQ(ReadU32BE(type + 4 + length), crc32(0, type, static_cast<uInt>(length + 4)));
    }
    EXPECT_EQ(types, "IHDR IDAT IEND ");
    EXPECT_EQ(at, png.size()) << "bytes after the last chunk";
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, png.data(), png.size()) != 0) {
        image.format = p.channels == 4 ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
        decoded.resize(PNG_IMAGE_SIZE(image));
        png_image_finish_read(&image, nullptr, decoded.data(), 0, nullptr);
    }
    EXPECT_EQ(image.warning_or_error, 0u) << image.message;
    EXPECT_TRUE(decoded == p.pixels);
    const std::size_t rowBytes = static_cast<std::size_t>(p.width * p.channels);
    const Bytes filtered = InflateIdat(png, p.height * (rowBytes + 1));
    EXPECT_EQ(filtered.size(), p.height * (rowBytes + 1));
    EXPECT_TRUE(Unfilter(filtered, rowBytes, static_cast<std::size_t>(p.channels)) == p.pixels);
    return png;
}

// Catches a filter chooser that breaks ties the wrong way or filters a 1x1 picture.
TEST(PngEncoderFilters, KnownExamplesPickTheirFilters) {
    // All white: Sub wins the first row (Paeth ties with it and loses), Up every later one.
    const Bytes white =
        InflateIdat(Encode(Generate("white", 5, 3, 3, [](int, int, int) { return 255; })), 3 * 16);
    EXPECT_EQ((Bytes{white[0], white[16], white[32]}), (Bytes{1, 2, 2}));
    // 1x1: every filter ties, so None: the type byte and the pixel.
    const Picture one = RandomPicture(1, 1, 3, 4);
    EXPECT_EQ(InflateIdat(Encode(one), 4), (Bytes{0, one.pixels[0], one.pixels[1], one.pixels[2]}));
}

// Catches single-row, single-column and wide pictures that do not decode, and a match window
// one byte short of or past 32768.
TEST(PngEncoderRoundTrip, EdgeShapesDecodeAndMatchesReachExactlyOneWindowBack) {
    for (const Picture& picture :
         {RandomPicture(1, 1, 4, 2), RandomPicture(1, 17, 3, 5), RandomPicture(17, 1, 4, 6),
          GradientPicture(2, 2, 4), RandomPicture(4000, 2, 3, 8)}) {
        SCOPED_TRACE(picture.name);
        Encode(picture);
    }
    // Filtered rows of 1365 * 3 + 1 = 4096 bytes repeating after 8 rows (32768 bytes) compress;
    // rows of 110 * 3 + 1 = 331 bytes repeating after 99 rows (32769 bytes) cannot.
    EXPECT_LT(Encode(PeriodicPicture(1365, 8, 40)).size(), 1365u * 40);
    EXPECT_GT(Encode(PeriodicPicture(110, 99, 250)).size(), 110u * 3 * 250);
}

// Catches unsupported channel counts, empty or negative sizes and short input encoded anyway,
// output kept on refusal, and extra input bytes changing the file.
TEST(PngEncoderInput, RejectsBadShapesAndShortInputAndIgnoresExtraBytes) {
    const Bytes pixels(64 * 4, 7);
    const struct {
        int width, height, channels;
        std::size_t bytes = 256;
    } cases[] = {{4, 4, 2}, {4, 4, 5}, {0, 4, 3}, {4, 0, 3}, {-4, 4, 3}, {4, -4, 4}, {5, 3, 4, 59}};
    for (const auto& c : cases) {
        Bytes png(10, 1);
        const Bytes input(pixels.begin(), pixels.begin() + c.bytes);
        EXPECT_FALSE(EncodeImageToPng(input, c.width, c.height, c.channels, png) || !png.empty())
            << c.width << "x" << c.height << "x" << c.channels << " from " << c.bytes << " bytes";
    }
    Bytes exact, viaRgb;
    EXPECT_TRUE(EncodeImageToPng(Bytes(pixels.begin(), pixels.begin() + 48), 4, 4, 3, exact) &&
                EncodeRgbToPng(pixels, 4, 4, viaRgb) && viaRgb == exact);
}

// Catches an optimisation that changes a single output byte: whole-file fingerprints recorded
// from the first reviewed implementation.
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
        const Bytes png = Encode(pin.picture);
        EXPECT_EQ(png.size(), pin.size) << pin.picture.name;
        EXPECT_EQ(crc32(0, png.data(), static_cast<uInt>(png.size())), pin.crc) << pin.picture.name;
    }
}

// Fault: the sums reduced too rarely (a run bound above 5552) overflow 32 bits. Runs of 0xFF
// push both sums to their largest values; zlib's adler32 is the reference.
TEST(Adler32, MatchesZlibOverLongRunsOfFF) {
    for (const std::size_t lead : {0u, 1u, 7u, 5551u, 5552u, 5553u, 40000u}) {
        Bytes data(lead, 0x5A);
        data.resize(lead + 60000, 0xFF);
        ve_detail::Adler32 adler;
        adler.Update(data.data(), data.size());
        EXPECT_EQ(adler.Value(), adler32(1, data.data(), static_cast<uInt>(data.size()))) << lead;
    }
}

} // namespace
} // namespace Velmora
