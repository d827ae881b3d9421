// A tiny model, written by a test, behind the model reader's Source interfaces: elements of
// bodies of convex polygons, with materials, textures and reads that throw on request.
#pragma once

#include "Host/ModelerApi.hpp"

#include <memory>
#include <string>
#include <vector>

namespace Velmora::Testing {

namespace MAPI = Host::ModelerAPI;

struct ScriptTexture {
    int width = 1, height = 1;
    std::vector<MAPI::ARGBPixel> pixels; // width * height
    bool alpha = false;
};

struct ScriptPolygon {
    int materialIndex = 1;
    std::string materialName = "Plain";
    MAPI::Color color{0.5, 0.5, 0.5};
    int textureIndex = -1; // attribute index; -1 untextured
    std::shared_ptr<ScriptTexture> texture;
    std::vector<std::vector<int>> convex = {{1, 2, 3, 4}}; // 1-based body vertex indices
    bool throwOnConvex = false;                            // on the last convex polygon
    bool throwOnUv = false;
};

struct ScriptBody {
    std::vector<MAPI::Vertex> vertices;
    std::vector<ScriptPolygon> polygons{1};
    bool throwOnFetch = false;
};

struct ScriptElement {
    MAPI::Element::Type type = MAPI::Element::WallElement;
    std::vector<ScriptBody> bodies;
    bool meshBodies = false; // bodies come from GetMeshBody instead of GetTessellatedBody
};

MAPI::Element MakeElement(ScriptElement element);
MAPI::Model MakeModel(std::vector<ScriptElement> elements);

// One quad over [x0, x1] x [y0, y1] at height z.
ScriptBody FlatQuad(double x0, double y0, double x1, double y1, double z = 0.0);
// A vertical quad from (x0, y0) to (x1, y1), 3 m high.
ScriptBody Upright(double x0, double y0, double x1, double y1);
ScriptElement ElementOf(MAPI::Element::Type type, ScriptBody body);

} // namespace Velmora::Testing
