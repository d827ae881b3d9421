#include "Sim/SimModel.hpp"

#include "Sim/TexturePixels.hpp"

#include <stdexcept>
#include <string>

namespace Velmora::Sim {

namespace {

namespace M = Host::ModelerAPI;
using Host::Int32;
using ModelPtr = std::shared_ptr<GeneratedModel const>;

// A 1-based index as the model reader takes it, checked against the count.
std::size_t Slot(Int32 index, std::size_t count, char const* what) {
    if (index < 1 || static_cast<std::size_t>(index) > count)
        throw std::out_of_range(std::string("ModelerAPI: ") + what + " index " +
                                std::to_string(index) + " out of 1.." + std::to_string(count));
    return static_cast<std::size_t>(index - 1);
}

template <typename T>
T* Checked(T* out, char const* what) {
    if (out == nullptr)
        throw std::invalid_argument(std::string("ModelerAPI: null ") + what);
    return out;
}

class TextureSource : public M::Texture::Source {
public:
    TextureSource(ModelPtr model, std::size_t index)
        : model_(std::move(model)), texture_(model_->scene->textures[index]) {}

    std::string GetName() const override { return texture_.name; }
    Int32 GetPixelMapXSize() const override { return texture_.width; }
    Int32 GetPixelMapYSize() const override { return texture_.height; }
    void GetPixelMap(M::ARGBPixel* pixelMap) const override {
        model_->calls->EnterRead(ModelRead::TextureGetPixelMap);
        FillTexturePixels(texture_, Checked(pixelMap, "pixel map"));
    }
    bool HasAlphaChannel() const override { return texture_.alpha; }

private:
    ModelPtr model_;
    SceneTexture const& texture_;
};

class MaterialSource : public M::Material::Source {
public:
    MaterialSource(ModelPtr model, std::size_t index)
        : model_(std::move(model)), material_(model_->scene->materials[index]) {}

    std::string GetName() const override { return material_.name; }
    M::Color GetSurfaceColor() const override { return material_.color; }
    double GetTransparency() const override { return material_.transparency; }

private:
    ModelPtr model_;
    SceneMaterial const& material_;
};

// The body a polygon belongs to, kept alive with its model.
struct BodyRef {
    ModelPtr model;
    MeshBodyData const* body = nullptr;
};

class ConvexSource : public M::ConvexPolygon::Source {
public:
    ConvexSource(BodyRef ref, MeshConvex convex) : ref_(std::move(ref)), convex_(convex) {}

    Int32 GetVertexCount() const override { return convex_.cornerCount; }
    Int32 GetVertexIndex(Int32 vertexIndex) const override {
        return Corner(vertexIndex).vertex + 1;
    }
    M::Vector GetNormalVectorByVertex(Int32 vertexIndex, M::CoordinateSystem) const override {
        Vec3 const& n = ref_.body->normals[static_cast<std::size_t>(Corner(vertexIndex).normal)];
        return {n.x, n.y, n.z};
    }

private:
    MeshCorner const& Corner(Int32 vertexIndex) const {
        std::size_t const slot = Slot(vertexIndex, static_cast<std::size_t>(convex_.cornerCount),
                                      "convex polygon vertex");
        return ref_.body->corners[static_cast<std::size_t>(convex_.firstCorner) + slot];
    }

    BodyRef ref_;
    MeshConvex convex_;
};

class PolygonSource : public M::Polygon::Source {
public:
    PolygonSource(BodyRef ref, MeshPolygon const& polygon)
        : ref_(std::move(ref)), polygon_(polygon) {}

    void GetMaterialIndex(M::AttributeIndex& iMat) const override {
        iMat =
            polygon_.material >= 0 ? M::AttributeIndex(polygon_.material + 1) : M::AttributeIndex();
    }
    void GetMaterial(M::Material* material) const override {
        ref_.model->calls->EnterRead(ModelRead::PolygonGetMaterial);
        if (polygon_.material < 0)
            throw std::runtime_error("ModelerAPI: polygon without material");
        *Checked(material, "material") = M::Material(std::make_shared<MaterialSource>(
            ref_.model, static_cast<std::size_t>(polygon_.material)));
    }
    bool HasMaterialTexture() const override { return polygon_.texture >= 0; }
    void GetMaterialTextureIndex(M::AttributeIndex& iText) const override {
        iText =
            polygon_.texture >= 0 ? M::AttributeIndex(polygon_.texture + 1) : M::AttributeIndex();
    }
    void GetMaterialTexture(M::Texture* texture) const override {
        if (polygon_.texture < 0)
            throw std::runtime_error("ModelerAPI: polygon without texture");
        *Checked(texture, "texture") = M::Texture(std::make_shared<TextureSource>(
            ref_.model, static_cast<std::size_t>(polygon_.texture)));
    }
    Int32 GetConvexPolygonCount() const override { return polygon_.convexCount; }
    void GetConvexPolygon(Int32 polygonIndex, M::ConvexPolygon* polygon) const override {
        ref_.model->calls->EnterRead(ModelRead::PolygonGetConvexPolygon);
        std::size_t const slot =
            Slot(polygonIndex, static_cast<std::size_t>(polygon_.convexCount), "convex polygon");
        MeshConvex const& convex =
            ref_.body->convexes[static_cast<std::size_t>(polygon_.firstConvex) + slot];
        *Checked(polygon, "convex polygon") =
            M::ConvexPolygon(std::make_shared<ConvexSource>(ref_, convex));
    }
    void GetTextureCoordinate(M::Vertex const* positionInWorldCS,
                              M::TextureCoordinate* textureCoordinate) const override {
        ref_.model->calls->EnterRead(ModelRead::PolygonGetTextureCoordinate);
        M::Vertex const& p = *Checked(positionInWorldCS, "position");
        UvMap const& map = ref_.body->uvMaps[static_cast<std::size_t>(polygon_.uvMap)];
        Vec3 const d{p.x - map.origin.x, p.y - map.origin.y, p.z - map.origin.z};
        *Checked(textureCoordinate,
                 "texture coordinate") = {d.x * map.u.x + d.y * map.u.y + d.z * map.u.z,
                                          d.x * map.v.x + d.y * map.v.y + d.z * map.v.z};
    }

private:
    BodyRef ref_;
    MeshPolygon const& polygon_;
};

class BodySource : public M::MeshBody::Source {
public:
    explicit BodySource(BodyRef ref) : ref_(std::move(ref)) {}

    Int32 GetVertexCount() const override { return static_cast<Int32>(ref_.body->vertices.size()); }
    void GetVertex(Int32 vertexIndex, M::Vertex* vertex, M::CoordinateSystem) const override {
        ref_.model->calls->EnterRead(ModelRead::MeshBodyGetVertex);
        // Elements carry no local transformation here: local and world coordinates agree.
        Vec3 const& p =
            ref_.body->vertices[Slot(vertexIndex, ref_.body->vertices.size(), "vertex")];
        *Checked(vertex, "vertex") = {p.x, p.y, p.z};
    }
    Int32 GetPolygonCount() const override {
        ref_.model->calls->EnterRead(ModelRead::MeshBodyGetPolygonCount);
        return static_cast<Int32>(ref_.body->polygons.size());
    }
    void GetPolygon(Int32 polygonIndex, M::Polygon* polygon) const override {
        ref_.model->calls->EnterRead(ModelRead::MeshBodyGetPolygon);
        MeshPolygon const& data =
            ref_.body->polygons[Slot(polygonIndex, ref_.body->polygons.size(), "polygon")];
        *Checked(polygon, "polygon") = M::Polygon(std::make_shared<PolygonSource>(ref_, data));
    }

private:
    BodyRef ref_;
};

class ElementSource : public M::Element::Source {
public:
    ElementSource(ModelPtr model, std::size_t index)
        : model_(std::move(model)), element_(model_->elements[index]) {}

    bool IsInvalid() const override { return false; }
    Host::API_Guid GetElemGuid() const override { return element_.guid; }
    M::Element::Type GetType() const override { return element_.type; }
    Int32 GetTessellatedBodyCount() const override {
        model_->calls->EnterRead(ModelRead::ElementGetTessellatedBodyCount);
        return static_cast<Int32>(element_.mesh->size());
    }
    void GetTessellatedBody(Int32 bodyIndex, M::MeshBody* body) const override {
        model_->calls->EnterRead(ModelRead::ElementGetTessellatedBody);
        Fetch(bodyIndex, body);
    }
    // Every body here is a mesh body, so both views of the element agree.
    Int32 GetMeshBodyCount() const override { return static_cast<Int32>(element_.mesh->size()); }
    void GetMeshBody(Int32 bodyIndex, M::MeshBody* body) const override {
        model_->calls->EnterRead(ModelRead::ElementGetMeshBody);
        Fetch(bodyIndex, body);
    }

private:
    void Fetch(Int32 bodyIndex, M::MeshBody* body) const {
        MeshBodyData const& data = (*element_.mesh)[Slot(bodyIndex, element_.mesh->size(), "body")];
        *Checked(body, "body") = M::MeshBody(std::make_shared<BodySource>(BodyRef{model_, &data}));
    }

    ModelPtr model_;
    GeneratedElement const& element_;
};

class ModelSource : public M::Model::Source {
public:
    explicit ModelSource(ModelPtr model) : model_(std::move(model)) {}

    Int32 GetElementCount() const override { return static_cast<Int32>(model_->elements.size()); }
    void GetElement(Int32 elementIndex, M::Element* element) const override {
        model_->calls->EnterRead(ModelRead::ModelGetElement);
        std::size_t const slot = Slot(elementIndex, model_->elements.size(), "element");
        *Checked(element, "element") = M::Element(std::make_shared<ElementSource>(model_, slot));
    }

private:
    ModelPtr model_;
};

} // namespace

Host::ModelerAPI::Model MakeModelHandle(std::shared_ptr<GeneratedModel const> model) {
    return M::Model(std::make_shared<ModelSource>(std::move(model)));
}

} // namespace Velmora::Sim
