// Geometry checks and counts shared by the scene loader and the tessellator.
#pragma once

#include "Sim/Scene.hpp"

#include <vector>

namespace Velmora::Sim {

Vec3 Add(Vec3 a, Vec3 b);
Vec3 Sub(Vec3 a, Vec3 b);
Vec3 Scale(Vec3 a, double s);
double Dot(Vec3 a, Vec3 b);
Vec3 Cross(Vec3 a, Vec3 b);
Vec3 Normalized(Vec3 a); // the zero vector stays zero

// Newell's normal of a polygon, not normalised (its length is twice the area).
Vec3 NewellNormal(std::vector<Vec3> const& points);

// Orders a plan footprint (z ignored) counter-clockwise; false unless it is convex with an
// area (collinear corners are allowed).
bool MakeCounterClockwiseConvex(std::vector<Vec3>& points);

// Whether the corners lie in one plane and turn one way round it.
bool IsPlanarConvex(std::vector<Vec3> const& points);

// The number of triangles a fan triangulation of the shape yields.
long long ShapeTriangleCount(SceneShape const& shape);

} // namespace Velmora::Sim
