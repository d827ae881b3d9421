#include "Extract/ViewExtractor.hpp"

#include "Extract/FileBytes.hpp"
#include "Extract/TiledCapture.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <sstream>

namespace Velmora {

namespace {

void Log(LogLevel level, std::string const& text) {
    Logger::Get().Log(level, "ViewExtractor: " + text);
}

std::string RectText(Host::API_Rect const& r) {
    std::ostringstream out;
    out << "[t=" << r.top << ",l=" << r.left << ",b=" << r.bottom << ",r=" << r.right << "]";
    return out.str();
}

std::string ColorText(Host::API_RGBColor const& c) {
    std::ostringstream out;
    out << "(" << c.f_red << "," << c.f_green << "," << c.f_blue << ")";
    return out.str();
}

void LogRenderImageProbe(Host::API_RendImage const& image) {
    std::ostringstream line;
    line << std::boolalpha << "RendImage probe:"
         << " hSize=" << image.hSize << " vSize=" << image.vSize
         << " outResolution=" << image.outResolution << " proportional=" << image.proportional
         << " scaleType=" << image.scaleType << " bkgScaleType=" << image.bkgScaleType
         << " partialRendering=" << image.partialRendering
         << " partialRect=" << RectText(image.partialRect) << " bkgPict=" << image.bkgPict
         << " bkgSkyRGB=" << ColorText(image.bkgSkyRGB)
         << " bkgEarthRGB=" << ColorText(image.bkgEarthRGB)
         << " bkgPictRect=" << RectText(image.bkgPictRect)
         << " bkgResolution=" << image.bkgResolution
         << " bkgPictFile=" << (image.bkgPictFile.empty() ? "null" : "set");
    Log(LogLevel::Info, line.str());
}

// The safe frame is on when the render output is fitted into the window at a fixed ratio.
void ReadSafeFrameSettings(bool& on, int& w, int& h) {
    on = false;
    w = h = 0;
    Host::API_RendImage image;
    if (Host::GSErrCode err =
            Host::Get().Rendering().GetRenderingSets(&image, Host::APIRendSet_ImageID);
        err != Host::Error::NoError) {
        Log(LogLevel::Warn, "RendImage probe: GetRenderingSets failed, err=" + std::to_string(err));
        return;
    }
    LogRenderImageProbe(image);
    on = image.scaleType == 1;
    w = image.hSize;
    h = image.vSize;
}

CameraParams CameraOf(Host::API_3DProjectionInfo const& projection) {
    CameraParams camera;
    camera.isPersp = projection.isPersp;
    if (!projection.isPersp)
        return camera;
    Host::API_PerspPars const& persp = projection.u.persp;
    camera.posX = persp.pos.x;
    camera.posY = persp.pos.y;
    camera.cameraZ = persp.cameraZ;
    camera.targetX = persp.target.x;
    camera.targetY = persp.target.y;
    camera.targetZ = persp.targetZ;
    camera.viewCone = persp.viewCone;
    camera.azimuth = persp.azimuth;
    camera.rollAngle = persp.rollAngle;
    return camera;
}

// The current window, brought to 3D first when the options allow it.
Host::GSErrCode Ensure3DWindow(ExtractOptions const& opt) {
    Host::API_WindowInfo window;
    if (Host::GSErrCode err = Host::Get().Window().GetCurrentWindow(&window);
        err != Host::Error::NoError) {
        Log(LogLevel::Error, "GetCurrentWindow failed");
        return err;
    }
    if (window.typeID == Host::APIWind_3DModelID)
        return Host::Error::NoError;
    if (!opt.allowSwitchTo3D) {
        Log(LogLevel::Warn, "current window is not 3D; aborting");
        return Host::Error::BadWindow;
    }
    Log(LogLevel::Info, "switching to 3D window (ShowAllIn3D)");
    if (Host::GSErrCode err = Host::Get().View().ShowAllIn3D(); err != Host::Error::NoError) {
        Log(LogLevel::Error, "ACAPI_View_ShowAllIn3D failed");
        return err;
    }
    if (Host::GSErrCode err = Host::Get().Window().GetCurrentWindow(&window);
        err != Host::Error::NoError)
        return err;
    return window.typeID == Host::APIWind_3DModelID ? Host::Error::NoError : Host::Error::BadWindow;
}

// The long edge that will remain of a width x height save after the safe-frame crop.
int ShippedLongEdge(int width, int height, ExtractedView const& view) {
    int ships = std::max(width, height);
    if (view.safeFrameOn) {
        SafeFrameRect const crop =
            ComputeSafeFrameCrop(width, height, view.renderAspectW, view.renderAspectH);
        if (crop.width >= 1 && crop.height >= 1)
            ships = std::max(crop.width, crop.height);
    }
    return ships;
}

int TileFactor(int ships, int target) {
    int const n = (ships + target - 1) / ships;
    return std::clamp(n, 2, 4);
}

// Replaces the native capture with a stitched one when the native save is too small.
// Every failure keeps the native capture; returns whether the shipped file changed.
bool TryHighResCapture(ExtractOptions const& opt, Host::API_3DWindowInfo const& windowInfo,
                       ExtractedView const& view, std::string& shippedPath) {
    std::vector<unsigned char> native;
    int width = 0;
    int height = 0;
    if (!ve_detail::ReadAllBytes(shippedPath, native) || !JpegPixelSize(native, width, height) ||
        width < 1 || height < 1) {
        Log(LogLevel::Warn, "high-res: native save undecodable; cannot size the tile grid - "
                            "shipping the native capture");
        return false;
    }
    int const ships = ShippedLongEdge(width, height, view);
    int const target = opt.highResLongEdge;
    if (ships >= target) {
        Log(LogLevel::Info, "high-res: native save " + std::to_string(width) + "x" +
                                std::to_string(height) + " ships long edge " +
                                std::to_string(ships) + " >= target " + std::to_string(target) +
                                "; no tiling needed");
        return false;
    }
    int const n = TileFactor(ships, target);
    Log(LogLevel::Info, "high-res: native ships " + std::to_string(ships) + " < target " +
                            std::to_string(target) + "; tiling " + std::to_string(n) + "x" +
                            std::to_string(n));
    std::vector<unsigned char> stitched;
    int stitchedW = 0;
    int stitchedH = 0;
    Host::GSErrCode const err =
        CaptureTiledJpeg(windowInfo, n, opt.tempFolder, stitched, stitchedW, stitchedH);
    if (err != Host::Error::NoError) {
        Log(LogLevel::Warn, "tiled capture failed (err=" + std::to_string(err) +
                                "); shipping the native capture (window restored)");
        return false;
    }
    if (stitched.empty())
        return false;
    std::string stitchedPath;
    if (ve_detail::ResolveTempImageLocation(opt.tempFolder, "jpg", stitchedPath) !=
            Host::Error::NoError ||
        !ve_detail::WriteAllBytes(stitchedPath, stitched)) {
        Log(LogLevel::Warn, "could not persist the stitched JPEG; shipping the native capture");
        if (!stitchedPath.empty())
            ve_detail::DeleteFileQuiet(stitchedPath);
        return false;
    }
    ve_detail::DeleteFileQuiet(shippedPath);
    shippedPath = stitchedPath;
    return true;
}

// A throw from the tiled capture (the window is restored by its own guard) degrades like any
// other failure after the native save: the native capture ships, and its file is not lost.
bool TryHighResCaptureGuarded(ExtractOptions const& opt, Host::API_3DWindowInfo const& windowInfo,
                              ExtractedView const& view, std::string& shippedPath) {
    try {
        return TryHighResCapture(opt, windowInfo, view, shippedPath);
    } catch (...) {
        Log(LogLevel::Warn, "tiled capture threw; shipping the native capture (window restored)");
        return false;
    }
}

void FillSafeFrame(ExtractedView& view) {
    if (!view.safeFrameOn)
        return;
    SafeFrameRect const crop = ComputeSafeFrameCrop(view.windowWidth, view.windowHeight,
                                                    view.renderAspectW, view.renderAspectH);
    if (crop.width < 1 || crop.height < 1)
        return;
    view.safeFrame = crop;
    Log(LogLevel::Info, "safe-frame crop pending: capture " + std::to_string(view.windowWidth) +
                            "x" + std::to_string(view.windowHeight) + " -> " +
                            std::to_string(crop.width) + "x" + std::to_string(crop.height) +
                            " at (" + std::to_string(crop.x) + "," + std::to_string(crop.y) +
                            "), render aspect " + std::to_string(view.renderAspectW) + ":" +
                            std::to_string(view.renderAspectH));
}

} // namespace

namespace ve_detail {

Host::GSErrCode ApplyWindowInfo(Host::API_3DWindowInfo const& info) {
    Host::API_3DWindowInfo copy = info;
    copy.setWindowSize = true;
    copy.setZoom = true;
    Host::GSErrCode const changeErr = Host::Get().View().Change3DWindowSets(&copy);
    if (changeErr != Host::Error::NoError)
        Log(LogLevel::Warn, "Change3DWindowSets (ApplyWindowInfo) failed");
    Host::GSErrCode const rebuildErr = Host::Get().Database().RebuildCurrentDatabase();
    return changeErr != Host::Error::NoError ? changeErr : rebuildErr;
}

Host::GSErrCode ResolveTempImageLocation(std::string const& folder, std::string const& ext,
                                         std::string& outPath) {
    // Numbers every temporary picture while the add-on is loaded.
    static std::uint32_t counter = 0;
    ++counter;
    char name[64];
    std::snprintf(name, sizeof name, "VLM_scene_%u.%s", static_cast<unsigned>(counter),
                  ext.c_str());
    std::string base = folder;
    if (base.empty()) {
        Host::API_SpecFolderID id = Host::API_TemporaryFolderID;
        if (Host::GSErrCode err = Host::Get().ProjectSettings().GetSpecFolder(&id, &base);
            err != Host::Error::NoError) {
            Log(LogLevel::Error, "cannot resolve temp folder");
            return err;
        }
    }
    outPath = (std::filesystem::u8path(base) / name).u8string();
    return Host::Error::NoError;
}

Host::GSErrCode ResolveTempPngLocation(std::string const& folder, std::string& outPath) {
    return ResolveTempImageLocation(folder, "png", outPath);
}

Host::GSErrCode SaveCurrent3DWindow(std::string const& path, Host::API_FTypeID type,
                                    Host::API_ColorDepthID depth, bool flag) {
    Host::API_FileSavePars file;
    file.fileTypeID = type;
    file.file = path;
    Host::API_SavePars_Picture picture;
    picture.colorDepth = depth;
    picture.view2D = flag;
    Host::GSErrCode const err = Host::Get().ProjectOperation().Save(&file, &picture);
    if (err != Host::Error::NoError)
        Log(LogLevel::Error, "ProjectOperation_Save (picture) failed");
    return err;
}

} // namespace ve_detail

bool IsCurrent3DWindow() {
    Host::API_WindowInfo window;
    return Host::Get().Window().GetCurrentWindow(&window) == Host::Error::NoError &&
           window.typeID == Host::APIWind_3DModelID;
}

ExtractedView ExtractCurrentView(ExtractOptions const& opt) {
    ExtractedView view;
    if (Host::GSErrCode err = Ensure3DWindow(opt); err != Host::Error::NoError) {
        view.err = err;
        return view;
    }
    int aspectW = 0;
    int aspectH = 0;
    ReadSafeFrameSettings(view.safeFrameOn, aspectW, aspectH);
    view.renderAspectW = aspectW;
    view.renderAspectH = aspectH;

    Host::API_3DWindowInfo windowInfo;
    bool const haveWindowInfo =
        Host::Get().View().Get3DWindowSets(&windowInfo) == Host::Error::NoError;
    if (haveWindowInfo) {
        view.windowWidth = windowInfo.hSize;
        view.windowHeight = windowInfo.vSize;
    }
    if (Host::GSErrCode err = Host::Get().View().Get3DProjectionSets(&view.projection);
        err != Host::Error::NoError) {
        Log(LogLevel::Error, "Get3DProjectionSets failed");
        view.err = err;
        return view;
    }
    view.camera = CameraOf(view.projection);
    view.camera.canvasWidth = view.windowWidth;
    view.camera.canvasHeight = view.windowHeight;

    std::string shipped;
    if (Host::GSErrCode err = ve_detail::ResolveTempImageLocation(opt.tempFolder, "jpg", shipped);
        err != Host::Error::NoError) {
        view.err = err;
        return view;
    }
    if (Host::GSErrCode err = ve_detail::SaveCurrent3DWindow(shipped, Host::APIFType_JPEGFile,
                                                             Host::APIColorDepth_MiC, false);
        err != Host::Error::NoError) {
        view.err = err;
        return view;
    }
    char const* mode = "WYSIWYG)";
    if (haveWindowInfo && view.windowWidth >= 1 && view.windowHeight >= 1 &&
        TryHighResCaptureGuarded(opt, windowInfo, view, shipped))
        mode = "tiled high-res)";

    view.jpegPath = shipped;
    FillSafeFrame(view);
    Log(LogLevel::Info, std::string("captured current 3D view to temp JPEG (") + mode);
    return view;
}

} // namespace Velmora
