// Stand-in written from archicad-api.md: ModelerAPI::Vertex (section 4.3).
#pragma once

namespace ModelerAPI {

struct Vertex {
    double x, y, z;
};

} // namespace ModelerAPI
