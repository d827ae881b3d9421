// Collecting the glTF writer's input: textures, materials and triangles with their counters.
#include "Export/GlbBuilder.hpp"

#include <cmath>
#include <cstdint>
#include <utility>

namespace Velmora {
namespace {

bool AllFinite(const double* p0, const double* p1, const double* p2) {
    for (int i = 0; i < 3; ++i) {
        if (!std::isfinite(p0[i]) || !std::isfinite(p1[i]) || !std::isfinite(p2[i])) {
            return false;
        }
    }
    return true;
}

bool HasZeroArea(const double* p0, const double* p1, const double* p2) {
    const double a[3] = {p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2]};
    const double b[3] = {p2[0] - p0[0], p2[1] - p0[1], p2[2] - p0[2]};
    const double cross[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                             a[0] * b[1] - a[1] * b[0]};
    return cross[0] * cross[0] + cross[1] * cross[1] + cross[2] * cross[2] <= 1e-24;
}

} // namespace

int GlbBuilder::AddTexture(std::vector<unsigned char> bytes, std::string mimeType,
                           std::string name) {
    if (bytes.empty()) {
        return -1;
    }
    images_.push_back(Image{std::move(bytes), std::move(mimeType), std::move(name)});
    return static_cast<int>(images_.size()) - 1;
}

std::uint32_t GlbBuilder::AddMaterial(const GlbMaterial& material) {
    Primitive primitive;
    primitive.material = material;
    primitives_.push_back(std::move(primitive));
    return static_cast<std::uint32_t>(primitives_.size() - 1);
}

bool GlbBuilder::AddTriangle(int material, const double p0[3], const double n0[3],
                             const double uv0[2], const double p1[3], const double n1[3],
                             const double uv1[2], const double p2[3], const double n2[3],
                             const double uv2[2]) {
    ++submittedTriangles_;
    if (material < 0 || static_cast<std::size_t>(material) >= primitives_.size()) {
        return false;
    }
    if (!AllFinite(p0, p1, p2)) {
        ++nonFiniteTriangles_;
        return false;
    }
    if (HasZeroArea(p0, p1, p2)) {
        ++degenerateTriangles_;
        return false;
    }
    Primitive& primitive = primitives_[static_cast<std::size_t>(material)];
    if (primitive.vertices.size() + 3 > UINT32_MAX) {
        return false;
    }
    const double* const positions[3] = {p0, p1, p2};
    const double* const normals[3] = {n0, n1, n2};
    const double* const uvs[3] = {uv0, uv1, uv2};
    std::uint32_t corners[3];
    AddCorners(primitive, positions, normals, uvs, corners);
    primitive.indices.insert(primitive.indices.end(), corners, corners + 3);
    ++acceptedTriangles_;
    return true;
}

} // namespace Velmora
