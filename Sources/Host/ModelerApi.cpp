#include "Host/ModelerApi.hpp"

#include <stdexcept>

namespace Velmora::Host::ModelerAPI {

namespace {

// An empty handle is a programming error on the add-on's side; the host would crash, the
// port throws so that the per-body and per-polygon guards see it.
template <typename SourcePtr>
auto const& Checked(SourcePtr const& source, char const* what) {
    if (!source)
        throw std::logic_error(std::string("ModelerAPI: empty ") + what + " handle");
    return *source;
}

} // namespace

Texture::Source const& Texture::Src() const {
    return Checked(source_, "Texture");
}

Material::Source const& Material::Src() const {
    return Checked(source_, "Material");
}

ConvexPolygon::Source const& ConvexPolygon::Src() const {
    return Checked(source_, "ConvexPolygon");
}

Polygon::Source const& Polygon::Src() const {
    return Checked(source_, "Polygon");
}

MeshBody::Source const& MeshBody::Src() const {
    return Checked(source_, "MeshBody");
}

Element::Source const& Element::Src() const {
    return Checked(source_, "Element");
}

Model::Source const& Model::Src() const {
    return Checked(source_, "Model");
}

} // namespace Velmora::Host::ModelerAPI
