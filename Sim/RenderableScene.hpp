// The scene as the window's rasteriser draws it: world-space triangles of every element the
// 3D window shows, with their material, texture coordinates and decoded textures.
#pragma once

#include "Host/ModelerApi.hpp"
#include "Sim/Scene.hpp"

#include <array>
#include <vector>

namespace Velmora::Sim {

struct RenderTriangle {
    std::array<Vec3, 3> corners;
    std::array<double, 3> u{}, v{}; // texture repeats
    Vec3 normal;                    // unit, from the corners
    int element = -1;               // into Scene::elements
    int material = -1;              // into Scene::materials
    int texture = -1;               // into Scene::textures, -1 for none
};

struct TextureImage {
    int width = 0, height = 0;
    std::vector<Host::ModelerAPI::ARGBPixel> pixels; // top row first
};

struct RenderableScene {
    std::vector<RenderTriangle> triangles;
    std::vector<TextureImage> textures; // one per scene texture
};

// Elements shown in 3D on a visible layer (doors, windows and skylights on their owner's).
bool IsShownIn3D(Scene const& scene, SceneElement const& element);

RenderableScene MakeRenderableScene(Scene const& scene);

} // namespace Velmora::Sim
