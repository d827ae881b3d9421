#include "ModelReader.hpp"

#include "HostText.hpp"

#include "API_Guid.hpp"
#include "AttributeIndex.hpp"
#include "ConvexPolygon.hpp"
#include "CoordinateSystem.hpp"
#include "ModelElement.hpp"
#include "ModelMaterial.hpp"
#include "ModelMeshBody.hpp"
#include "Polygon.hpp"
#include "Texture.hpp"
#include "TextureCoordinate.hpp"
#include "Vertex.hpp"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Velmora::Archicad {

namespace {

namespace Port = Host::ModelerAPI;

// A host object that keeps its parent (the model, element, body or polygon it was read from)
// alive as long as it lives.
template <typename T>
std::shared_ptr<T> MakeChild(std::shared_ptr<void const> parent) {
    struct Holder {
        std::shared_ptr<void const> parent;
        T value;
    };
    auto holder = std::make_shared<Holder>();
    holder->parent = std::move(parent);
    return std::shared_ptr<T>(holder, &holder->value);
}

::ModelerAPI::CoordinateSystem ToApiSystem(Port::CoordinateSystem system) {
    return system == Port::CoordinateSystem::ElemLocal ? ::ModelerAPI::CoordinateSystem::ElemLocal
                                                       : ::ModelerAPI::CoordinateSystem::World;
}

Port::AttributeIndex ToPortIndex(::ModelerAPI::AttributeIndex const& index) {
    return index.IsValid() ? Port::AttributeIndex(index.GetIndex()) : Port::AttributeIndex();
}

class TextureSource final : public Port::Texture::Source {
public:
    explicit TextureSource(std::shared_ptr<::ModelerAPI::Texture const> texture)
        : texture_(std::move(texture)) {}

    std::string GetName() const override { return ToUtf8(texture_->GetName()); }
    Host::Int32 GetPixelMapXSize() const override { return texture_->GetPixelMapXSize(); }
    Host::Int32 GetPixelMapYSize() const override { return texture_->GetPixelMapYSize(); }
    bool HasAlphaChannel() const override { return texture_->HasAlphaChannel(); }

    void GetPixelMap(Port::ARGBPixel* pixelMap) const override {
        std::size_t const wanted = PixelCount();
        // The host fills GetPixelMapSize() pixels; the buffer is never smaller than that.
        std::size_t const hostCount =
            static_cast<std::size_t>(std::max<Host::Int32>(texture_->GetPixelMapSize(), 0));
        std::vector<::ModelerAPI::ARGBPixel> pixels(std::max(wanted, hostCount));
        if (pixels.empty())
            return;
        texture_->GetPixelMap(pixels.data());
        for (std::size_t i = 0; i < wanted; ++i) {
            pixelMap[i].alpha = pixels[i].alpha;
            pixelMap[i].red = pixels[i].red;
            pixelMap[i].green = pixels[i].green;
            pixelMap[i].blue = pixels[i].blue;
        }
    }

private:
    std::size_t PixelCount() const {
        Host::Int32 const x = texture_->GetPixelMapXSize();
        Host::Int32 const y = texture_->GetPixelMapYSize();
        return (x > 0 && y > 0) ? static_cast<std::size_t>(x) * static_cast<std::size_t>(y) : 0;
    }

    std::shared_ptr<::ModelerAPI::Texture const> texture_;
};

class MaterialSource final : public Port::Material::Source {
public:
    explicit MaterialSource(std::shared_ptr<::ModelerAPI::Material const> material)
        : material_(std::move(material)) {}

    std::string GetName() const override { return ToUtf8(material_->GetName()); }
    Port::Color GetSurfaceColor() const override {
        ::ModelerAPI::Color const color = material_->GetSurfaceColor();
        Port::Color portColor;
        portColor.red = color.red;
        portColor.green = color.green;
        portColor.blue = color.blue;
        return portColor;
    }
    double GetTransparency() const override { return material_->GetTransparency(); }

private:
    std::shared_ptr<::ModelerAPI::Material const> material_;
};

class ConvexPolygonSource final : public Port::ConvexPolygon::Source {
public:
    explicit ConvexPolygonSource(std::shared_ptr<::ModelerAPI::ConvexPolygon const> polygon)
        : polygon_(std::move(polygon)) {}

    Host::Int32 GetVertexCount() const override { return polygon_->GetVertexCount(); }
    Host::Int32 GetVertexIndex(Host::Int32 vertexIndex) const override {
        return polygon_->GetVertexIndex(vertexIndex);
    }
    Port::Vector GetNormalVectorByVertex(Host::Int32 vertexIndex,
                                         Port::CoordinateSystem system) const override {
        ::ModelerAPI::Vector const normal =
            polygon_->GetNormalVectorByVertex(vertexIndex, ToApiSystem(system));
        Port::Vector portNormal;
        portNormal.x = normal.x;
        portNormal.y = normal.y;
        portNormal.z = normal.z;
        return portNormal;
    }

private:
    std::shared_ptr<::ModelerAPI::ConvexPolygon const> polygon_;
};

class PolygonSource final : public Port::Polygon::Source {
public:
    explicit PolygonSource(std::shared_ptr<::ModelerAPI::Polygon const> polygon)
        : polygon_(std::move(polygon)) {}

    void GetMaterialIndex(Port::AttributeIndex& iMat) const override {
        ::ModelerAPI::AttributeIndex index;
        polygon_->GetMaterialIndex(index);
        iMat = ToPortIndex(index);
    }
    void GetMaterial(Port::Material* material) const override {
        auto hostMaterial = MakeChild<::ModelerAPI::Material>(polygon_);
        polygon_->GetMaterial(hostMaterial.get());
        *material = Port::Material(std::make_shared<MaterialSource>(std::move(hostMaterial)));
    }
    bool HasMaterialTexture() const override { return polygon_->HasMaterialTexture(); }
    void GetMaterialTextureIndex(Port::AttributeIndex& iText) const override {
        ::ModelerAPI::AttributeIndex index;
        polygon_->GetMaterialTextureIndex(index);
        iText = ToPortIndex(index);
    }
    void GetMaterialTexture(Port::Texture* texture) const override {
        auto hostTexture = MakeChild<::ModelerAPI::Texture>(polygon_);
        polygon_->GetMaterialTexture(hostTexture.get());
        *texture = Port::Texture(std::make_shared<TextureSource>(std::move(hostTexture)));
    }
    Host::Int32 GetConvexPolygonCount() const override { return polygon_->GetConvexPolygonCount(); }
    void GetConvexPolygon(Host::Int32 polygonIndex, Port::ConvexPolygon* polygon) const override {
        auto hostPolygon = MakeChild<::ModelerAPI::ConvexPolygon>(polygon_);
        polygon_->GetConvexPolygon(polygonIndex, hostPolygon.get());
        *polygon =
            Port::ConvexPolygon(std::make_shared<ConvexPolygonSource>(std::move(hostPolygon)));
    }
    void GetTextureCoordinate(Port::Vertex const* positionInWorldCS,
                              Port::TextureCoordinate* textureCoordinate) const override {
        ::ModelerAPI::Vertex position;
        position.x = positionInWorldCS->x;
        position.y = positionInWorldCS->y;
        position.z = positionInWorldCS->z;
        ::ModelerAPI::TextureCoordinate coordinate{};
        polygon_->GetTextureCoordinate(&position, &coordinate);
        textureCoordinate->u = coordinate.u;
        textureCoordinate->v = coordinate.v;
    }

private:
    std::shared_ptr<::ModelerAPI::Polygon const> polygon_;
};

class MeshBodySource final : public Port::MeshBody::Source {
public:
    explicit MeshBodySource(std::shared_ptr<::ModelerAPI::MeshBody const> body)
        : body_(std::move(body)) {}

    Host::Int32 GetVertexCount() const override { return body_->GetVertexCount(); }
    void GetVertex(Host::Int32 vertexIndex, Port::Vertex* vertex,
                   Port::CoordinateSystem system) const override {
        ::ModelerAPI::Vertex hostVertex{};
        body_->GetVertex(vertexIndex, &hostVertex, ToApiSystem(system));
        vertex->x = hostVertex.x;
        vertex->y = hostVertex.y;
        vertex->z = hostVertex.z;
    }
    Host::Int32 GetPolygonCount() const override { return body_->GetPolygonCount(); }
    void GetPolygon(Host::Int32 polygonIndex, Port::Polygon* polygon) const override {
        auto hostPolygon = MakeChild<::ModelerAPI::Polygon>(body_);
        body_->GetPolygon(polygonIndex, hostPolygon.get());
        *polygon = Port::Polygon(std::make_shared<PolygonSource>(std::move(hostPolygon)));
    }

private:
    std::shared_ptr<::ModelerAPI::MeshBody const> body_;
};

class ElementSource final : public Port::Element::Source {
public:
    explicit ElementSource(std::shared_ptr<::ModelerAPI::Element const> element)
        : element_(std::move(element)) {}

    bool IsInvalid() const override { return element_->IsInvalid(); }
    Host::API_Guid GetElemGuid() const override {
        return FromApiGuid(GSGuid2APIGuid(element_->GetElemGuid()));
    }
    Port::Element::Type GetType() const override { return ToPortElementType(element_->GetType()); }
    Host::Int32 GetTessellatedBodyCount() const override {
        return element_->GetTessellatedBodyCount();
    }
    void GetTessellatedBody(Host::Int32 bodyIndex, Port::MeshBody* body) const override {
        auto hostBody = MakeChild<::ModelerAPI::MeshBody>(element_);
        element_->GetTessellatedBody(bodyIndex, hostBody.get());
        *body = Port::MeshBody(std::make_shared<MeshBodySource>(std::move(hostBody)));
    }
    Host::Int32 GetMeshBodyCount() const override { return element_->GetMeshBodyCount(); }
    void GetMeshBody(Host::Int32 bodyIndex, Port::MeshBody* body) const override {
        auto hostBody = MakeChild<::ModelerAPI::MeshBody>(element_);
        element_->GetMeshBody(bodyIndex, hostBody.get());
        *body = Port::MeshBody(std::make_shared<MeshBodySource>(std::move(hostBody)));
    }

private:
    std::shared_ptr<::ModelerAPI::Element const> element_;
};

class ModelSource final : public Port::Model::Source {
public:
    explicit ModelSource(std::shared_ptr<::ModelerAPI::Model const> model)
        : model_(std::move(model)) {}

    Host::Int32 GetElementCount() const override { return model_->GetElementCount(); }
    void GetElement(Host::Int32 elementIndex, Port::Element* element) const override {
        auto hostElement = MakeChild<::ModelerAPI::Element>(model_);
        model_->GetElement(elementIndex, hostElement.get());
        *element = Port::Element(std::make_shared<ElementSource>(std::move(hostElement)));
    }

private:
    std::shared_ptr<::ModelerAPI::Model const> model_;
};

// Every element type both sides name; the port numbers them as 28 does.
#define VELMORA_ELEMENT_TYPES(X)                                                                   \
    X(UndefinedElement)                                                                            \
    X(WallElement)                                                                                 \
    X(SlabElement)                                                                                 \
    X(RoofElement)                                                                                 \
    X(CurtainWallElement)                                                                          \
    X(CWFrameElement)                                                                              \
    X(CWPanelElement)                                                                              \
    X(CWJunctionElement)                                                                           \
    X(CWAccessoryElement)                                                                          \
    X(CWSegmentElement)                                                                            \
    X(ShellElement)                                                                                \
    X(SkylightElement)                                                                             \
    X(FreeshapeElement)                                                                            \
    X(DoorElement)                                                                                 \
    X(WindowElement)                                                                               \
    X(ObjectElement)                                                                               \
    X(LightElement)                                                                                \
    X(ColumnElement)                                                                               \
    X(MeshElement)                                                                                 \
    X(BeamElement)                                                                                 \
    X(RoomElement)                                                                                 \
    X(StairElement)                                                                                \
    X(RiserElement)                                                                                \
    X(TreadElement)                                                                                \
    X(StairStructureElement)                                                                       \
    X(RailingElement)                                                                              \
    X(ToprailElement)                                                                              \
    X(HandrailElement)                                                                             \
    X(RailElement)                                                                                 \
    X(RailingPostElement)                                                                          \
    X(InnerPostElement)                                                                            \
    X(BalusterElement)                                                                             \
    X(RailingPanelElement)                                                                         \
    X(RailingSegmentElement)                                                                       \
    X(RailingNodeElement)                                                                          \
    X(RailPatternElement)                                                                          \
    X(InnerTopRailEndElement)                                                                      \
    X(InnerHandRailEndElement)                                                                     \
    X(RailFinishingObjectElement)                                                                  \
    X(TopRailConnectionElement)                                                                    \
    X(HandRailConnectionElement)                                                                   \
    X(RailConnectionElement)                                                                       \
    X(RailEndElement)                                                                              \
    X(BalusterSetElement)                                                                          \
    X(Opening)                                                                                     \
    X(Openingframeinfill)                                                                          \
    X(Openingpatchinfill)                                                                          \
    X(ColumnSegmentElement)                                                                        \
    X(BeamSegmentElement)                                                                          \
    X(OtherElement)

} // namespace

Host::ModelerAPI::Element::Type ToPortElementType(::ModelerAPI::Element::Type type) {
    switch (type) {
#define VELMORA_ELEMENT_TYPE_CASE(name)                                                            \
    case ::ModelerAPI::Element::name:                                                              \
        return Port::Element::name;
        VELMORA_ELEMENT_TYPES(VELMORA_ELEMENT_TYPE_CASE)
#undef VELMORA_ELEMENT_TYPE_CASE
    default:
        // A type a later host adds: the port has no name for it.
        return Port::Element::OtherElement;
    }
}

Host::ModelerAPI::Model WrapModel(std::shared_ptr<::ModelerAPI::Model const> model) {
    return Port::Model(std::make_shared<ModelSource>(std::move(model)));
}

} // namespace Velmora::Archicad
