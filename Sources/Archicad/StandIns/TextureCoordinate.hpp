// Stand-in written from archicad-api.md: ModelerAPI::TextureCoordinate (section 4.3).
#pragma once

namespace ModelerAPI {

struct TextureCoordinate {
    double u, v;
    void ApplyRotationAndScale(double rotAngle, double xScale, double yScale);
    void ApplyMaterialParameters(double rotAngle, double xSize, double ySize);
};

} // namespace ModelerAPI
