#include "Extract/Raster.hpp"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <initializer_list>

namespace Velmora {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes Concat(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

const Bytes kStartOfImage = {0xFF, 0xD8};

// A frame header with three components, as an encoder writes it.
Bytes Frame(unsigned char marker, int width, int height) {
    return {0xFF,
            marker,
            0x00,
            0x11,
            0x08,
            static_cast<unsigned char>(height >> 8),
            static_cast<unsigned char>(height),
            static_cast<unsigned char>(width >> 8),
            static_cast<unsigned char>(width),
            0x03,
            0x01,
            0x22,
            0x00,
            0x02,
            0x11,
            0x01,
            0x03,
            0x11,
            0x01};
}

Bytes Segment(unsigned char marker, Bytes payload) {
    const auto length = payload.size() + 2;
    return Concat({{0xFF, marker, static_cast<unsigned char>(length >> 8),
                    static_cast<unsigned char>(length)},
                   payload});
}

struct Size {
    bool ok;
    int width;
    int height;
};

Size Measure(const Bytes& jpeg) {
    Size size{false, -7, -9};
    size.ok = JpegPixelSize(jpeg, size.width, size.height);
    return size;
}

void ExpectSize(const Bytes& jpeg, int width, int height) {
    const Size size = Measure(jpeg);
    ASSERT_TRUE(size.ok);
    EXPECT_EQ(size.width, width);
    EXPECT_EQ(size.height, height);
}

void ExpectNoSize(const Bytes& jpeg) {
    const Size size = Measure(jpeg);
    EXPECT_FALSE(size.ok);
    EXPECT_EQ(size.width, -7); // nothing written on failure
    EXPECT_EQ(size.height, -9);
}

Bytes EncodeWithTurboJpeg(int width, int height, int flags) {
    Bytes rgb(static_cast<std::size_t>(width * height * 3));
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        rgb[i] = static_cast<unsigned char>(i * 37);
    }
    tjhandle encoder = tjInitCompress();
    unsigned char* jpeg = nullptr;
    unsigned long size = 0;
    const int status = tjCompress2(encoder, rgb.data(), width, 0, height, TJPF_RGB, &jpeg, &size,
                                   TJSAMP_420, 85, flags);
    Bytes result;
    if (status == 0) {
        result.assign(jpeg, jpeg + size);
    }
    tjFree(jpeg);
    tjDestroy(encoder);
    return result;
}

bool ContainsMarker(const Bytes& jpeg, unsigned char marker) {
    const Bytes pattern = {0xFF, marker};
    return std::search(jpeg.begin(), jpeg.end(), pattern.begin(), pattern.end()) != jpeg.end();
}

TEST(JpegPixelSize, ReadsEncodedBaselineAndProgressiveFiles) {
    const Bytes baseline = EncodeWithTurboJpeg(37, 21, 0);
    ASSERT_FALSE(baseline.empty());
    ExpectSize(baseline, 37, 21);

    const Bytes progressive = EncodeWithTurboJpeg(300, 2, TJFLAG_PROGRESSIVE);
    ASSERT_TRUE(ContainsMarker(progressive, 0xC2));
    ExpectSize(progressive, 300, 2);
}

TEST(JpegPixelSize, SkipsSegmentsWhoseMarkersShareTheFrameRange) {
    // The Huffman table's payload looks like a frame header; only the real frame counts.
    const Bytes decoy = Frame(0xC0, 1, 1);
    ExpectSize(Concat({kStartOfImage, Segment(0xC4, decoy), Segment(0xC8, {0, 0}),
                       Segment(0xCC, {0xC0, 0xC0}), Segment(0xE0, decoy), Frame(0xC0, 640, 480)}),
               640, 480);
}

TEST(JpegPixelSize, StopsAtAnyFrameMarker) {
    for (unsigned char marker : {0xC0, 0xC1, 0xC2, 0xC3, 0xC7, 0xCB, 0xCF}) {
        SCOPED_TRACE(static_cast<int>(marker));
        ExpectSize(Concat({kStartOfImage, Frame(marker, 1024, 65535), Frame(0xC0, 5, 5)}), 1024,
                   65535);
    }
}

TEST(JpegPixelSize, StepsOverStandAloneMarkersAndFillBytes) {
    const Bytes standAlone = {0xFF, 0xD0, 0xFF, 0xD7, 0xFF, 0x01, 0xFF, 0xD8, 0xFF, 0xD9};
    const Bytes fill = {0x00, 0x12, 0xC0};
    ExpectSize(Concat({kStartOfImage, standAlone, fill, Frame(0xC0, 3, 4)}), 3, 4);
}

TEST(JpegPixelSize, ReadsASecondFfAsAMarkerWithALength) {
    // FF FF 00 06: a segment of length 6 that ends right before the frame. A reader that
    // skipped the second FF as fill would take 00 as the marker and 0x0640 as the length.
    const Bytes doubled = {0xFF, 0xFF, 0x00, 0x06, 0x40, 0x00, 0x00, 0x00};
    ExpectSize(Concat({kStartOfImage, doubled, Frame(0xC0, 9, 7)}), 9, 7);
}

TEST(JpegPixelSize, RejectsBadStreams) {
    const Bytes frame = Frame(0xC0, 8, 8);
    ExpectNoSize({});
    ExpectNoSize(Concat({{0xFF, 0xD9}, frame}));
    ExpectNoSize(Concat({{0x00, 0xD8}, frame}));
    ExpectNoSize(Concat({kStartOfImage, {0xFF, 0xE0, 0x00, 0x01}, frame}));
    ExpectNoSize(Concat({kStartOfImage, {0xFF, 0xE0, 0x00, 0x00}, frame}));
    ExpectNoSize(Concat({kStartOfImage, Segment(0xE0, Bytes(40, 0))}));
    ExpectNoSize(Concat({kStartOfImage, {0xFF, 0xE0, 0xFF, 0xF0}, frame}));
    ExpectNoSize(Bytes{0xFF, 0xD8, 0xFF, 0xC0, 0x00, 0x11, 0x08, 0x00, 0x10, 0x00, 0x20});
}

TEST(JpegPixelSize, NeedsNineBytesBeyondTheFrameMarker) {
    const Bytes smallest = {0xFF, 0xD8, 0xFF, 0xC0, 0x00, 0x11, 0x08, 0x00, 0x10, 0x00, 0x20, 0x03};
    ExpectSize(smallest, 32, 16);

    const Bytes header = Concat({kStartOfImage, Segment(0xE0, {0xAA, 0xBB})});
    Bytes exact = Concat({header, Frame(0xC0, 77, 55)});
    exact.resize(header.size() + 10);
    ExpectSize(exact, 77, 55);
    exact.pop_back();
    ExpectNoSize(exact);
}

} // namespace
} // namespace Velmora
