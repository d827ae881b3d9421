// A simulated project as plain data: what the scene file says, checked and resolved (names
// turned into indices), before any geometry is made. SceneFormat.md describes the file.
#pragma once

#include "Host/HostTypes.hpp"
#include "Host/ModelerApi.hpp"

#include <string>
#include <vector>

namespace Velmora::Sim {

struct Vec3 {
    double x = 0.0, y = 0.0, z = 0.0;
};

enum class TexturePattern { Solid, Checker, Bricks, Noise, Leaf, Bump };

// A procedural ARGB pixel map; the pixels are made when the model reader asks for them.
struct SceneTexture {
    std::string name;
    int width = 1, height = 1;
    TexturePattern pattern = TexturePattern::Solid;
    Host::ModelerAPI::Color colors[2];
    int cell = 16; // pattern period in pixels
    bool alpha = false;
};

// The model reader's material and, when the project has one of that name, the material
// attribute (whose colour the host keeps separately and which may differ slightly).
struct SceneMaterial {
    std::string name;
    Host::ModelerAPI::Color color;
    double transparency = 0.0; // 0 opaque .. 1 clear
    int texture = -1;          // index into Scene::textures
    bool hasAttribute = true;
    Host::ModelerAPI::Color attributeColor;
    int attributeTranspPc = 0; // 0..100
};

enum class UvMode { Box, Fit };

struct UvSpec {
    UvMode mode = UvMode::Box;
    double sizeU = 1.0, sizeV = 1.0; // metres per texture repeat (box mode)
};

enum class ShapeKind { Box, Prism, Heightfield, Billboard, Polygon };

// z = base + slopeX * x + slopeY * y + sum of amplitude * sin(2 pi x / periodX) * cos(2 pi y /
// periodY), with x and y relative to the grid's origin.
struct HeightWave {
    double amplitude = 0.0, periodX = 1.0, periodY = 1.0;
};

struct SceneShape {
    ShapeKind kind = ShapeKind::Box;
    int material = -1; // index into Scene::materials
    UvSpec uv;
    // Box: corners before the rotation about Z around the centre.
    Vec3 min, max;
    double rotationDeg = 0.0;
    // Prism: the convex footprint (z unused) between bottom and top. Polygon: the corners.
    std::vector<Vec3> points;
    double bottom = 0.0, top = 0.0;
    // Heightfield.
    double originX = 0.0, originY = 0.0, sizeX = 1.0, sizeY = 1.0;
    int cellsX = 1, cellsY = 1;
    double base = 0.0, slopeX = 0.0, slopeY = 0.0;
    std::vector<HeightWave> waves;
    // Billboard: a vertical quad standing on position, turned by rotationDeg.
    Vec3 position;
    double width = 1.0, height = 1.0;
    bool crossed = false;
};

struct SceneElement {
    std::string id; // the scene's own name for it, for owners and messages
    Host::API_Guid guid;
    Host::API_ElemTypeID type = Host::API_ObjectID;
    Host::ModelerAPI::Element::Type modelType = Host::ModelerAPI::Element::ObjectElement;
    bool layerVisible = true;
    bool in3D = true;
    int owner = -1; // index into Scene::elements: generated together with that element
    std::vector<std::vector<SceneShape>> bodies;
};

struct Scene {
    std::string name; // where it came from, for messages
    bool untitled = false;
    std::string projectFile; // full path of the project file
    Host::API_WindowTypeID windowType = Host::APIWind_3DModelID;
    std::string windowName;
    std::vector<SceneTexture> textures;
    std::vector<SceneMaterial> materials;
    std::vector<SceneElement> elements;
};

} // namespace Velmora::Sim
