// Stand-in written from archicad-api.md: ModelerAPI::Material (section 4.3).
#pragma once

#include "ModelColor.hpp"
#include "UniString.hpp"

namespace ModelerAPI {

class Material {
public:
    Material();
    ~Material();

    GS::UniString GetName() const;
    Color GetSurfaceColor() const;
    double GetTransparency() const;
};

} // namespace ModelerAPI
