#include "Sim/SimWindow3D.hpp"

#include "Sim/PictureFiles.hpp"

#include <cmath>
#include <filesystem>

namespace Velmora::Sim {

namespace {

namespace fs = std::filesystem;

constexpr char kStyleName[] = "Simulated Shading";
constexpr short kDefaultRenderWidth = 1920;
constexpr short kDefaultRenderHeight = 1080;
constexpr double kPi = 3.14159265358979323846;

// South-west of the sample house, above the eaves, looking at its middle: the house, the
// terrace, the trees and the terrain around them fill the view.
Host::API_PerspPars DefaultCamera() {
    Host::API_PerspPars persp;
    persp.pos = {-13.0, -21.0};
    persp.cameraZ = 10.0;
    persp.target = {9.0, 5.0};
    persp.targetZ = 2.0;
    persp.viewCone = 60.0 * kPi / 180.0; // horizontal, radians
    persp.rollAngle = 0.0;
    double const dx = persp.target.x - persp.pos.x, dy = persp.target.y - persp.pos.y;
    persp.azimuth = std::atan2(dy, dx);
    persp.distance = std::hypot(dx, dy);
    return persp;
}

Host::API_3DWindowInfo InitialWindow(SimWindowOptions const& options) {
    Host::API_3DWindowInfo info;
    info.hSize = options.width;
    info.vSize = options.height;
    info.zoomScaleX = 1.0;
    info.zoomScaleY = 1.0;
    return info;
}

Host::API_RendImage InitialRenderImage(SimWindowOptions const& options) {
    Host::API_RendImage image;
    bool const safeFrame = options.safeFrameWidth && options.safeFrameHeight;
    image.hSize = safeFrame ? *options.safeFrameWidth : kDefaultRenderWidth;
    image.vSize = safeFrame ? *options.safeFrameHeight : kDefaultRenderHeight;
    image.outResolution = 72;
    image.proportional = true;
    image.bkgSkyRGB = {0.80, 0.87, 0.94};
    image.bkgEarthRGB = {0.55, 0.60, 0.45};
    image.scaleType = safeFrame ? 1 : 0;
    return image;
}

bool IsPositiveScale(double value) {
    return std::isfinite(value) && value > 0.0;
}

bool WriteOfType(Host::API_FTypeID type, std::string const& path, RgbImage const& image) {
    switch (type) {
    case Host::APIFType_JPEGFile:
        return WriteJpegFile(path, image);
    case Host::APIFType_PNGFile:
        return WritePngFile(path, image);
    case Host::APIFType_BMPFile:
        return WriteBmpFile(path, image);
    default:
        return false;
    }
}

bool IsSavedPictureType(Host::API_FTypeID type) {
    return type == Host::APIFType_JPEGFile || type == Host::APIFType_PNGFile ||
           type == Host::APIFType_BMPFile;
}

} // namespace

SimWindow3D::SimWindow3D(CallLog& calls, std::string hostFolder, SimWindowOptions options)
    : calls_(calls), hostFolder_(std::move(hostFolder)), options_(options),
      applied_(InitialWindow(options)), camera_(DefaultCamera()),
      renderImage_(InitialRenderImage(options)) {
    style_.name = kStyleName;
    style_.engineId = options.engineId;
    style_.model3D = Host::API3DModel_Shading;
}

void SimWindow3D::Open(std::shared_ptr<Scene const> scene) {
    scene_ = std::move(scene);
    renderable_.reset();
    if (!scene_) {
        currentWindow_ = Host::API_ZombieWindowID;
        window3DOpen_ = false;
        return;
    }
    if (options_.start3D)
        currentWindow_ = *options_.start3D ? Host::APIWind_3DModelID : Host::APIWind_FloorPlanID;
    else
        currentWindow_ = scene_->windowType;
    window3DOpen_ = currentWindow_ == Host::APIWind_3DModelID;
}

// ---- View ----------------------------------------------------------------------------------

Host::GSErrCode SimWindow3D::ShowAllIn3D() {
    if (auto err = calls_.Enter("ACAPI_View_ShowAllIn3D"))
        return *err;
    if (!scene_)
        return Host::Error::BadWindow;
    currentWindow_ = Host::APIWind_3DModelID;
    window3DOpen_ = true;
    return Host::Error::NoError;
}

Host::GSErrCode SimWindow3D::Redraw() {
    if (auto err = calls_.Enter("ACAPI_View_Redraw"))
        return *err;
    return scene_ ? Host::Error::NoError : Host::Error::NoPlan;
}

Host::GSErrCode SimWindow3D::Get3DWindowSets(Host::API_3DWindowInfo* windowInfo) {
    if (auto err = calls_.Enter("ACAPI_View_Get3DWindowSets"))
        return *err;
    if (windowInfo == nullptr)
        return Host::Error::BadPars;
    if (!Is3DOpen())
        return Host::Error::BadWindow;
    *windowInfo = applied_;
    return Host::Error::NoError;
}

Host::GSErrCode SimWindow3D::Change3DWindowSets(Host::API_3DWindowInfo* windowInfo) {
    if (auto err = calls_.Enter("ACAPI_View_Change3DWindowSets"))
        return *err;
    if (windowInfo == nullptr)
        return Host::Error::BadPars;
    if (!Is3DOpen())
        return Host::Error::BadWindow;
    Host::API_3DWindowInfo const& change = *windowInfo;
    if (change.setWindowSize && (change.hSize < 1 || change.vSize < 1))
        return Host::Error::BadPars;
    if (change.setZoom &&
        !(IsPositiveScale(change.zoomScaleX) && IsPositiveScale(change.zoomScaleY) &&
          std::isfinite(change.zoomDispX) && std::isfinite(change.zoomDispY)))
        return Host::Error::BadPars;
    Host::API_3DWindowInfo next = pending_ ? *pending_ : applied_;
    if (change.setWindowSize) {
        next.hSize = change.hSize;
        next.vSize = change.vSize;
    }
    if (change.setZoom) {
        next.zoomScaleX = change.zoomScaleX;
        next.zoomScaleY = change.zoomScaleY;
        next.zoomDispX = change.zoomDispX;
        next.zoomDispY = change.zoomDispY;
    }
    pending_ = next;
    return Host::Error::NoError;
}

Host::GSErrCode SimWindow3D::Get3DProjectionSets(Host::API_3DProjectionInfo* proj3DInfo) {
    if (auto err = calls_.Enter("ACAPI_View_Get3DProjectionSets"))
        return *err;
    if (proj3DInfo == nullptr)
        return Host::Error::BadPars;
    if (!Is3DOpen())
        return Host::Error::BadWindow;
    *proj3DInfo = Host::API_3DProjectionInfo{};
    proj3DInfo->isPersp = true;
    proj3DInfo->u.persp = camera_;
    return Host::Error::NoError;
}

// One style exists; an empty name asks for the current one.
Host::GSErrCode SimWindow3D::Get3DStyle(Host::API_3DStyle* style) {
    if (auto err = calls_.Enter("ACAPI_View_Get3DStyle"))
        return *err;
    if (style == nullptr)
        return Host::Error::BadPars;
    if (!style->name.empty() && style->name != style_.name)
        return Host::Error::BadName;
    *style = style_;
    return Host::Error::NoError;
}

// The name says which style changes (styles cannot be renamed); only the known engines apply.
Host::GSErrCode SimWindow3D::Change3DStyle(Host::API_3DStyle* style) {
    if (auto err = calls_.Enter("ACAPI_View_Change3DStyle"))
        return *err;
    if (style == nullptr)
        return Host::Error::BadPars;
    if (style->name != style_.name)
        return Host::Error::BadName;
    if (style->engineId != 0 && style->engineId != 1)
        return Host::Error::BadPars;
    style_ = *style;
    return Host::Error::NoError;
}

// ---- Database, rendering settings, folders -------------------------------------------------

Host::GSErrCode SimWindow3D::RebuildCurrentDatabase() {
    if (auto err = calls_.Enter("ACAPI_Database_RebuildCurrentDatabase"))
        return *err;
    if (!scene_)
        return Host::Error::NoPlan;
    if (pending_ && Is3DOpen())
        applied_ = *pending_;
    pending_.reset();
    return Host::Error::NoError;
}

Host::GSErrCode SimWindow3D::GetRenderingSets(Host::API_RendImage* rendInfo,
                                              Host::API_RendSetTypeID rendSetType) {
    if (auto err = calls_.Enter("ACAPI_Rendering_GetRenderingSets"))
        return *err;
    if (rendInfo == nullptr || rendSetType != Host::APIRendSet_ImageID)
        return Host::Error::BadPars;
    *rendInfo = renderImage_;
    return Host::Error::NoError;
}

// The host's folders live under the simulated host's own folder and are made on demand.
Host::GSErrCode SimWindow3D::GetSpecFolder(Host::API_SpecFolderID* specFolderID,
                                           std::string* location) {
    if (auto err = calls_.Enter("ACAPI_ProjectSettings_GetSpecFolder"))
        return *err;
    if (specFolderID == nullptr || location == nullptr)
        return Host::Error::BadPars;
    char const* name = nullptr;
    switch (*specFolderID) {
    case Host::API_ApplicationPrefsFolderID:
        name = "Preferences";
        break;
    case Host::API_UserDocumentsFolderID:
        name = "Documents";
        break;
    case Host::API_TemporaryFolderID:
        name = "Temporary";
        break;
    default:
        return Host::Error::RefusedPar;
    }
    fs::path const folder = fs::path(hostFolder_) / name;
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (hostFolder_.empty() || !fs::is_directory(folder, ec))
        return Host::Error::RefusedPar;
    *location = folder.string();
    return Host::Error::NoError;
}

// ---- Highlights ----------------------------------------------------------------------------

// A highlight that the host failed to set (an injected fault) leaves the window as it was.
void SimWindow3D::SetElementHighlight(const Host::ElementColorTable& highlightedElems,
                                      const std::optional<bool>& /*wireframe3D*/,
                                      const std::optional<Host::API_RGBAColor>& other) {
    if (calls_.Enter("ACAPI_UserInput_SetElementHighlight"))
        return;
    highlighted_ = highlightedElems;
    otherColor_ = other;
    highlightOn_ = true;
}

void SimWindow3D::ClearElementHighlight() {
    if (calls_.Enter("ACAPI_UserInput_ClearElementHighlight"))
        return;
    highlighted_.clear();
    otherColor_.reset();
    highlightOn_ = false;
}

// Highlighted elements take their colour, the rest the "other" colour when there is one; the
// colours' alpha is not simulated (highlights are opaque). The vectorial engine draws none.
std::vector<ElementPaint> SimWindow3D::HighlightPaint() const {
    std::vector<ElementPaint> paint(scene_->elements.size());
    if (!highlightOn_ || style_.engineId == 0)
        return paint;
    for (std::size_t i = 0; i < paint.size(); ++i) {
        auto const found = highlighted_.find(scene_->elements[i].guid);
        if (found != highlighted_.end())
            paint[i].flat = Rgb{found->second.f_red, found->second.f_green, found->second.f_blue};
        else if (otherColor_)
            paint[i].flat = Rgb{otherColor_->f_red, otherColor_->f_green, otherColor_->f_blue};
    }
    return paint;
}

// ---- Pictures ------------------------------------------------------------------------------

RenderedPicture SimWindow3D::RenderPicture() {
    if (!scene_)
        return {};
    if (!renderable_)
        renderable_ = std::make_unique<RenderableScene>(MakeRenderableScene(*scene_));
    int const supersample = options_.antialias ? 2 : 1;
    RenderRequest request;
    request.camera = MakeViewCamera(camera_);
    request.frame = ScaledFrame(applied_, options_.displayScale * supersample);
    request.paint = HighlightPaint();
    request.background = {renderImage_.bkgSkyRGB.f_red, renderImage_.bkgSkyRGB.f_green,
                          renderImage_.bkgSkyRGB.f_blue};
    RenderedPicture picture = Rasterize(*scene_, *renderable_, request);
    return supersample == 2 ? DownsampleByTwo(picture) : picture;
}

Host::GSErrCode SimWindow3D::SavePicture(const Host::API_FileSavePars* fileSavePars,
                                         const Host::API_SavePars_Picture* formatPars) {
    if (fileSavePars == nullptr || formatPars == nullptr)
        return Host::Error::BadPars;
    if (!scene_)
        return Host::Error::NoPlan;
    if (currentWindow_ != Host::APIWind_3DModelID || formatPars->view2D)
        return Host::Error::BadWindow;
    if (fileSavePars->file.empty() || !IsSavedPictureType(fileSavePars->fileTypeID))
        return Host::Error::BadPars;
    lastPicture_ = RenderPicture();
    RgbImage const image{lastPicture_.width, lastPicture_.height, &lastPicture_.rgb};
    if (!WriteOfType(fileSavePars->fileTypeID, fileSavePars->file, image))
        return Host::Error::General;
    return Host::Error::NoError;
}

} // namespace Velmora::Sim
