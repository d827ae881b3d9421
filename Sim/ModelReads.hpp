// The model reader's reads that a test can make throw, like a host call (--throw NAME:N).
// They are far too many to log one by one; the call log only counts them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace Velmora::Sim {

enum class ModelRead : std::size_t {
    ModelGetElement,
    ElementGetTessellatedBodyCount,
    ElementGetTessellatedBody,
    ElementGetMeshBody,
    MeshBodyGetVertex,
    MeshBodyGetPolygonCount,
    MeshBodyGetPolygon,
    PolygonGetMaterial,
    PolygonGetConvexPolygon,
    PolygonGetTextureCoordinate,
    TextureGetPixelMap,
    Count,
};

constexpr std::size_t kModelReadCount = static_cast<std::size_t>(ModelRead::Count);

// "ModelerAPI::MeshBody::GetPolygon", ...
char const* ModelReadName(ModelRead read);
std::optional<ModelRead> ModelReadFromName(std::string const& name);

} // namespace Velmora::Sim
