// The per-pixel passes of the mask renderer on capture-sized rasters.
#include "BenchImages.hpp"

#include "Extract/Raster.hpp"

#include <benchmark/benchmark.h>

namespace Velmora::Bench {
namespace {

constexpr int kCaptureWidth = 1920;
constexpr int kCaptureHeight = 1080;
constexpr unsigned char kMinReference = 4;
constexpr unsigned char kBackgroundFloor = 250;
constexpr long kMaxSqError = 64;

void SetPixelsProcessed(benchmark::State& state, int width, int height) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(width) * height);
}

void RecoverAndSnapColours(benchmark::State& state) {
    static const CapturePair pair = MakeCapturePair(kCaptureWidth, kCaptureHeight);
    std::vector<unsigned char> mask;
    for (auto _ : state) {
        if (!RatioRecoverColors(pair.colour.pixels, pair.reference.pixels, kCaptureWidth,
                                kCaptureHeight, mask, kMinReference)) {
            state.SkipWithError("RatioRecoverColors failed");
            break;
        }
        SnapRgbToLatticeSet(mask, kCaptureWidth, kCaptureHeight, pair.inUse, kBackgroundFloor,
                            kMaxSqError);
        benchmark::DoNotOptimize(mask.data());
        benchmark::ClobberMemory();
    }
    SetPixelsProcessed(state, kCaptureWidth, kCaptureHeight);
}
BENCHMARK(RecoverAndSnapColours)->Unit(benchmark::kMillisecond);

void ScaleMaskNearestBy4(benchmark::State& state) {
    static const Image mask = MakeInstanceMask(kCaptureWidth, kCaptureHeight);
    const int width = kCaptureWidth * 4;
    const int height = kCaptureHeight * 4;
    std::vector<unsigned char> large;
    for (auto _ : state) {
        if (!ScaleRgbNearest(mask.pixels, mask.width, mask.height, width, height, large)) {
            state.SkipWithError("ScaleRgbNearest failed");
            break;
        }
        benchmark::DoNotOptimize(large.data());
        benchmark::ClobberMemory();
    }
    // Output pixels: the work is one write per destination pixel.
    SetPixelsProcessed(state, width, height);
}
BENCHMARK(ScaleMaskNearestBy4)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace Velmora::Bench
