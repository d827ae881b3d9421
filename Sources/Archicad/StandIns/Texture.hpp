// Stand-in written from archicad-api.md: ModelerAPI::Texture and its A, R, G, B pixel (4.3).
#pragma once

#include "Definitions.hpp"
#include "UniString.hpp"

namespace ModelerAPI {

class ARGBPixel {
public:
    unsigned char alpha, red, green, blue;
};

class Texture {
public:
    Texture();
    ~Texture();

    GS::UniString GetName() const;
    bool HasAlphaChannel() const;
    Int32 GetPixelMapXSize() const;
    Int32 GetPixelMapYSize() const;
    Int32 GetPixelMapSize() const;
    void GetPixelMap(ARGBPixel* pixelMap) const;
};

} // namespace ModelerAPI
