// One element of the generated model as triangles with their glTF materials, and the per-type
// statistics of the triangles the builder accepted.
#pragma once

#include "Export/GlbBuilder.hpp"
#include "Export/ModelExport.hpp"
#include "Host/ModelerApi.hpp"

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

namespace Velmora {

struct TriRec {
    std::int32_t material = -1; // builder material index
    double position[3][3] = {}; // model coordinates, metres
    double normal[3][3] = {};   // as the host gives them
    double uv[3][2] = {};
};

// Plan box of one element (X and Y only).
struct Footprint {
    double minX = 0.0, minY = 0.0, maxX = 0.0, maxY = 0.0;
    bool valid = false;

    void Add(double x, double y);
};

struct TypeStat {
    std::uint32_t elements = 0;  // elements that contributed at least one triangle
    std::uint64_t triangles = 0; // accepted triangles
    double boxMin[3] = {};
    double boxMax[3] = {};
    bool hasBox = false;
};

// What one texture attribute became: its builder image (or -1) and whether it is a cut-out.
struct TextureEntry {
    int imageIndex = -1;
    bool cutout = false;
};

// Each appearance and each texture resolved once per export.
struct AppearanceCache {
    static constexpr std::uint64_t kTextureBudgetBytes = 62914560; // 60 MiB of PNG
    static constexpr int kMaxLoggedColourDifferences = 5;

    std::map<std::pair<Host::Int32, Host::Int32>, std::uint32_t> materials;
    std::map<Host::Int32, TextureEntry> textures;
    std::uint64_t textureBytes = 0;
    std::uint32_t skippedTextures = 0;
    std::vector<bool> cutoutFlags; // by builder material index
    std::uint32_t attributeColours = 0;
    std::uint32_t differingColours = 0;

    bool IsCutout(std::uint32_t material) const {
        return material < cutoutFlags.size() && cutoutFlags[material];
    }
};

// Empties `out`, then appends the element's triangles and extends the footprint. Reader
// failures are absorbed and counted in the result.
void ReadElementTriangles(const Host::ModelerAPI::Element& element,
                          const ModelExportOptions& options, GlbBuilder& builder,
                          AppearanceCache& cache, std::vector<TriRec>& out, Footprint& footprint,
                          ModelExportResult& result);

// Feeds the triangles to the builder; returns how many it accepted.
std::uint64_t EmitTriangles(const std::vector<TriRec>& tris, GlbBuilder& builder, TypeStat& stat);

// The builder material for a polygon's appearance, registering material and texture on first
// sight. May throw what the model reader throws.
std::uint32_t ResolveAppearance(const Host::ModelerAPI::Polygon& polygon, GlbBuilder& builder,
                                AppearanceCache& cache);

} // namespace Velmora
