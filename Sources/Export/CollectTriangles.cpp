// The walk over the generated model: pass 1 reads the anchor elements that outline the
// building, pass 2 keeps what lies mostly inside that envelope, then a report per type.
#include "Export/ElementTriangles.hpp"
#include "Export/ModelExport.hpp"
#include "Logger.hpp"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <map>
#include <string>

namespace Velmora {

namespace {

namespace MAPI = Host::ModelerAPI;
using TypeStats = std::map<int, TypeStat>;

constexpr int kZone = MAPI::Element::RoomElement;
constexpr int kMesh = MAPI::Element::MeshElement;

struct TypeName {
    int type;
    const char* name;
};

constexpr TypeName kTypeNames[] = {
    {1, "Wall"},
    {2, "Slab"},
    {3, "Roof"},
    {4, "CurtainWall"},
    {5, "CW frame"},
    {6, "CW panel"},
    {10, "Shell"},
    {11, "Skylight"},
    {12, "Morph"},
    {13, "Door"},
    {14, "Window"},
    {15, "Object"},
    {16, "Light"},
    {17, "Column"},
    {18, "Mesh (site/terrain)"},
    {19, "Beam"},
    {20, "Zone"},
    {21, "Stair"},
    {22, "Stair riser"},
    {23, "Stair tread"},
    {24, "Stair structure"},
    {25, "Railing"},
    {26, "Railing toprail"},
    {27, "Railing handrail"},
    {28, "Railing rail"},
    {29, "Railing post"},
    {30, "Railing inner post"},
    {31, "Railing baluster"},
    {32, "Railing panel"},
    {36, "Railing toprail end"},
    {37, "Railing handrail end"},
    {42, "Railing rail end"},
    {47, "Column segment"},
    {48, "Beam segment"},
};

std::string TypeNameOf(int type) {
    for (const TypeName& entry : kTypeNames)
        if (entry.type == type)
            return entry.name;
    return "type " + std::to_string(type);
}

// Walls, roofs, curtain walls, shells, doors, windows, columns, beams, stairs and railings
// outline the building; slabs, objects and morphs may lie anywhere on the site.
constexpr int kAnchorTypes[] = {1,  3,  4,  5,  6,  7,  8,  9,  10, 11, 13, 14, 17, 19, 21, 22,
                                23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 43, 47, 48};

bool IsAnchorType(int type) {
    return std::find(std::begin(kAnchorTypes), std::end(kAnchorTypes), type) !=
           std::end(kAnchorTypes);
}

bool IsOpeningType(int type) {
    return type >= MAPI::Element::Opening && type <= MAPI::Element::Openingpatchinfill;
}

// Whether pass 2 skips the element without reading it (counters are pass 1's business).
bool SkippedInPass2(int type, const ModelExportOptions& options) {
    return type == kZone || IsOpeningType(type) || (type == kMesh && !options.includeSiteMesh) ||
           (options.buildingOnly && IsAnchorType(type));
}

struct Walk {
    const MAPI::Model& model;
    const ModelExportOptions& options;
    GlbBuilder& builder;
    ModelExportResult& result;
    AppearanceCache cache;
    std::vector<TriRec> tris;
    TypeStats stats;
    Footprint envelope;
    std::uint32_t contributing = 0;

    void Pass1();
    void Pass2();
    bool Keep(const Footprint& footprint) const;
    void Report() const;
};

void Walk::Pass1() {
    Host::Int32 const count = model.GetElementCount();
    for (Host::Int32 i = 1; i <= count; ++i) {
        MAPI::Element element;
        model.GetElement(i, &element);
        int const type = element.GetType();
        if (IsOpeningType(type)) {
            ++result.openingsSkipped;
        } else if (type == kZone) {
            ++result.zonesSkipped;
        } else if (type == kMesh && !options.includeSiteMesh) {
            ++result.siteSkipped;
        } else if (options.buildingOnly && IsAnchorType(type)) {
            Footprint footprint;
            ReadElementTriangles(element, options, builder, cache, tris, footprint, result);
            if (EmitTriangles(tris, builder, stats[type]) == 0)
                continue;
            ++contributing;
            if (footprint.valid) {
                envelope.Add(footprint.minX, footprint.minY);
                envelope.Add(footprint.maxX, footprint.maxY);
            }
        }
    }
}

double Overlap(double minA, double maxA, double minB, double maxB) {
    return std::max(0.0, std::min(maxA, maxB) - std::max(minA, minB));
}

// Mostly inside: at least half of the plan box, or for a box without area its centre.
bool Walk::Keep(const Footprint& footprint) const {
    if (!footprint.valid)
        return false;
    double const area = (footprint.maxX - footprint.minX) * (footprint.maxY - footprint.minY);
    if (area <= 0.0) {
        double const cx = (footprint.minX + footprint.maxX) * 0.5;
        double const cy = (footprint.minY + footprint.maxY) * 0.5;
        return cx >= envelope.minX && cx <= envelope.maxX && cy >= envelope.minY &&
               cy <= envelope.maxY;
    }
    double const inside = Overlap(footprint.minX, footprint.maxX, envelope.minX, envelope.maxX) *
                          Overlap(footprint.minY, footprint.maxY, envelope.minY, envelope.maxY);
    return inside / area >= 0.5;
}

void Walk::Pass2() {
    bool const scoped = options.buildingOnly && envelope.valid;
    Host::Int32 const count = model.GetElementCount();
    for (Host::Int32 i = 1; i <= count; ++i) {
        MAPI::Element element;
        model.GetElement(i, &element);
        int const type = element.GetType();
        if (SkippedInPass2(type, options))
            continue;
        Footprint footprint;
        ReadElementTriangles(element, options, builder, cache, tris, footprint, result);
        if (tris.empty())
            continue;
        if (scoped && !Keep(footprint)) {
            ++result.outsideBuildingSkipped;
            result.outsideBuildingTris += tris.size();
            continue;
        }
        if (EmitTriangles(tris, builder, stats[type]) > 0)
            ++contributing;
    }
}

void LogEnvelope(const Footprint& envelope) {
    if (!envelope.valid) {
        Logger::Get().Log(LogLevel::Warn,
                          "ModelExport: no wall/roof/column-class elements found; cannot scope "
                          "to a building - exporting all visible geometry");
        return;
    }
    char line[128];
    std::snprintf(line, sizeof line,
                  "ModelExport: building envelope from anchor elements: "
                  "%.1f x %.1f m",
                  envelope.maxX - envelope.minX, envelope.maxY - envelope.minY);
    Logger::Get().Log(LogLevel::Info, line);
}

void LogType(int type, const TypeStat& stat, std::uint64_t total) {
    double span[3] = {};
    for (int axis = 0; stat.hasBox && axis < 3; ++axis)
        span[axis] = stat.boxMax[axis] - stat.boxMin[axis];
    char line[256];
    std::snprintf(line, sizeof line,
                  "ModelExport:   %-20s %7ld tris (%4.1f%%) from %5d elem, span %.1f x %.1f x "
                  "%.1f m",
                  TypeNameOf(type).c_str(), static_cast<long>(stat.triangles),
                  double(stat.triangles) * 100.0 / double(std::max<std::uint64_t>(total, 1)),
                  static_cast<int>(stat.elements), span[0], span[1], span[2]);
    Logger::Get().Log(LogLevel::Info, line);
}

void Walk::Report() const {
    std::vector<std::pair<int, const TypeStat*>> sorted;
    std::uint64_t total = 0;
    for (const auto& [type, stat] : stats) {
        total += stat.triangles;
        if (stat.triangles > 0)
            sorted.emplace_back(type, &stat);
    }
    std::stable_sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
        return a.second->triangles > b.second->triangles;
    });
    for (const auto& [type, stat] : sorted)
        LogType(type, *stat, total);
    Logger::Get().Log(LogLevel::Info, "ModelExport: " + std::to_string(cache.attributeColours) +
                                          " of " + std::to_string(cache.materials.size()) +
                                          " materials coloured from their attribute (" +
                                          std::to_string(cache.differingColours) +
                                          " differed from ModelerAPI)");
}

} // namespace

std::uint32_t CollectTriangles(const MAPI::Model& model, const ModelExportOptions& options,
                               GlbBuilder& builder, ModelExportResult& result) {
    Walk walk{model, options, builder, result, {}, {}, {}, {}, 0};
    walk.Pass1();
    if (options.buildingOnly)
        LogEnvelope(walk.envelope);
    walk.Pass2();
    walk.Report();
    return walk.contributing;
}

} // namespace Velmora
