// Software rasteriser of the 3D window's pictures: perspective projection, near-plane
// clipping, a z-buffer and flat directional shading, with an element-id buffer beside the
// colours. Vertices snap to 1/256 of a pixel and edges are integer tests with a tie rule, so
// a picture and a shifted tile of it (same view, offsets differing by whole pixels) cover
// exactly the same pixels with the same colours.
#pragma once

#include "Sim/RenderableScene.hpp"
#include "Sim/ViewProjection.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace Velmora::Sim {

struct Rgb {
    double red = 0.0, green = 0.0, blue = 0.0; // 0..1
};

// How one element is painted: its materials (and textures), or one flat colour in their
// place (highlights). Flat surfaces are opaque; texture cut-outs still apply.
struct ElementPaint {
    std::optional<Rgb> flat;
};

struct RenderRequest {
    ViewCamera camera;
    PictureFrame frame;
    std::vector<ElementPaint> paint; // per scene element; missing entries use materials
    Rgb background{0.80, 0.87, 0.94};
};

struct RenderedPicture {
    int width = 0, height = 0;
    std::vector<unsigned char> rgb;       // three bytes a pixel, rows top to bottom
    std::vector<std::int32_t> elementIds; // the scene element in front, -1 for background
};

// Brightness of a surface with the given unit normal, already turned towards the viewer.
double ShadeFactor(Vec3 normal);

RenderedPicture Rasterize(Scene const& scene, RenderableScene const& renderable,
                          RenderRequest const& request);

// Averages each 2 x 2 block (edge anti-aliasing by supersampling); the id of a block is
// that of its top-left sample.
RenderedPicture DownsampleByTwo(RenderedPicture const& picture);

} // namespace Velmora::Sim
