// Texture pixels on their way into the .glb: one pass of alpha statistics, the cut-out
// verdict, RGBA conversion and the box-filter downscale.
#include "Export/TextureImage.hpp"

#include <algorithm>
#include <cstddef>

namespace Velmora {

namespace {

constexpr int kMaxSide = 1024;
constexpr unsigned char kCutAlpha = 16;
constexpr unsigned char kOpaqueAlpha = 239;

// Truncated per-channel mean of the f x f block at (ox, oy), clipped at the image edge.
void AverageBlock(const RgbaImage& source, int ox, int oy, int factor, unsigned char* out) {
    int const x0 = ox * factor;
    int const y0 = oy * factor;
    int const x1 = std::min(x0 + factor, source.width);
    int const y1 = std::min(y0 + factor, source.height);
    std::uint64_t sum[4] = {};
    for (int y = y0; y < y1; ++y) {
        const unsigned char* row = source.pixels.data() + (std::size_t(y) * source.width) * 4;
        for (int x = x0; x < x1; ++x)
            for (int c = 0; c < 4; ++c)
                sum[c] += row[std::size_t(x) * 4 + c];
    }
    std::uint64_t const count = std::uint64_t(x1 - x0) * std::uint64_t(y1 - y0);
    for (int c = 0; c < 4; ++c)
        out[c] = static_cast<unsigned char>(sum[c] / count);
}

} // namespace

AlphaStats CountAlpha(const std::vector<Host::ModelerAPI::ARGBPixel>& pixels) {
    AlphaStats stats;
    if (pixels.empty())
        return stats;
    std::size_t cut = 0;
    std::size_t mid = 0;
    for (const Host::ModelerAPI::ARGBPixel& pixel : pixels) {
        cut += pixel.alpha <= kCutAlpha;
        mid += pixel.alpha > kCutAlpha && pixel.alpha <= kOpaqueAlpha;
    }
    stats.cutFraction = double(cut) / double(pixels.size());
    stats.midFraction = double(mid) / double(pixels.size());
    return stats;
}

AlphaVerdict JudgeAlpha(const AlphaStats& stats) {
    // Soft alpha over a tenth of the picture is a bump or blend map, not a mask.
    if (stats.midFraction > 0.1)
        return AlphaVerdict::BumpMap;
    return stats.cutFraction > 0.001 ? AlphaVerdict::Cutout : AlphaVerdict::Opaque;
}

const char* VerdictText(AlphaVerdict verdict) {
    switch (verdict) {
    case AlphaVerdict::BumpMap:
        return "bump map, alpha dropped";
    case AlphaVerdict::Cutout:
        return "CUTOUT";
    case AlphaVerdict::Opaque:
        break;
    }
    return "opaque, alpha dropped";
}

std::vector<unsigned char> ToRgba(const std::vector<Host::ModelerAPI::ARGBPixel>& pixels,
                                  bool keepAlpha) {
    std::vector<unsigned char> rgba(pixels.size() * 4);
    unsigned char* out = rgba.data();
    for (const Host::ModelerAPI::ARGBPixel& pixel : pixels) {
        out[0] = pixel.red;
        out[1] = pixel.green;
        out[2] = pixel.blue;
        out[3] = keepAlpha ? pixel.alpha : 255;
        out += 4;
    }
    return rgba;
}

RgbaImage DownscaleToLimit(RgbaImage image) {
    int const longer = std::max(image.width, image.height);
    if (longer <= kMaxSide)
        return image;
    int const factor = (longer + kMaxSide - 1) / kMaxSide;
    RgbaImage small;
    small.width = std::max(1, image.width / factor);
    small.height = std::max(1, image.height / factor);
    small.pixels.resize(std::size_t(small.width) * small.height * 4);
    for (int y = 0; y < small.height; ++y)
        for (int x = 0; x < small.width; ++x)
            AverageBlock(image, x, y, factor,
                         small.pixels.data() + (std::size_t(y) * small.width + x) * 4);
    return small;
}

} // namespace Velmora
