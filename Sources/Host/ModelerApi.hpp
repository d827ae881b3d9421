// The host's 3D model reader, shaped like its own classes: value handles filled through
// out-parameters, 1-based indices, and any read may throw. Each handle forwards to a source
// that the Archicad adapter or the simulated host implements.
#pragma once

#include "Host/HostTypes.hpp"

#include <memory>
#include <string>

namespace Velmora::Host::ModelerAPI {

struct Vertex {
    double x = 0.0, y = 0.0, z = 0.0;
};

struct Vector {
    double x = 0.0, y = 0.0, z = 0.0;
};

struct Color {
    double red = 0.0, green = 0.0, blue = 0.0;
};

struct TextureCoordinate {
    double u = 0.0, v = 0.0;
};

// Four bytes a pixel in the host's A, R, G, B order.
struct ARGBPixel {
    unsigned char alpha = 0, red = 0, green = 0, blue = 0;
};

enum class CoordinateSystem : short { ElemLocal = 0, World = 1 };

class AttributeIndex {
public:
    static constexpr Int32 Unset = -2;

    AttributeIndex() = default;
    explicit AttributeIndex(Int32 inModelIndex) : index_(inModelIndex) {}

    Int32 GetIndex() const { return index_; }
    bool IsValid() const { return index_ >= 1; }

private:
    Int32 index_ = Unset;
};

class Texture {
public:
    class Source {
    public:
        virtual ~Source() = default;
        virtual std::string GetName() const = 0;
        virtual Int32 GetPixelMapXSize() const = 0;
        virtual Int32 GetPixelMapYSize() const = 0;
        // Fills x size * y size pixels, rows as the host stores them.
        virtual void GetPixelMap(ARGBPixel* pixelMap) const = 0;
        virtual bool HasAlphaChannel() const = 0;
    };

    Texture() = default;
    explicit Texture(std::shared_ptr<Source const> source) : source_(std::move(source)) {}

    std::string GetName() const { return Src().GetName(); }
    Int32 GetPixelMapXSize() const { return Src().GetPixelMapXSize(); }
    Int32 GetPixelMapYSize() const { return Src().GetPixelMapYSize(); }
    void GetPixelMap(ARGBPixel* pixelMap) const { Src().GetPixelMap(pixelMap); }
    bool HasAlphaChannel() const { return Src().HasAlphaChannel(); }

private:
    Source const& Src() const;
    std::shared_ptr<Source const> source_;
};

class Material {
public:
    class Source {
    public:
        virtual ~Source() = default;
        virtual std::string GetName() const = 0;
        virtual Color GetSurfaceColor() const = 0;
        // 0 (opaque) to 1 (clear).
        virtual double GetTransparency() const = 0;
    };

    Material() = default;
    explicit Material(std::shared_ptr<Source const> source) : source_(std::move(source)) {}

    std::string GetName() const { return Src().GetName(); }
    Color GetSurfaceColor() const { return Src().GetSurfaceColor(); }
    double GetTransparency() const { return Src().GetTransparency(); }

private:
    Source const& Src() const;
    std::shared_ptr<Source const> source_;
};

class ConvexPolygon {
public:
    class Source {
    public:
        virtual ~Source() = default;
        virtual Int32 GetVertexCount() const = 0;
        // A 1-based vertex index of the owning body.
        virtual Int32 GetVertexIndex(Int32 vertexIndex) const = 0;
        virtual Vector GetNormalVectorByVertex(Int32 vertexIndex,
                                               CoordinateSystem coordinateSystem) const = 0;
    };

    ConvexPolygon() = default;
    explicit ConvexPolygon(std::shared_ptr<Source const> source) : source_(std::move(source)) {}

    Int32 GetVertexCount() const { return Src().GetVertexCount(); }
    Int32 GetVertexIndex(Int32 vertexIndex) const { return Src().GetVertexIndex(vertexIndex); }
    Vector GetNormalVectorByVertex(Int32 vertexIndex,
                                   CoordinateSystem system = CoordinateSystem::World) const {
        return Src().GetNormalVectorByVertex(vertexIndex, system);
    }

private:
    Source const& Src() const;
    std::shared_ptr<Source const> source_;
};

class Polygon {
public:
    class Source {
    public:
        virtual ~Source() = default;
        virtual void GetMaterialIndex(AttributeIndex& iMat) const = 0;
        virtual void GetMaterial(Material* material) const = 0;
        virtual bool HasMaterialTexture() const = 0;
        virtual void GetMaterialTextureIndex(AttributeIndex& iText) const = 0;
        virtual void GetMaterialTexture(Texture* texture) const = 0;
        virtual Int32 GetConvexPolygonCount() const = 0;
        virtual void GetConvexPolygon(Int32 polygonIndex, ConvexPolygon* polygon) const = 0;
        // The position must be in world coordinates.
        virtual void GetTextureCoordinate(Vertex const* positionInWorldCS,
                                          TextureCoordinate* textureCoordinate) const = 0;
    };

    Polygon() = default;
    explicit Polygon(std::shared_ptr<Source const> source) : source_(std::move(source)) {}

    void GetMaterialIndex(AttributeIndex& iMat) const { Src().GetMaterialIndex(iMat); }
    void GetMaterial(Material* material) const { Src().GetMaterial(material); }
    bool HasMaterialTexture() const { return Src().HasMaterialTexture(); }
    void GetMaterialTextureIndex(AttributeIndex& iText) const {
        Src().GetMaterialTextureIndex(iText);
    }
    void GetMaterialTexture(Texture* texture) const { Src().GetMaterialTexture(texture); }
    Int32 GetConvexPolygonCount() const { return Src().GetConvexPolygonCount(); }
    void GetConvexPolygon(Int32 polygonIndex, ConvexPolygon* polygon) const {
        Src().GetConvexPolygon(polygonIndex, polygon);
    }
    void GetTextureCoordinate(Vertex const* positionInWorldCS,
                              TextureCoordinate* textureCoordinate) const {
        Src().GetTextureCoordinate(positionInWorldCS, textureCoordinate);
    }

private:
    Source const& Src() const;
    std::shared_ptr<Source const> source_;
};

class MeshBody {
public:
    class Source {
    public:
        virtual ~Source() = default;
        virtual Int32 GetVertexCount() const = 0;
        virtual void GetVertex(Int32 vertexIndex, Vertex* vertex,
                               CoordinateSystem coordinateSystem) const = 0;
        virtual Int32 GetPolygonCount() const = 0;
        virtual void GetPolygon(Int32 polygonIndex, Polygon* polygon) const = 0;
    };

    MeshBody() = default;
    explicit MeshBody(std::shared_ptr<Source const> source) : source_(std::move(source)) {}

    Int32 GetVertexCount() const { return Src().GetVertexCount(); }
    void GetVertex(Int32 vertexIndex, Vertex* vertex,
                   CoordinateSystem system = CoordinateSystem::World) const {
        Src().GetVertex(vertexIndex, vertex, system);
    }
    Int32 GetPolygonCount() const { return Src().GetPolygonCount(); }
    void GetPolygon(Int32 polygonIndex, Polygon* polygon) const {
        Src().GetPolygon(polygonIndex, polygon);
    }

private:
    Source const& Src() const;
    std::shared_ptr<Source const> source_;
};

class Element {
public:
    // The model reader's element types as numbered by the host's current version; the
    // adapter maps the host's enumerators by name, never by stored number.
    enum Type : Int32 {
        UndefinedElement = 0,
        WallElement = 1,
        SlabElement = 2,
        RoofElement = 3,
        CurtainWallElement = 4,
        CWFrameElement = 5,
        CWPanelElement = 6,
        CWJunctionElement = 7,
        CWAccessoryElement = 8,
        CWSegmentElement = 9,
        ShellElement = 10,
        SkylightElement = 11,
        FreeshapeElement = 12,
        DoorElement = 13,
        WindowElement = 14,
        ObjectElement = 15,
        LightElement = 16,
        ColumnElement = 17,
        MeshElement = 18,
        BeamElement = 19,
        RoomElement = 20,
        StairElement = 21,
        RiserElement = 22,
        TreadElement = 23,
        StairStructureElement = 24,
        RailingElement = 25,
        ToprailElement = 26,
        HandrailElement = 27,
        RailElement = 28,
        RailingPostElement = 29,
        InnerPostElement = 30,
        BalusterElement = 31,
        RailingPanelElement = 32,
        RailingSegmentElement = 33,
        RailingNodeElement = 34,
        RailPatternElement = 35,
        InnerTopRailEndElement = 36,
        InnerHandRailEndElement = 37,
        RailFinishingObjectElement = 38,
        TopRailConnectionElement = 39,
        HandRailConnectionElement = 40,
        RailConnectionElement = 41,
        RailEndElement = 42,
        BalusterSetElement = 43,
        Opening = 44,
        Openingframeinfill = 45,
        Openingpatchinfill = 46,
        ColumnSegmentElement = 47,
        BeamSegmentElement = 48,
        OtherElement = 49,
    };

    class Source {
    public:
        virtual ~Source() = default;
        virtual bool IsInvalid() const = 0;
        virtual API_Guid GetElemGuid() const = 0;
        virtual Type GetType() const = 0;
        virtual Int32 GetTessellatedBodyCount() const = 0;
        virtual void GetTessellatedBody(Int32 bodyIndex, MeshBody* body) const = 0;
        virtual Int32 GetMeshBodyCount() const = 0;
        virtual void GetMeshBody(Int32 bodyIndex, MeshBody* body) const = 0;
    };

    Element() = default;
    explicit Element(std::shared_ptr<Source const> source) : source_(std::move(source)) {}

    bool IsInvalid() const { return Src().IsInvalid(); }
    API_Guid GetElemGuid() const { return Src().GetElemGuid(); }
    Type GetType() const { return Src().GetType(); }
    Int32 GetTessellatedBodyCount() const { return Src().GetTessellatedBodyCount(); }
    void GetTessellatedBody(Int32 bodyIndex, MeshBody* body) const {
        Src().GetTessellatedBody(bodyIndex, body);
    }
    Int32 GetMeshBodyCount() const { return Src().GetMeshBodyCount(); }
    void GetMeshBody(Int32 bodyIndex, MeshBody* body) const { Src().GetMeshBody(bodyIndex, body); }

private:
    Source const& Src() const;
    std::shared_ptr<Source const> source_;
};

class Model {
public:
    class Source {
    public:
        virtual ~Source() = default;
        virtual Int32 GetElementCount() const = 0;
        virtual void GetElement(Int32 elementIndex, Element* element) const = 0;
    };

    Model() = default;
    explicit Model(std::shared_ptr<Source const> source) : source_(std::move(source)) {}

    Int32 GetElementCount() const { return Src().GetElementCount(); }
    void GetElement(Int32 elementIndex, Element* element) const {
        Src().GetElement(elementIndex, element);
    }

private:
    Source const& Src() const;
    std::shared_ptr<Source const> source_;
};

} // namespace Velmora::Host::ModelerAPI
