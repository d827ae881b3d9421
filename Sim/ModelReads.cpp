#include "Sim/ModelReads.hpp"

namespace Velmora::Sim {

namespace {

constexpr char const* kNames[kModelReadCount] = {
    "ModelerAPI::Model::GetElement",           "ModelerAPI::Element::GetTessellatedBodyCount",
    "ModelerAPI::Element::GetTessellatedBody", "ModelerAPI::Element::GetMeshBody",
    "ModelerAPI::MeshBody::GetVertex",         "ModelerAPI::MeshBody::GetPolygonCount",
    "ModelerAPI::MeshBody::GetPolygon",        "ModelerAPI::Polygon::GetMaterial",
    "ModelerAPI::Polygon::GetConvexPolygon",   "ModelerAPI::Polygon::GetTextureCoordinate",
    "ModelerAPI::Texture::GetPixelMap",
};

} // namespace

char const* ModelReadName(ModelRead read) {
    return kNames[static_cast<std::size_t>(read)];
}

std::optional<ModelRead> ModelReadFromName(std::string const& name) {
    for (std::size_t i = 0; i < kModelReadCount; ++i) {
        if (name == kNames[i])
            return static_cast<ModelRead>(i);
    }
    return std::nullopt;
}

} // namespace Velmora::Sim
