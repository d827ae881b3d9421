// Stand-in written from archicad-api.md: ModelerAPI::Color, 0..1 components (section 4.3).
#pragma once

namespace ModelerAPI {

struct Color {
    double red, green, blue;
};

} // namespace ModelerAPI
