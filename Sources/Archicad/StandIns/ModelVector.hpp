// Stand-in written from archicad-api.md: ModelerAPI::Vector (section 4.3). Its x, y, z members are
// not listed there; they are assumed to match Vertex.
#pragma once

namespace ModelerAPI {

struct Vector {
    double x, y, z;
};

} // namespace ModelerAPI
