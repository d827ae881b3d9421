// One element of the generated model as a list of triangles: bodies, polygons, convex parts
// and their fans, with every reader failure caught where it happens and counted.
#include "Export/ElementTriangles.hpp"

#include <algorithm>

namespace Velmora {

namespace {

namespace MAPI = Host::ModelerAPI;

constexpr MAPI::CoordinateSystem kModel = MAPI::CoordinateSystem::World;

struct Corner {
    double position[3];
    double normal[3];
    double uv[2];
};

// A texture coordinate that cannot be had is (0, 0); the polygon is kept.
void ReadUv(const MAPI::Polygon& polygon, const MAPI::Vertex& vertex, double uv[2]) {
    try {
        MAPI::TextureCoordinate coordinate;
        polygon.GetTextureCoordinate(&vertex, &coordinate);
        uv[0] = coordinate.u;
        uv[1] = coordinate.v;
    } catch (...) {
        uv[0] = 0.0;
        uv[1] = 0.0;
    }
}

Corner ReadCorner(const MAPI::MeshBody& body, const MAPI::Polygon& polygon,
                  const MAPI::ConvexPolygon& convex, Host::Int32 corner) {
    MAPI::Vertex vertex;
    body.GetVertex(convex.GetVertexIndex(corner), &vertex, kModel);
    MAPI::Vector const normal = convex.GetNormalVectorByVertex(corner, kModel);
    Corner out{{vertex.x, vertex.y, vertex.z}, {normal.x, normal.y, normal.z}, {}};
    ReadUv(polygon, vertex, out.uv);
    return out;
}

void CopyCorner(const Corner& corner, TriRec& tri, int slot) {
    std::copy(corner.position, corner.position + 3, tri.position[slot]);
    std::copy(corner.normal, corner.normal + 3, tri.normal[slot]);
    std::copy(corner.uv, corner.uv + 2, tri.uv[slot]);
}

// Convex polygons are fanned around their first corner: (1, k, k+1).
void AppendFans(const MAPI::MeshBody& body, const MAPI::Polygon& polygon, std::int32_t material,
                std::vector<TriRec>& out) {
    std::vector<Corner> corners;
    Host::Int32 const convexCount = polygon.GetConvexPolygonCount();
    for (Host::Int32 c = 1; c <= convexCount; ++c) {
        MAPI::ConvexPolygon convex;
        polygon.GetConvexPolygon(c, &convex);
        Host::Int32 const n = convex.GetVertexCount();
        if (n < 3)
            continue;
        corners.clear();
        for (Host::Int32 k = 1; k <= n; ++k)
            corners.push_back(ReadCorner(body, polygon, convex, k));
        for (Host::Int32 k = 1; k + 1 < n; ++k) {
            TriRec tri;
            tri.material = material;
            CopyCorner(corners[0], tri, 0);
            CopyCorner(corners[std::size_t(k)], tri, 1);
            CopyCorner(corners[std::size_t(k) + 1], tri, 2);
            out.push_back(tri);
        }
    }
}

// One polygon, all or nothing: its triangles stay only when it was read to the end.
void ReadPolygon(const MAPI::MeshBody& body, Host::Int32 index, MAPI::Element::Type type,
                 const ModelExportOptions& options, GlbBuilder& builder, AppearanceCache& cache,
                 std::vector<TriRec>& out, ModelExportResult& result) {
    std::size_t const before = out.size();
    try {
        MAPI::Polygon polygon;
        body.GetPolygon(index, &polygon);
        std::uint32_t const material = ResolveAppearance(polygon, builder, cache);
        // Trees and shrubs are Objects drawn as cut-out billboards.
        if (options.excludeVegetation && type == MAPI::Element::ObjectElement &&
            cache.IsCutout(material)) {
            ++result.vegetationPolysSkipped;
            return;
        }
        AppendFans(body, polygon, static_cast<std::int32_t>(material), out);
    } catch (...) {
        out.resize(before);
        ++result.polygonExceptions;
    }
}

void ReadBody(const MAPI::Element& element, bool tessellated, Host::Int32 index,
              MAPI::Element::Type type, const ModelExportOptions& options, GlbBuilder& builder,
              AppearanceCache& cache, std::vector<TriRec>& out, ModelExportResult& result) {
    MAPI::MeshBody body;
    Host::Int32 polygonCount = 0;
    try {
        if (tessellated)
            element.GetTessellatedBody(index, &body);
        else
            element.GetMeshBody(index, &body);
        polygonCount = body.GetPolygonCount();
    } catch (...) {
        ++result.bodyExceptions;
        return;
    }
    for (Host::Int32 p = 1; p <= polygonCount; ++p)
        ReadPolygon(body, p, type, options, builder, cache, out, result);
}

// Tessellated bodies when there are any, else mesh bodies; 0 when neither can be counted.
Host::Int32 CountBodies(const MAPI::Element& element, bool& tessellated) {
    Host::Int32 count = 0;
    try {
        count = element.GetTessellatedBodyCount();
    } catch (...) {
        count = 0;
    }
    tessellated = count > 0;
    if (tessellated)
        return count;
    try {
        return element.GetMeshBodyCount();
    } catch (...) {
        return 0;
    }
}

void ExtendFootprint(const std::vector<TriRec>& tris, Footprint& footprint) {
    for (const TriRec& tri : tris)
        for (const double* corner : tri.position)
            footprint.Add(corner[0], corner[1]);
}

void ExtendBox(const TriRec& tri, TypeStat& stat) {
    for (const double* corner : tri.position) {
        for (int axis = 0; axis < 3; ++axis) {
            if (!stat.hasBox) {
                stat.boxMin[axis] = corner[axis];
                stat.boxMax[axis] = corner[axis];
            } else {
                stat.boxMin[axis] = std::min(stat.boxMin[axis], corner[axis]);
                stat.boxMax[axis] = std::max(stat.boxMax[axis], corner[axis]);
            }
        }
        stat.hasBox = true;
    }
}

} // namespace

void Footprint::Add(double x, double y) {
    if (!valid) {
        minX = maxX = x;
        minY = maxY = y;
        valid = true;
        return;
    }
    minX = std::min(minX, x);
    maxX = std::max(maxX, x);
    minY = std::min(minY, y);
    maxY = std::max(maxY, y);
}

void ReadElementTriangles(const MAPI::Element& element, const ModelExportOptions& options,
                          GlbBuilder& builder, AppearanceCache& cache, std::vector<TriRec>& out,
                          Footprint& footprint, ModelExportResult& result) {
    out.clear();
    MAPI::Element::Type const type = element.GetType();
    bool tessellated = false;
    Host::Int32 const bodies = CountBodies(element, tessellated);
    for (Host::Int32 b = 1; b <= bodies; ++b)
        ReadBody(element, tessellated, b, type, options, builder, cache, out, result);
    ExtendFootprint(out, footprint);
}

std::uint64_t EmitTriangles(const std::vector<TriRec>& tris, GlbBuilder& builder, TypeStat& stat) {
    std::uint64_t accepted = 0;
    for (const TriRec& tri : tris) {
        if (!builder.AddTriangle(tri.material, tri.position[0], tri.normal[0], tri.uv[0],
                                 tri.position[1], tri.normal[1], tri.uv[1], tri.position[2],
                                 tri.normal[2], tri.uv[2]))
            continue;
        ExtendBox(tri, stat);
        ++accepted;
    }
    stat.triangles += accepted;
    if (accepted > 0)
        ++stat.elements;
    return accepted;
}

} // namespace Velmora
