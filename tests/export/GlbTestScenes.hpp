// Small helpers shared by the .glb writer's tests: corners, triangles and one Build call.
#pragma once

#include "Export/GlbBuilder.hpp"

#include <array>
#include <string>
#include <vector>

namespace Velmora::Testing {

struct Corner {
    double position[3];
    double normal[3];
    double uv[2];
};
using Triangle = std::array<Corner, 3>;

inline bool AddTriangle(GlbBuilder& builder, int material, const Triangle& t) {
    return builder.AddTriangle(material, t[0].position, t[0].normal, t[0].uv, t[1].position,
                               t[1].normal, t[1].uv, t[2].position, t[2].normal, t[2].uv);
}

// A right triangle of side `size` in the host's XY plane with its corner at (x, y, z), facing up.
inline Triangle FlatTriangle(double x, double y, double z, double size = 1.0) {
    return {{{{x, y, z}, {0, 0, 1}, {0, 0}},
             {{x + size, y, z}, {0, 0, 1}, {1, 0}},
             {{x, y + size, z}, {0, 0, 1}, {0, 1}}}};
}

struct Built {
    bool ok = false;
    std::vector<unsigned char> glb;
    GlbBuildStats stats;
    std::string error;
};

inline Built BuildGlb(const GlbBuilder& builder, const std::string& generator = "test") {
    Built built;
    built.ok = builder.Build(generator, built.glb, built.stats, built.error);
    return built;
}

} // namespace Velmora::Testing
