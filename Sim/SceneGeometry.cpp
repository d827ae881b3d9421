#include "Sim/SceneGeometry.hpp"

#include <algorithm>
#include <cmath>

namespace Velmora::Sim {

namespace {

constexpr double kEpsilon = 1e-9;

// Whether every corner turns the same way round the normal (straight corners allowed).
bool TurnsOneWay(std::vector<Vec3> const& points, Vec3 normal) {
    std::size_t const n = points.size();
    for (std::size_t i = 0; i < n; ++i) {
        Vec3 const a = Sub(points[(i + 1) % n], points[i]);
        Vec3 const b = Sub(points[(i + 2) % n], points[(i + 1) % n]);
        if (Dot(Cross(a, b), normal) < -kEpsilon * (1.0 + Dot(a, a) + Dot(b, b)))
            return false;
    }
    return true;
}

} // namespace

Vec3 Add(Vec3 a, Vec3 b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vec3 Sub(Vec3 a, Vec3 b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vec3 Scale(Vec3 a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}

double Dot(Vec3 a, Vec3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3 Cross(Vec3 a, Vec3 b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vec3 Normalized(Vec3 a) {
    double const length = std::sqrt(Dot(a, a));
    return length > 0.0 ? Scale(a, 1.0 / length) : a;
}

Vec3 NewellNormal(std::vector<Vec3> const& points) {
    Vec3 normal;
    for (std::size_t i = 0; i < points.size(); ++i) {
        Vec3 const& p = points[i];
        Vec3 const& q = points[(i + 1) % points.size()];
        normal.x += (p.y - q.y) * (p.z + q.z);
        normal.y += (p.z - q.z) * (p.x + q.x);
        normal.z += (p.x - q.x) * (p.y + q.y);
    }
    return normal;
}

bool MakeCounterClockwiseConvex(std::vector<Vec3>& points) {
    for (Vec3& p : points)
        p.z = 0.0;
    Vec3 const normal = NewellNormal(points);
    if (std::fabs(normal.z) <= kEpsilon)
        return false;
    if (normal.z < 0.0)
        std::reverse(points.begin(), points.end());
    return TurnsOneWay(points, {0.0, 0.0, 1.0});
}

bool IsPlanarConvex(std::vector<Vec3> const& points) {
    Vec3 const normal = NewellNormal(points);
    double const length = std::sqrt(Dot(normal, normal));
    if (length <= kEpsilon)
        return false;
    Vec3 const unit = Scale(normal, 1.0 / length);
    double const offset = Dot(unit, points[0]);
    for (Vec3 const& p : points) {
        if (std::fabs(Dot(unit, p) - offset) > 1e-6 * (1.0 + std::fabs(offset)))
            return false;
    }
    return TurnsOneWay(points, unit);
}

long long ShapeTriangleCount(SceneShape const& shape) {
    auto const n = static_cast<long long>(shape.points.size());
    switch (shape.kind) {
    case ShapeKind::Box:
        return 12;
    case ShapeKind::Prism:
        return 2 * (n - 2) + 2 * n;
    case ShapeKind::Heightfield:
        return 2LL * shape.cellsX * shape.cellsY;
    case ShapeKind::Billboard:
        return shape.crossed ? 4 : 2;
    case ShapeKind::Polygon:
        return n - 2;
    }
    return 0;
}

} // namespace Velmora::Sim
