#include "Extract/PngEncoder.hpp"

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
    int width = 0;
    int height = 0;
    int channels = 3;
    Bytes pixels;
};

std::size_t PixelBytes(int width, int height, int channels) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
           static_cast<std::size_t>(channels);
}

// std::mt19937's raw output is fixed by the standard, so these pictures are the same everywhere.
Picture RandomPicture(int width, int height, int channels, unsigned seed) {
    Picture picture{"random", width, height, channels, Bytes(PixelBytes(width, height, channels))};
    std::mt19937 rng(seed);
    for (auto& byte : picture.pixels) {
        byte = static_cast<unsigned char>(rng() >> 24);
    }
    return picture;
}

// White with two flat lattice-coloured blocks, as the mask renderer produces.
Picture MaskPicture(int width, int height) {
    Picture picture{"mask", width, height, 3, Bytes(PixelBytes(width, height, 3), 255)};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            unsigned char* p =
                &picture.pixels[PixelBytes(width, y, 3) + static_cast<std::size_t>(x) * 3];
            if (x > width / 5 && x < width / 2 && y > height / 4) {
                p[0] = 146, p[1] = 221, p[2] = 34;
            } else if (x + y > width && y < 3 * height / 4) {
                p[0] = 15, p[1] = 71, p[2] = 109;
            }
        }
    }
    return picture;
}

Picture GradientPicture(int width, int height, int channels) {
    Picture picture{"gradient", width, height, channels,
                    Bytes(PixelBytes(width, height, channels))};
    std::size_t at = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < channels; ++c) {
                picture.pixels[at++] = static_cast<unsigned char>(x * (c + 1) + y * (3 - c));
            }
        }
    }
    return picture;
}

// Random pixels from seven grey levels: a few hundred three-byte patterns recur so often that
// hash chains outgrow the candidate limit, and which patterns share a hash bucket decides which
// matches are found. Pins the hash function and the chain walk.
Picture FewLevelPicture(int width, int height) {
    Picture picture{"levels", width, height, 3, Bytes(PixelBytes(width, height, 3))};
    std::mt19937 rng(9);
    for (auto& byte : picture.pixels) {
        byte = static_cast<unsigned char>((rng() % 7) * 40);
    }
    return picture;
}

// A mask with bands of noise, large enough (over 4 MB filtered) that the compressor has to move
// its window along the stream several times, with matches reaching across each move.
Picture BandedMaskPicture(int width, int height) {
    Picture picture = MaskPicture(width, height);
    const Picture noise = RandomPicture(width, height, 3, 31);
    const std::size_t rowBytes = PixelBytes(width, 1, 3);
    for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
        if ((y / 16) % 5 == 0) {
            std::copy_n(noise.pixels.begin() + static_cast<long>(y * rowBytes), rowBytes,
                        picture.pixels.begin() + static_cast<long>(y * rowBytes));
        }
    }
    picture.name = "banded";
    return picture;
}

std::uint32_t ReadU32BE(const unsigned char* p) {
    return (std::uint32_t{p[0]} << 24) | (std::uint32_t{p[1]} << 16) | (std::uint32_t{p[2]} << 8) |
           std::uint32_t{p[3]};
}

struct Chunk {
    std::string type;
    Bytes data;
    std::uint32_t storedCrc = 0;
};

std::vector<Chunk> ReadChunks(const Bytes& png) {
    std::vector<Chunk> chunks;
    std::size_t at = 8;
    while (at + 12 <= png.size()) {
        const std::size_t length = ReadU32BE(&png[at]);
        if (at + 12 + length > png.size()) {
            ADD_FAILURE() << "chunk runs past the end of the file";
            break;
        }
        Chunk chunk;
        chunk.type.assign(reinterpret_cast<const char*>(&png[at + 4]), 4);
        chunk.data.assign(png.begin() + static_cast<long>(at + 8),
                          png.begin() + static_cast<long>(at + 8 + length));
        chunk.storedCrc = ReadU32BE(&png[at + 8 + length]);
        EXPECT_EQ(chunk.storedCrc, crc32(0, &png[at + 4], static_cast<uInt>(length + 4)))
            << chunk.type;
        chunks.push_back(chunk);
        at += 12 + length;
    }
    EXPECT_EQ(at, png.size()) << "trailing bytes after the last chunk";
    return chunks;
}

Bytes InflateAll(const Bytes& zlibStream, std::size_t expectedSize) {
    Bytes out(expectedSize + 1);
    z_stream stream{};
    EXPECT_EQ(inflateInit(&stream), Z_OK);
    stream.next_in = const_cast<Bytef*>(zlibStream.data());
    stream.avail_in = static_cast<uInt>(zlibStream.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const int status = inflate(&stream, Z_FINISH);
    EXPECT_EQ(status, Z_STREAM_END) << (stream.msg != nullptr ? stream.msg : "");
    EXPECT_EQ(stream.avail_in, 0u) << "bytes after the end of the zlib stream";
    out.resize(stream.total_out);
    inflateEnd(&stream);
    return out;
}

Bytes DecodeWithLibpng(const Bytes& png, int channels, int& width, int& height) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_memory(&image, png.data(), png.size()) == 0) {
        ADD_FAILURE() << "libpng: " << image.message;
        return {};
    }
    image.format = channels == 4 ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
    width = static_cast<int>(image.width);
    height = static_cast<int>(image.height);
    Bytes pixels(PixelBytes(width, height, channels));
    if (png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) == 0) {
        ADD_FAILURE() << "libpng: " << image.message;
        return {};
    }
    return pixels;
}

int Paeth(int a, int b, int c) {
    const int pa = std::abs(b - c);
    const int pb = std::abs(a - c);
    const int pc = std::abs(a + b - 2 * c);
    return pa <= pb && pa <= pc ? a : (pb <= pc ? b : c);
}

// What the filter stage must produce: per row the cheapest of the five standard filters by the
// sum of absolute signed bytes, the lower type winning a tie.
Bytes ExpectedFilteredStream(const Picture& picture) {
    const std::size_t rowBytes = PixelBytes(picture.width, 1, picture.channels);
    const std::size_t bpp = static_cast<std::size_t>(picture.channels);
    Bytes stream;
    for (std::size_t y = 0; y < static_cast<std::size_t>(picture.height); ++y) {
        Bytes best;
        long bestCost = -1;
        for (int type = 0; type < 5; ++type) {
            Bytes row(1, static_cast<unsigned char>(type));
            long cost = 0;
            for (std::size_t x = 0; x < rowBytes; ++x) {
                const auto at = [&](std::size_t row_, std::size_t col) -> int {
                    return picture.pixels[row_ * rowBytes + col];
                };
                const int a = x >= bpp ? at(y, x - bpp) : 0;
                const int b = y > 0 ? at(y - 1, x) : 0;
                const int c = x >= bpp && y > 0 ? at(y - 1, x - bpp) : 0;
                const int predictors[5] = {0, a, b, (a + b) / 2, Paeth(a, b, c)};
                const auto value = static_cast<unsigned char>(at(y, x) - predictors[type]);
                row.push_back(value);
                cost += value < 128 ? value : 256 - value;
            }
            if (bestCost < 0 || cost < bestCost) {
                best = row;
                bestCost = cost;
            }
        }
        stream.insert(stream.end(), best.begin(), best.end());
    }
    return stream;
}

struct Encoded {
    Bytes png;
    std::vector<Chunk> chunks;
    Bytes filtered;
};

Encoded EncodeAndInflate(const Picture& picture) {
    Encoded encoded;
    EXPECT_TRUE(EncodeImageToPng(picture.pixels, picture.width, picture.height, picture.channels,
                                 encoded.png));
    encoded.chunks = ReadChunks(encoded.png);
    if (encoded.chunks.size() == 3 && encoded.chunks[1].type == "IDAT") {
        const std::size_t expectedSize =
            PixelBytes(picture.width, picture.height, picture.channels) +
            static_cast<std::size_t>(picture.height);
        encoded.filtered = InflateAll(encoded.chunks[1].data, expectedSize);
    }
    return encoded;
}

class PngEncoderRoundTrip : public ::testing::TestWithParam<Picture> {};

TEST_P(PngEncoderRoundTrip, DecodesToTheInputWithLibpng) {
    const Picture& picture = GetParam();
    Bytes png;
    ASSERT_TRUE(
        EncodeImageToPng(picture.pixels, picture.width, picture.height, picture.channels, png));
    int width = 0;
    int height = 0;
    const Bytes decoded = DecodeWithLibpng(png, picture.channels, width, height);
    EXPECT_EQ(width, picture.width);
    EXPECT_EQ(height, picture.height);
    EXPECT_TRUE(decoded == picture.pixels);
}

TEST_P(PngEncoderRoundTrip, HasOnlyHeaderDataAndEndChunks) {
    const Picture& picture = GetParam();
    const Encoded encoded = EncodeAndInflate(picture);
    const Bytes signature = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};
    ASSERT_GE(encoded.png.size(), signature.size());
    EXPECT_TRUE(std::equal(signature.begin(), signature.end(), encoded.png.begin()));
    ASSERT_EQ(encoded.chunks.size(), 3u);
    EXPECT_EQ(encoded.chunks[0].type, "IHDR");
    EXPECT_EQ(encoded.chunks[1].type, "IDAT");
    EXPECT_EQ(encoded.chunks[2].type, "IEND");
    EXPECT_TRUE(encoded.chunks[2].data.empty());
    const Bytes& header = encoded.chunks[0].data;
    ASSERT_EQ(header.size(), 13u);
    EXPECT_EQ(ReadU32BE(&header[0]), static_cast<std::uint32_t>(picture.width));
    EXPECT_EQ(ReadU32BE(&header[4]), static_cast<std::uint32_t>(picture.height));
    const Bytes expectedRest = {8, static_cast<unsigned char>(picture.channels == 4 ? 6 : 2), 0, 0,
                                0};
    EXPECT_TRUE(std::equal(expectedRest.begin(), expectedRest.end(), header.begin() + 8));
}

TEST_P(PngEncoderRoundTrip, IdatIsOneFixedBlockOfTheCheapestFilteredRows) {
    const Picture& picture = GetParam();
    const Encoded encoded = EncodeAndInflate(picture);
    ASSERT_EQ(encoded.chunks.size(), 3u);
    const Bytes& idat = encoded.chunks[1].data;
    ASSERT_GE(idat.size(), 7u);
    EXPECT_EQ(idat[0], 0x78);
    EXPECT_EQ(idat[1], 0x01);
    // A first block that is final leaves no room for a second one.
    EXPECT_EQ(idat[2] & 0x7, 0x3) << "expected BFINAL=1, BTYPE=01";
    EXPECT_EQ(ReadU32BE(&idat[idat.size() - 4]),
              adler32(adler32(0, nullptr, 0), encoded.filtered.data(),
                      static_cast<uInt>(encoded.filtered.size())));
    EXPECT_TRUE(encoded.filtered == ExpectedFilteredStream(picture));
}

std::vector<Picture> RoundTripPictures() {
    std::vector<Picture> pictures = {
        RandomPicture(1, 1, 3, 1),    RandomPicture(1, 1, 4, 2),   RandomPicture(37, 23, 3, 3),
        RandomPicture(64, 48, 4, 4),  RandomPicture(1, 17, 3, 5),  RandomPicture(17, 1, 4, 6),
        RandomPicture(301, 7, 3, 7),  MaskPicture(203, 151),       MaskPicture(1, 9),
        GradientPicture(255, 61, 3),  GradientPicture(129, 33, 4), GradientPicture(2, 2, 4),
        BandedMaskPicture(1500, 1000)};
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        Picture& p = pictures[i];
        p.name += "_" + std::to_string(p.width) + "x" + std::to_string(p.height) + "x" +
                  std::to_string(p.channels);
    }
    return pictures;
}

INSTANTIATE_TEST_SUITE_P(Pictures, PngEncoderRoundTrip, ::testing::ValuesIn(RoundTripPictures()),
                         [](const ::testing::TestParamInfo<Picture>& param) {
                             return param.param.name;
                         });

TEST(PngEncoderFilters, WhiteImageUsesSubForTheFirstRowAndUpAfterwards) {
    const int width = 40;
    const int height = 6;
    const Picture white{"white", width, height, 3, Bytes(PixelBytes(width, height, 3), 255)};
    const Encoded encoded = EncodeAndInflate(white);
    ASSERT_EQ(encoded.filtered.size(), PixelBytes(width, height, 3) + height);
    for (int y = 0; y < height; ++y) {
        EXPECT_EQ(encoded.filtered[static_cast<std::size_t>(y) * (width * 3 + 1)], y == 0 ? 1 : 2)
            << "row " << y;
    }
}

TEST(PngEncoderFilters, SinglePixelFilteredStreamIsTypeByteAndPixel) {
    const Encoded encoded = EncodeAndInflate(RandomPicture(1, 1, 3, 42));
    EXPECT_EQ(encoded.filtered.size(), 4u);
}

// Random rows repeating with a period P make the filtered stream repeat P rows back, from the
// second period on; only matches at that one distance can compress it.
Picture PeriodicPicture(int width, int periodRows, int height) {
    Picture period = RandomPicture(width, periodRows, 3, 99);
    Picture picture{"periodic", width, height, 3, Bytes(PixelBytes(width, height, 3))};
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        picture.pixels[i] = period.pixels[i % period.pixels.size()];
    }
    return picture;
}

TEST(PngEncoderWindow, UsesMatchesExactlyOneWindowBack) {
    // 1365 * 3 + 1 = 4096 bytes a filtered row; 8 rows = 32768 bytes.
    const Picture picture = PeriodicPicture(1365, 8, 40);
    const Encoded encoded = EncodeAndInflate(picture);
    EXPECT_TRUE(encoded.filtered == ExpectedFilteredStream(picture));
    EXPECT_LT(encoded.png.size(), picture.pixels.size() / 3);
}

TEST(PngEncoderWindow, NeverReachesFurtherThanTheWindow) {
    // 110 * 3 + 1 = 331 bytes a filtered row; 99 rows = 32769 bytes, one beyond the window.
    const Picture picture = PeriodicPicture(110, 99, 250);
    const Encoded encoded = EncodeAndInflate(picture);
    EXPECT_TRUE(encoded.filtered == ExpectedFilteredStream(picture));
    EXPECT_GT(encoded.png.size(), picture.pixels.size());
}

TEST(PngEncoderInput, RejectsUnsupportedShapesAndLeavesTheOutputEmpty) {
    const Bytes pixels(64 * 4, 7);
    const struct {
        int width, height, channels;
    } cases[] = {{4, 4, 1}, {4, 4, 2}, {4, 4, 5},  {4, 4, 0},
                 {0, 4, 3}, {4, 0, 3}, {-4, 4, 3}, {4, -4, 4}};
    for (const auto& c : cases) {
        Bytes png(10, 1);
        EXPECT_FALSE(EncodeImageToPng(pixels, c.width, c.height, c.channels, png))
            << c.width << "x" << c.height << "x" << c.channels;
        EXPECT_TRUE(png.empty());
    }
}

TEST(PngEncoderInput, RejectsTooShortInputAndIgnoresExtraBytes) {
    Picture picture = RandomPicture(5, 3, 4, 8);
    Bytes png(10, 1);
    const Bytes tooShort(picture.pixels.begin(), picture.pixels.end() - 1);
    EXPECT_FALSE(EncodeImageToPng(tooShort, 5, 3, 4, png));
    EXPECT_TRUE(png.empty());
    EXPECT_FALSE(EncodeRgbToPng(Bytes(5 * 3 * 3 - 1), 5, 3, png));
    Bytes exact;
    ASSERT_TRUE(EncodeImageToPng(picture.pixels, 5, 3, 4, exact));
    picture.pixels.insert(picture.pixels.end(), 13, 0xAB);
    ASSERT_TRUE(EncodeImageToPng(picture.pixels, 5, 3, 4, png));
    EXPECT_TRUE(png == exact);
}

TEST(PngEncoderInput, RgbEntryEncodesAsThreeChannels) {
    const Picture picture = GradientPicture(19, 11, 3);
    Bytes viaRgb;
    Bytes viaImage;
    ASSERT_TRUE(EncodeRgbToPng(picture.pixels, 19, 11, viaRgb));
    ASSERT_TRUE(EncodeImageToPng(picture.pixels, 19, 11, 3, viaImage));
    EXPECT_TRUE(viaRgb == viaImage);
}

// Whole-file fingerprints recorded from the first reviewed implementation: a faster encoder
// must not change a single output byte.
struct Pin {
    Picture picture;
    std::size_t size;
    std::uint32_t crc;
};

TEST(PngEncoderPins, OutputIsByteForByteUnchanged) {
    const Pin pins[] = {
        {MaskPicture(640, 480), 7956, 0xC70BE37Du},
        {GradientPicture(333, 211, 4), 3551, 0x0422E040u},
        {RandomPicture(160, 90, 3, 2024), 45749, 0xDD0949CCu},
        {PeriodicPicture(1365, 8, 40), 40542, 0x80A7ACECu},
        {BandedMaskPicture(1500, 1000), 1013778, 0x7C25685Du},
        {FewLevelPicture(400, 300), 204958, 0xDBF8FA81u},
    };
    for (const Pin& pin : pins) {
        Bytes png;
        ASSERT_TRUE(EncodeImageToPng(pin.picture.pixels, pin.picture.width, pin.picture.height,
                                     pin.picture.channels, png));
        EXPECT_EQ(png.size(), pin.size) << pin.picture.name;
        EXPECT_EQ(crc32(0, png.data(), static_cast<uInt>(png.size())), pin.crc) << pin.picture.name;
    }
}

} // namespace
} // namespace Velmora
