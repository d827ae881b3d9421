// The visible-model export: one .glb of everything the 3D view shows, optionally scoped to the
// building, with the names and statistics that the save and upload paths need.
#pragma once

#include "Export/GlbBuilder.hpp"
#include "Host/HostTypes.hpp"
#include "Host/ModelerApi.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace Velmora {

struct ModelExportOptions {
    bool includeSiteMesh = false;  // keep Mesh elements (site, terrain)
    bool buildingOnly = true;      // restrict the export to the building envelope
    bool excludeVegetation = true; // drop cut-out textured polygons of Object elements
};

struct ModelExportResult {
    std::int32_t status = 0; // 0 on success
    bool empty = false;      // the failure is that there was nothing to export
    std::string error;       // user-facing reason on failure
    std::vector<unsigned char> glb;
    GlbBuildStats stats;
    std::string projectName; // project file name without its extension
    std::string viewName;    // the current window's name
    std::string appVersion;  // "Archicad " + main version
    std::string fileName;    // sanitised stem + ".glb"
    std::uint32_t visibleElements = 0;
    std::uint32_t modelElements = 0;
    std::uint32_t zonesSkipped = 0;
    std::uint32_t openingsSkipped = 0;
    std::uint32_t siteSkipped = 0;
    std::uint64_t vegetationPolysSkipped = 0;
    std::uint64_t outsideBuildingSkipped = 0;
    std::uint64_t outsideBuildingTris = 0;
    std::uint32_t bodyExceptions = 0;
    std::uint64_t polygonExceptions = 0;
};

// Never throws; every failure ends as a status and a message in the result. Main thread only.
ModelExportResult ExportVisible3DModelToGlb(const ModelExportOptions& options);

// Walks the generated model twice (building envelope first, then the rest) and feeds the
// builder; fills the result's counters. Returns the elements that contributed a triangle.
std::uint32_t CollectTriangles(const Host::ModelerAPI::Model& model,
                               const ModelExportOptions& options, GlbBuilder& builder,
                               ModelExportResult& result);

// Replaces characters that file systems refuse, trims blanks and dots, cuts to 80 bytes.
std::string SanitizeFileStem(const std::string& name);
// Removes one trailing Archicad project extension (.pln, .plp, .pla, .mod, .tpl).
std::string StripProjectExtension(const std::string& fileName);

// Selects a freshly created sight for the export and, on leaving by any path, selects the
// previous sight again and deletes the created one.
class SightGuard {
public:
    explicit SightGuard(void* createdSight) : created_(createdSight) {}
    ~SightGuard();
    SightGuard(const SightGuard&) = delete;
    SightGuard& operator=(const SightGuard&) = delete;

    // Selects the created sight and remembers the one it replaces.
    Host::GSErrCode Select();

private:
    void* created_ = nullptr;
    void* previous_ = nullptr;
    bool selected_ = false;
};

} // namespace Velmora
