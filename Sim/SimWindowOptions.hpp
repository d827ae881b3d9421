// How the simulated 3D window starts: its size, the picture scale, the render settings'
// safe frame, the 3D engine, edge anti-aliasing and which window is in front.
#pragma once

#include <optional>

namespace Velmora::Sim {

struct SimWindowOptions {
    short width = 960, height = 540;
    int displayScale = 1; // 2: pictures are saved at twice the window size (a Retina screen)
    // The render settings' output size; with a value the safe frame is on at that aspect.
    std::optional<short> safeFrameWidth, safeFrameHeight;
    int engineId = 1; // the 3D style's engine: 0 vectorial, 1 OpenGL
    bool antialias = false;
    // Whether the 3D window is in front at start; unset: as the scene file says.
    std::optional<bool> start3D;
};

} // namespace Velmora::Sim
