// The pixels of a procedural scene texture, made on demand (a 4096-pixel texture is not kept).
#pragma once

#include "Host/ModelerApi.hpp"
#include "Sim/Scene.hpp"

namespace Velmora::Sim {

// Fills width * height pixels, top row first. Textures without an alpha channel are opaque.
void FillTexturePixels(SceneTexture const& texture, Host::ModelerAPI::ARGBPixel* pixels);

} // namespace Velmora::Sim
