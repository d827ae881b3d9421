// Turns the host's current 3D view into a JPEG in a temporary folder: the host's own picture
// save when it ships enough pixels, else a grid of shifted tiles stitched together.
#pragma once

#include "Extract/Raster.hpp"
#include "Host/HostTypes.hpp"
#include "Settings.hpp"

#include <cstdint>
#include <string>

namespace Velmora {

// The camera of a captured view, and the pixel size of the image that will be uploaded
// (after stitching, before the safe-frame crop; 0 or less when unknown).
struct CameraParams {
    bool isPersp = false;
    double posX = 0.0, posY = 0.0, cameraZ = 0.0;
    double targetX = 0.0, targetY = 0.0, targetZ = 0.0;
    double viewCone = 0.0;
    double azimuth = 0.0;
    double rollAngle = 0.0;
    std::int32_t canvasWidth = 0;
    std::int32_t canvasHeight = 0;
};

struct ExtractedView {
    Host::GSErrCode err = Host::Error::NoError;
    std::string jpegPath; // the temporary JPEG that ships; the caller deletes it
    std::int32_t windowWidth = 0;
    std::int32_t windowHeight = 0;
    Host::API_3DProjectionInfo projection;
    CameraParams camera;
    bool safeFrameOn = false;
    std::int32_t renderAspectW = 0;
    std::int32_t renderAspectH = 0;
    SafeFrameRect safeFrame; // on the window size
};

namespace ve_detail {

// Applies the settings (both apply-flags set) and rebuilds the view so that it redraws.
Host::GSErrCode ApplyWindowInfo(Host::API_3DWindowInfo const& info);
// A fresh "VLM_scene_N.ext" path in folder, or in the host's temporary folder when empty.
Host::GSErrCode ResolveTempImageLocation(std::string const& folder, std::string const& ext,
                                         std::string& outPath);
Host::GSErrCode ResolveTempPngLocation(std::string const& folder, std::string& outPath);
// Saves the current 3D window as a picture of the given type and colour depth.
Host::GSErrCode SaveCurrent3DWindow(std::string const& path, Host::API_FTypeID type,
                                    Host::API_ColorDepthID depth, bool flag);

} // namespace ve_detail

bool IsCurrent3DWindow();
ExtractedView ExtractCurrentView(ExtractOptions const& opt);

} // namespace Velmora
