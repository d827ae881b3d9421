#include "Sim/SceneGeometry.hpp"
#include "Sim/SceneMesh.hpp"

#include <algorithm>
#include <array>
#include <cmath>

namespace Velmora::Sim {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Builds one body; each Add* call appends its shape's polygons.
class BodyBuilder {
public:
    BodyBuilder(Scene const& scene, MeshBodyData& body) : scene_(scene), body_(body) {}

    void AddShape(SceneShape const& shape);

private:
    void AddBox(SceneShape const& shape);
    void AddPrism(SceneShape const& shape);
    void AddHeightfield(SceneShape const& shape);
    void AddBillboard(SceneShape const& shape);

    std::int32_t AddVertex(Vec3 p) {
        body_.vertices.push_back(p);
        return static_cast<std::int32_t>(body_.vertices.size() - 1);
    }
    // A flat face over existing vertices, corners in counter-clockwise order seen from outside.
    void AddFace(std::vector<std::int32_t> const& corners, SceneShape const& shape);
    UvMap FaceUvMap(std::vector<Vec3> const& points, Vec3 normal, UvSpec const& uv) const;
    std::int32_t TextureOf(SceneShape const& shape) const {
        return scene_.materials[static_cast<std::size_t>(shape.material)].texture;
    }

    Scene const& scene_;
    MeshBodyData& body_;
};

void BodyBuilder::AddShape(SceneShape const& shape) {
    switch (shape.kind) {
    case ShapeKind::Box:
        AddBox(shape);
        break;
    case ShapeKind::Prism:
        AddPrism(shape);
        break;
    case ShapeKind::Heightfield:
        AddHeightfield(shape);
        break;
    case ShapeKind::Billboard:
        AddBillboard(shape);
        break;
    case ShapeKind::Polygon: {
        std::vector<std::int32_t> corners;
        for (Vec3 const& p : shape.points)
            corners.push_back(AddVertex(p));
        AddFace(corners, shape);
        break;
    }
    }
}

UvMap BodyBuilder::FaceUvMap(std::vector<Vec3> const& points, Vec3 normal, UvSpec const& uv) const {
    if (uv.mode == UvMode::Box) {
        Vec3 const across{1.0 / uv.sizeU, 0.0, 0.0};
        double const ax = std::fabs(normal.x), ay = std::fabs(normal.y), az = std::fabs(normal.z);
        if (az >= ax && az >= ay)
            return {{}, across, {0.0, 1.0 / uv.sizeV, 0.0}};
        if (ax >= ay)
            return {{}, {0.0, 1.0 / uv.sizeU, 0.0}, {0.0, 0.0, 1.0 / uv.sizeV}};
        return {{}, across, {0.0, 0.0, 1.0 / uv.sizeV}};
    }
    // Fit: the face's bounding rectangle in its own plane becomes 0..1 both ways.
    Vec3 const e1 = Normalized(Sub(points[1], points[0]));
    Vec3 const e2 = Normalized(Cross(normal, e1));
    double sMin = 0.0, sMax = 0.0, tMin = 0.0, tMax = 0.0;
    for (Vec3 const& p : points) {
        Vec3 const d = Sub(p, points[0]);
        sMin = std::min(sMin, Dot(d, e1));
        sMax = std::max(sMax, Dot(d, e1));
        tMin = std::min(tMin, Dot(d, e2));
        tMax = std::max(tMax, Dot(d, e2));
    }
    Vec3 const origin = Add(points[0], Add(Scale(e1, sMin), Scale(e2, tMin)));
    double const width = std::max(sMax - sMin, 1e-12), height = std::max(tMax - tMin, 1e-12);
    return {origin, Scale(e1, 1.0 / width), Scale(e2, 1.0 / height)};
}

void BodyBuilder::AddFace(std::vector<std::int32_t> const& corners, SceneShape const& shape) {
    std::vector<Vec3> points;
    for (std::int32_t index : corners)
        points.push_back(body_.vertices[static_cast<std::size_t>(index)]);
    Vec3 const normal = Normalized(NewellNormal(points));
    body_.normals.push_back(normal);
    auto const normalIndex = static_cast<std::int32_t>(body_.normals.size() - 1);
    body_.uvMaps.push_back(FaceUvMap(points, normal, shape.uv));
    MeshPolygon polygon;
    polygon.material = shape.material;
    polygon.texture = TextureOf(shape);
    polygon.uvMap = static_cast<std::int32_t>(body_.uvMaps.size() - 1);
    polygon.firstConvex = static_cast<std::int32_t>(body_.convexes.size());
    polygon.convexCount = 1;
    body_.polygons.push_back(polygon);
    body_.convexes.push_back({static_cast<std::int32_t>(body_.corners.size()),
                              static_cast<std::int32_t>(corners.size())});
    for (std::int32_t index : corners)
        body_.corners.push_back({index, normalIndex});
}

void BodyBuilder::AddBox(SceneShape const& shape) {
    Vec3 const centre = Scale(Add(shape.min, shape.max), 0.5);
    double const angle = shape.rotationDeg * kPi / 180.0;
    double const c = std::cos(angle), s = std::sin(angle);
    std::int32_t corner[8];
    for (int i = 0; i < 8; ++i) {
        Vec3 const p{(i & 1) ? shape.max.x : shape.min.x, (i & 2) ? shape.max.y : shape.min.y,
                     (i & 4) ? shape.max.z : shape.min.z};
        double const dx = p.x - centre.x, dy = p.y - centre.y;
        corner[i] = AddVertex({centre.x + c * dx - s * dy, centre.y + s * dx + c * dy, p.z});
    }
    static constexpr int kFaces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4},
                                         {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (auto const& face : kFaces)
        AddFace({corner[face[0]], corner[face[1]], corner[face[2]], corner[face[3]]}, shape);
}

void BodyBuilder::AddPrism(SceneShape const& shape) {
    std::vector<std::int32_t> bottom, top;
    for (Vec3 const& p : shape.points) {
        bottom.push_back(AddVertex({p.x, p.y, shape.bottom}));
        top.push_back(AddVertex({p.x, p.y, shape.top}));
    }
    AddFace(top, shape);
    AddFace(std::vector<std::int32_t>(bottom.rbegin(), bottom.rend()), shape);
    std::size_t const n = bottom.size();
    for (std::size_t i = 0; i < n; ++i) {
        std::size_t const j = (i + 1) % n;
        AddFace({bottom[i], bottom[j], top[j], top[i]}, shape);
    }
}

Vec3 HeightNormal(SceneShape const& grid, double x, double y) {
    double dzdx = grid.slopeX, dzdy = grid.slopeY;
    for (HeightWave const& wave : grid.waves) {
        double const kx = 2.0 * kPi / wave.periodX, ky = 2.0 * kPi / wave.periodY;
        dzdx += wave.amplitude * kx * std::cos(kx * x) * std::cos(ky * y);
        dzdy -= wave.amplitude * ky * std::sin(kx * x) * std::sin(ky * y);
    }
    return Normalized({-dzdx, -dzdy, 1.0});
}

void BodyBuilder::AddHeightfield(SceneShape const& grid) {
    auto const first = static_cast<std::int32_t>(body_.vertices.size());
    std::int32_t const row = grid.cellsX + 1;
    std::size_t const vertexCount = static_cast<std::size_t>(row) * (grid.cellsY + 1);
    body_.vertices.reserve(body_.vertices.size() + vertexCount);
    body_.normals.reserve(body_.normals.size() + vertexCount);
    auto const firstNormal = static_cast<std::int32_t>(body_.normals.size());
    for (int j = 0; j <= grid.cellsY; ++j) {
        for (int i = 0; i <= grid.cellsX; ++i) {
            double const x = grid.sizeX * i / grid.cellsX, y = grid.sizeY * j / grid.cellsY;
            AddVertex({grid.originX + x, grid.originY + y, HeightAt(grid, x, y)});
            body_.normals.push_back(HeightNormal(grid, x, y));
        }
    }
    Vec3 const origin{grid.originX, grid.originY, 0.0};
    UvMap map = grid.uv.mode == UvMode::Fit
                    ? UvMap{origin, {1.0 / grid.sizeX, 0.0, 0.0}, {0.0, 1.0 / grid.sizeY, 0.0}}
                    : UvMap{{}, {1.0 / grid.uv.sizeU, 0.0, 0.0}, {0.0, 1.0 / grid.uv.sizeV, 0.0}};
    body_.uvMaps.push_back(map);
    auto const uvMap = static_cast<std::int32_t>(body_.uvMaps.size() - 1);
    std::size_t const cells = static_cast<std::size_t>(grid.cellsX) * grid.cellsY;
    body_.polygons.reserve(body_.polygons.size() + cells);
    body_.convexes.reserve(body_.convexes.size() + 2 * cells);
    body_.corners.reserve(body_.corners.size() + 6 * cells);
    for (int j = 0; j < grid.cellsY; ++j) {
        for (int i = 0; i < grid.cellsX; ++i) {
            std::int32_t const v00 = j * row + i, v10 = v00 + 1, v01 = v00 + row, v11 = v01 + 1;
            body_.polygons.push_back({grid.material, TextureOf(grid), uvMap,
                                      static_cast<std::int32_t>(body_.convexes.size()), 2});
            for (auto const& tri : {std::array<std::int32_t, 3>{v00, v10, v11},
                                    std::array<std::int32_t, 3>{v00, v11, v01}}) {
                body_.convexes.push_back({static_cast<std::int32_t>(body_.corners.size()), 3});
                for (std::int32_t v : tri)
                    body_.corners.push_back({first + v, firstNormal + v});
            }
        }
    }
}

void BodyBuilder::AddBillboard(SceneShape const& shape) {
    int const quads = shape.crossed ? 2 : 1;
    for (int q = 0; q < quads; ++q) {
        double const angle = (shape.rotationDeg + 90.0 * q) * kPi / 180.0;
        Vec3 const half{std::cos(angle) * shape.width / 2, std::sin(angle) * shape.width / 2, 0.0};
        Vec3 const up{0.0, 0.0, shape.height};
        Vec3 const left = Sub(shape.position, half), right = Add(shape.position, half);
        AddFace({AddVertex(left), AddVertex(right), AddVertex(Add(right, up)),
                 AddVertex(Add(left, up))},
                shape);
    }
}

} // namespace

double HeightAt(SceneShape const& grid, double x, double y) {
    double z = grid.base + grid.slopeX * x + grid.slopeY * y;
    for (HeightWave const& wave : grid.waves)
        z += wave.amplitude * std::sin(2.0 * kPi * x / wave.periodX) *
             std::cos(2.0 * kPi * y / wave.periodY);
    return z;
}

ElementMesh TessellateElement(Scene const& scene, SceneElement const& element) {
    ElementMesh mesh(element.bodies.size());
    for (std::size_t b = 0; b < element.bodies.size(); ++b) {
        BodyBuilder builder(scene, mesh[b]);
        for (SceneShape const& shape : element.bodies[b])
            builder.AddShape(shape);
    }
    return mesh;
}

} // namespace Velmora::Sim
