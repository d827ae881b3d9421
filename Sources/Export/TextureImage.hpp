// Turning a host texture's pixel map into a PNG for the .glb: alpha statistics and the
// cut-out verdict, RGBA conversion, box-filter downscale.
#pragma once

#include "Host/ModelerApi.hpp"

#include <cstdint>
#include <vector>

namespace Velmora {

struct AlphaStats {
    double cutFraction = 0.0; // pixels with alpha <= 16
    double midFraction = 0.0; // pixels with 17 <= alpha <= 239
};

enum class AlphaVerdict { Opaque, Cutout, BumpMap };

AlphaStats CountAlpha(const std::vector<Host::ModelerAPI::ARGBPixel>& pixels);
AlphaVerdict JudgeAlpha(const AlphaStats& stats);
// "opaque, alpha dropped", "CUTOUT" or "bump map, alpha dropped".
const char* VerdictText(AlphaVerdict verdict);

// R, G, B from the pixel; A the pixel's alpha for a cut-out, else 255.
std::vector<unsigned char> ToRgba(const std::vector<Host::ModelerAPI::ARGBPixel>& pixels,
                                  bool keepAlpha);

// Images whose longer side is 1025 pixels or more shrink by the integer factor that brings it
// to 1024 or less; each output pixel is the truncated mean of its source block.
struct RgbaImage {
    std::vector<unsigned char> pixels;
    int width = 0;
    int height = 0;
};
RgbaImage DownscaleToLimit(RgbaImage image);

} // namespace Velmora
