// The visible-model export from names to file: a sight of its own, the lists of visible
// elements, the generated model, the walk, the build, and a log of what happened.
#include "Export/ModelExport.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"

#include <string>

namespace Velmora {

namespace {

namespace MAPI = Host::ModelerAPI;

constexpr char kGenerator[] = "Velmora AI for ARCHICAD 0.2.0";
constexpr Host::API_ElemFilterFlags kShownOnVisibleLayer =
    Host::ElemFilter::APIFilt_In3D | Host::ElemFilter::APIFilt_OnVisLayer;
constexpr Host::API_ElemFilterFlags kShownIn3D = Host::ElemFilter::APIFilt_In3D;

void Info(const std::string& line) {
    Logger::Get().Log(LogLevel::Info, line);
}

std::string Fail(const std::string& what, Host::GSErrCode err) {
    return what + " (err " + std::to_string(err) + ")";
}

std::string BaseName(const std::string& path) {
    std::size_t const slash = path.find_last_of('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string ProjectName() {
    Host::API_ProjectInfo info;
    if (Host::Get().ProjectOperation().Project(&info) != Host::Error::NoError || info.untitled)
        return {};
    return StripProjectExtension(BaseName(info.teamwork ? info.location_team : info.location));
}

// The host leaves `name` empty for windows it names only in their title bar (the 3D window
// among them), so the title is the fallback that still gives the file a meaningful stem.
std::string ViewName() {
    Host::API_WindowInfo info;
    if (Host::Get().Window().GetCurrentWindow(&info) != Host::Error::NoError)
        return {};
    return info.name.empty() ? info.title : info.name;
}

void FillNames(ModelExportResult& result) {
    result.projectName = ProjectName();
    result.viewName = ViewName();
    Host::API_ServerApplicationInfo release;
    Host::Get().GetReleaseNumber(&release);
    result.appVersion = "Archicad " + std::to_string(release.mainVersion);
    std::string stem = SanitizeFileStem(result.projectName);
    if (stem.empty())
        stem = SanitizeFileStem(result.viewName);
    if (stem.empty())
        stem = "archicad-model";
    result.fileName = stem + ".glb";
}

bool SetError(ModelExportResult& result, Host::GSErrCode status, const std::string& error,
              bool empty = false) {
    result.status = status;
    result.error = error;
    result.empty = empty;
    return false;
}

// The elements the user sees: shown in 3D and on a visible layer.
bool ListVisible(std::vector<Host::API_Guid>& visible, ModelExportResult& result) {
    Host::API_ElemType const anyType;
    Host::GSErrCode const err =
        Host::Get().Element().GetElemList(anyType, &visible, kShownOnVisibleLayer);
    if (err != Host::Error::NoError)
        return SetError(result, err, Fail("could not list the 3D-visible elements", err));
    result.visibleElements = static_cast<std::uint32_t>(visible.size());
    std::vector<Host::API_Guid> in3D;
    Host::Get().Element().GetElemList(anyType, &in3D, kShownIn3D);
    Info("ModelExport: 3D-capable elements=" + std::to_string(in3D.size()) +
         ", on a visible layer=" + std::to_string(visible.size()));
    if (visible.empty())
        return SetError(result, Host::Error::NoError, "nothing is visible in 3D", true);
    return true;
}

bool GenerateModel(const std::vector<Host::API_Guid>& visible, MAPI::Model& model,
                   ModelExportResult& result) {
    Host::GSErrCode err = Host::Get().ModelAccess().GenerateModelWithSeparateComponents(visible);
    if (err != Host::Error::NoError)
        return SetError(result, err, Fail("could not generate the 3D model", err));
    err = Host::Get().Sight().GetSelectedSightModel(model);
    if (err != Host::Error::NoError)
        return SetError(result, err, Fail("could not read the generated 3D model", err));
    result.modelElements = static_cast<std::uint32_t>(model.GetElementCount());
    if (result.modelElements == 0)
        return SetError(result, Host::Error::General, "the generated 3D model is empty", true);
    return true;
}

void LogWalk(const ModelExportResult& r, std::uint32_t contributed) {
    Info("ModelExport: walked " + std::to_string(r.modelElements) + " model element(s); " +
         std::to_string(contributed) +
         " contributed geometry; zones skipped=" + std::to_string(r.zonesSkipped) +
         ", openings skipped=" + std::to_string(r.openingsSkipped) +
         ", site/terrain skipped=" + std::to_string(r.siteSkipped) +
         ", vegetation polys skipped=" + std::to_string(r.vegetationPolysSkipped) +
         ", outside building skipped=" + std::to_string(r.outsideBuildingSkipped) + " (" +
         std::to_string(r.outsideBuildingTris) + " tris)" + ", body exc=" +
         std::to_string(r.bodyExceptions) + ", polygon exc=" + std::to_string(r.polygonExceptions));
}

void LogBuilt(const ModelExportResult& r) {
    const GlbBuildStats& s = r.stats;
    Info("ModelExport: " + std::to_string(s.triangleCount) + " triangles exported (" +
         std::to_string(s.degenerateTriangles) + " degenerate, " +
         std::to_string(s.nonFiniteTriangles) + " non-finite dropped), bbox " +
         std::to_string(s.extent[0]) + " x " + std::to_string(s.extent[1]) + " x " +
         std::to_string(s.extent[2]) + " m, glb " + std::to_string(r.glb.size()) + " bytes, " +
         std::to_string(s.vertexCount) + " verts, " + std::to_string(s.primitiveCount) +
         " materials, " + std::to_string(s.textureCount) + " textures (" +
         std::to_string(s.textureBytes / 1024) + " KB)");
}

// Steps from the sight to the file; any host exception leaves through the caller's guard.
bool ExportInOwnSight(const ModelExportOptions& options, ModelExportResult& result) {
    void* sight = nullptr;
    Host::GSErrCode err = Host::Get().Sight().CreateSight(&sight);
    if (err != Host::Error::NoError)
        return SetError(result, err, Fail("could not create a 3D sight", err));
    SightGuard guard(sight);
    if ((err = guard.Select()) != Host::Error::NoError)
        return SetError(result, err, Fail("could not select the 3D sight", err));

    std::vector<Host::API_Guid> visible;
    MAPI::Model model;
    if (!ListVisible(visible, result) || !GenerateModel(visible, model, result))
        return false;
    GlbBuilder builder;
    std::uint32_t const contributed = CollectTriangles(model, options, builder, result);
    LogWalk(result, contributed);
    if (contributed == 0)
        return SetError(result, Host::Error::General, "no triangles were produced", true);
    std::string error;
    if (!builder.Build(kGenerator, result.glb, result.stats, error))
        return SetError(result, Host::Error::General, error);
    LogBuilt(result);
    result.status = Host::Error::NoError;
    return true;
}

} // namespace

ModelExportResult ExportVisible3DModelToGlb(const ModelExportOptions& options) {
    ModelExportResult result;
    try {
        FillNames(result);
        ExportInOwnSight(options, result);
    } catch (...) {
        result.glb.clear();
        SetError(result, Host::Error::General,
                 "an unexpected error occurred while reading the 3D model");
        Logger::Get().Log(LogLevel::Error, "ModelExport: exception during export");
    }
    return result;
}

} // namespace Velmora
