// Stand-in written from archicad-api.md: ModelerAPI::ConvexPolygon (section 4.3).
#pragma once

#include "CoordinateSystem.hpp"
#include "Definitions.hpp"
#include "ModelVector.hpp"

namespace ModelerAPI {

class ConvexPolygon {
public:
    ConvexPolygon();
    ~ConvexPolygon();

    Int32 GetVertexCount() const;
    Int32 GetVertexIndex(Int32 vertexIndex) const;
    Vector GetNormalVectorByVertex(
        Int32 vertexIndex, const CoordinateSystem coordinateSystem = CoordinateSystem::World) const;
};

} // namespace ModelerAPI
