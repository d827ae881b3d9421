// Stand-in written from archicad-api.md: ModelerAPI::Polygon (section 4.3).
#pragma once

#include "AttributeIndex.hpp"
#include "ConvexPolygon.hpp"
#include "Definitions.hpp"
#include "ModelMaterial.hpp"
#include "Texture.hpp"
#include "TextureCoordinate.hpp"
#include "Vertex.hpp"

namespace ModelerAPI {

class Polygon {
public:
    Polygon();
    ~Polygon();

    void GetMaterial(Material* material) const;
    void GetMaterialIndex(AttributeIndex& iMat) const;
    bool HasMaterialTexture() const;
    void GetMaterialTexture(Texture* texture) const;
    void GetMaterialTextureIndex(AttributeIndex& iText) const;
    Int32 GetConvexPolygonCount() const;
    void GetConvexPolygon(Int32 polygonIndex, ConvexPolygon* polygon) const;
    void GetTextureCoordinate(const Vertex* positionInWorldCS,
                              TextureCoordinate* textureCoordinate) const;
};

} // namespace ModelerAPI
