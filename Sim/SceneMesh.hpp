// Shapes turned into what the host's model reader hands out: bodies of polygons, each split
// into convex polygons whose corners carry a vertex and a normal. Indices here are 0-based;
// the model reader adds one.
#pragma once

#include "Sim/Scene.hpp"

#include <cstdint>
#include <vector>

namespace Velmora::Sim {

// u = (p - origin) . u, v = (p - origin) . v for a world position p.
struct UvMap {
    Vec3 origin, u, v;
};

struct MeshCorner {
    std::int32_t vertex = 0, normal = 0;
};

struct MeshConvex {
    std::int32_t firstCorner = 0, cornerCount = 0;
};

struct MeshPolygon {
    std::int32_t material = -1; // into Scene::materials
    std::int32_t texture = -1;  // into Scene::textures
    std::int32_t uvMap = 0;
    std::int32_t firstConvex = 0, convexCount = 0;
};

struct MeshBodyData {
    std::vector<Vec3> vertices;
    std::vector<Vec3> normals;
    std::vector<UvMap> uvMaps;
    std::vector<MeshPolygon> polygons;
    std::vector<MeshConvex> convexes;
    std::vector<MeshCorner> corners;
};

using ElementMesh = std::vector<MeshBodyData>;

// One body per body of the element; shapes of a body share it.
ElementMesh TessellateElement(Scene const& scene, SceneElement const& element);

double HeightAt(SceneShape const& grid, double x, double y);

} // namespace Velmora::Sim
