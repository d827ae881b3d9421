// Stand-in written from archicad-api.md: ModelerAPI::MeshBody (section 4.3).
#pragma once

#include "CoordinateSystem.hpp"
#include "Definitions.hpp"
#include "Polygon.hpp"
#include "Vertex.hpp"

namespace ModelerAPI {

class MeshBody {
public:
    MeshBody();
    ~MeshBody();

    Int32 GetVertexCount() const;
    void GetVertex(Int32 vertexIndex, Vertex* vertex,
                   const CoordinateSystem coordinateSystem = CoordinateSystem::World) const;
    Int32 GetPolygonCount() const;
    void GetPolygon(Int32 polygonIndex, Polygon* polygon) const;
};

} // namespace ModelerAPI
