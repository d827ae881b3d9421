// One extraction of a 1920x1080 window, tiled 4x4, with the mask: the add-on's own work stage
// by stage (everything but the host's picture saves), each beside memcpy over the same bytes.
#include "BenchImages.hpp"
#include "ReferenceEncoders.hpp"

#include "Extract/PngEncoder.hpp"
#include "Extract/Raster.hpp"
#include "Platform/ImageService.hpp"
#include "Upload/Uploader.hpp"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>

namespace Velmora::Bench {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kWindowWidth = 1920;
constexpr int kWindowHeight = 1080;
constexpr int kTiles = 4;
constexpr int kCanvasWidth = kWindowWidth * kTiles;
constexpr int kCanvasHeight = kWindowHeight * kTiles;
constexpr unsigned char kMinReference = 4;
constexpr unsigned char kBackgroundFloor = 250;
constexpr long kMaxSqError = 64;

// The host's BMP export: 24 bits, bottom-up, rows padded to four bytes.
Bytes EncodeBmp(const Image& image) {
    const std::size_t stride = (static_cast<std::size_t>(image.width) * 3 + 3) & ~std::size_t{3};
    Bytes bmp(54 + stride * static_cast<std::size_t>(image.height), 0);
    const auto put32 = [&](std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i) {
            bmp[at + i] = static_cast<unsigned char>(value >> (8 * i));
        }
    };
    bmp[0] = 'B';
    bmp[1] = 'M';
    put32(2, static_cast<std::uint32_t>(bmp.size()));
    put32(10, 54);
    put32(14, 40);
    put32(18, static_cast<std::uint32_t>(image.width));
    put32(22, static_cast<std::uint32_t>(image.height));
    put32(26, 1 + (24u << 16));
    for (int y = 0; y < image.height; ++y) {
        unsigned char* row = &bmp[54 + stride * static_cast<std::size_t>(image.height - 1 - y)];
        const unsigned char* rgb = &image.pixels[static_cast<std::size_t>(y) * image.width * 3];
        for (int x = 0; x < image.width * 3; x += 3) {
            row[x] = rgb[x + 2];
            row[x + 1] = rgb[x + 1];
            row[x + 2] = rgb[x];
        }
    }
    return bmp;
}

// What each stage starts from, produced once by running the stages before it.
struct Extraction {
    std::vector<Bytes> pngTiles;
    Bytes colourBmp, referenceBmp;
    CapturePair pair;
    Bytes recovered, snapped, enlarged, cropped;
    int croppedWidth = 0, croppedHeight = 0;
    SafeFrameRect safeFrame;
    Bytes jpeg, croppedJpeg, maskPng;
    UploadRequest request;

    Extraction() : pair(MakeCapturePair(kWindowWidth, kWindowHeight)) {
        // Every tile is a whole window-sized picture save, as the host writes it.
        const Image photo = MakePhotoLike(kWindowWidth, kWindowHeight);
        Bytes tile;
        Require(EncodeWithLibpng(photo.pixels.data(), photo.width, photo.height, 3, 6, tile),
                "tile");
        pngTiles.assign(kTiles * kTiles, tile);
        colourBmp = EncodeBmp(pair.colour);
        referenceBmp = EncodeBmp(pair.reference);
        int width = 0, height = 0;
        Require(StitchImageGrid(pngTiles, kTiles, kTiles, jpeg, width, height));
        Require(RatioRecoverColors(pair.colour.pixels, pair.reference.pixels, kWindowWidth,
                                   kWindowHeight, recovered, kMinReference));
        snapped = recovered;
        SnapRgbToLatticeSet(snapped, kWindowWidth, kWindowHeight, pair.inUse, kBackgroundFloor,
                            kMaxSqError);
        Require(ScaleRgbNearest(snapped, kWindowWidth, kWindowHeight, kCanvasWidth, kCanvasHeight,
                                enlarged));
        safeFrame = ComputeSafeFrameCrop(kCanvasWidth, kCanvasHeight, 4, 3);
        cropped = enlarged;
        croppedWidth = kCanvasWidth;
        croppedHeight = kCanvasHeight;
        Require(CropRgbInPlace(cropped, croppedWidth, croppedHeight, safeFrame));
        Require(CropJpegCentered(jpeg, safeFrame.x, safeFrame.y, safeFrame.width, safeFrame.height,
                                 croppedJpeg));
        Require(EncodeRgbToPng(cropped, croppedWidth, croppedHeight, maskPng));
        request = UploadRequest{croppedJpeg,  "image/jpeg", true,  maskPng, "image/png",
                                "Front view", "Shaded",     false, "1.0.0"};
    }

    static void Require(bool ok, const char* what = "") {
        if (!ok) {
            throw std::runtime_error(std::string("benchmark extraction failed at ") + what);
        }
    }
};

const Extraction& Inputs() {
    static const Extraction extraction;
    return extraction;
}

std::size_t ImageBytes(int width, int height, int channels) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
           static_cast<std::size_t>(channels);
}

struct Stage {
    const char* name;
    // The bytes the floor copies: what the stage reads or writes, whichever is more.
    std::function<std::size_t(const Extraction&)> bytes;
    // One run of the stage; false if it failed.
    std::function<bool(const Extraction&)> run;
    // Untimed set-up before each run, for the passes that work in place.
    std::function<void(const Extraction&)> prepare = nullptr;
};

// Scratch outputs kept across iterations, so that only the first run pays for allocation.
struct Scratch {
    Bytes rgb, rgb2, png;
    std::string text;
    int width = 0, height = 0;
};
Scratch& Out() {
    static Scratch scratch;
    return scratch;
}

const Stage kStages[] = {
    {"1_stitch_16_png_tiles",
     [](const Extraction&) { return ImageBytes(kCanvasWidth, kCanvasHeight, 4); },
     [](const Extraction& e) {
         return StitchImageGrid(e.pngTiles, kTiles, kTiles, Out().png, Out().width, Out().height);
     }},
    {"2_decode_2_bmp",
     [](const Extraction& e) { return e.colourBmp.size() + e.referenceBmp.size(); },
     [](const Extraction& e) {
         return DecodeBmpToRgb(e.colourBmp, Out().width, Out().height, Out().rgb) &&
                DecodeBmpToRgb(e.referenceBmp, Out().width, Out().height, Out().rgb2);
     }},
    {"3_ratio_recovery",
     [](const Extraction&) { return ImageBytes(kWindowWidth, kWindowHeight, 6); },
     [](const Extraction& e) {
         return RatioRecoverColors(e.pair.colour.pixels, e.pair.reference.pixels, kWindowWidth,
                                   kWindowHeight, Out().rgb, kMinReference);
     }},
    {"4_snap_to_lattice",
     [](const Extraction&) { return ImageBytes(kWindowWidth, kWindowHeight, 3); },
     [](const Extraction& e) {
         SnapRgbToLatticeSet(Out().rgb, kWindowWidth, kWindowHeight, e.pair.inUse, kBackgroundFloor,
                             kMaxSqError);
         return true;
     },
     [](const Extraction& e) { Out().rgb = e.recovered; }},
    {"5_enlarge_x4", [](const Extraction&) { return ImageBytes(kCanvasWidth, kCanvasHeight, 3); },
     [](const Extraction& e) {
         return ScaleRgbNearest(e.snapped, kWindowWidth, kWindowHeight, kCanvasWidth, kCanvasHeight,
                                Out().rgb);
     }},
    {"6_crop_mask_4_3", [](const Extraction& e) { return e.cropped.size(); },
     [](const Extraction& e) {
         return CropRgbInPlace(Out().rgb, Out().width, Out().height, e.safeFrame);
     },
     [](const Extraction& e) {
         Out().rgb = e.enlarged;
         Out().width = kCanvasWidth;
         Out().height = kCanvasHeight;
     }},
    {"7_foreground_fraction", [](const Extraction& e) { return e.cropped.size(); },
     [](const Extraction& e) {
         const double fraction =
             MaskForegroundFraction(e.cropped, e.croppedWidth, e.croppedHeight, kBackgroundFloor);
         benchmark::DoNotOptimize(fraction);
         return fraction > 0.0;
     }},
    {"8_crop_jpeg_4_3",
     [](const Extraction&) { return ImageBytes(kCanvasWidth, kCanvasHeight, 4); },
     [](const Extraction& e) {
         return CropJpegCentered(e.jpeg, e.safeFrame.x, e.safeFrame.y, e.safeFrame.width,
                                 e.safeFrame.height, Out().png);
     }},
    {"9_png_encode_mask", [](const Extraction& e) { return e.cropped.size(); },
     [](const Extraction& e) {
         return EncodeRgbToPng(e.cropped, e.croppedWidth, e.croppedHeight, Out().png);
     }},
    {"10_base64_jpeg_and_png",
     [](const Extraction& e) { return e.croppedJpeg.size() + e.maskPng.size(); },
     [](const Extraction& e) {
         Out().text = Uploader::Base64Encode(e.croppedJpeg.data(), e.croppedJpeg.size());
         Out().text += Uploader::Base64Encode(e.maskPng.data(), e.maskPng.size());
         return !Out().text.empty();
     }},
    {"11_json_payload_with_base64",
     [](const Extraction& e) { return (e.croppedJpeg.size() + e.maskPng.size()) * 4 / 3; },
     [](const Extraction& e) { return Uploader::BuildPayloadJson(e.request, Out().text); }},
};

void RunStage(benchmark::State& state, const Stage& stage) {
    const Extraction& inputs = Inputs();
    for (auto _ : state) {
        if (stage.prepare) {
            state.PauseTiming();
            stage.prepare(inputs);
            state.ResumeTiming();
        }
        if (!stage.run(inputs)) {
            state.SkipWithError("stage failed");
            break;
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(stage.bytes(inputs)));
}

// The floor: the same number of bytes read once and written once.
void CopyStageBytes(benchmark::State& state, const Stage& stage) {
    const std::size_t bytes = stage.bytes(Inputs());
    const Bytes source(bytes, 0x5A);
    Bytes target(bytes);
    for (auto _ : state) {
        std::memcpy(target.data(), source.data(), bytes);
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

const bool kRegistered = [] {
    for (const Stage& stage : kStages) {
        const std::string name = std::string("Extract/") + stage.name;
        benchmark::RegisterBenchmark((name + "/velmora").c_str(), RunStage, stage)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((name + "/memcpy").c_str(), CopyStageBytes, stage)
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
} // namespace Velmora::Bench
