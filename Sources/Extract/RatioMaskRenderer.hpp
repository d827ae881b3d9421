// The semantic mask of the current 3D view: the host highlights every element in its mask
// colour and then in white, and the ratio of the two captures leaves the flat colours.
#pragma once

#include "Extract/Raster.hpp"
#include "Extract/ViewExtractor.hpp"
#include "Host/HostTypes.hpp"

#include <string>

namespace Velmora {

struct MaskOptions {
    std::string tempFolder; // empty: the host's temporary folder
    bool splitInstances = false;
    SafeFrameRect safeFrame; // the crop the view image received
};

struct MaskResult {
    Host::GSErrCode err = Host::Error::NoError;
    std::string pngPath; // empty unless a mask was produced; the caller deletes it
    std::int32_t categoryCount = 0;
    double foregroundFraction = -1.0;
};

namespace RatioMaskRenderer {

// Main thread only. The host's highlight and 3D style are restored on every path.
MaskResult RenderMask(CameraParams const& camera, MaskOptions const& options);

} // namespace RatioMaskRenderer
} // namespace Velmora
