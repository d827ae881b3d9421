// A polygon's look as a glTF material: colour from the host's material attribute (or the
// modeller's), transparency, and the texture with its cut-out decision, each resolved once.
#include "Export/ElementTriangles.hpp"
#include "Export/TextureImage.hpp"
#include "Extract/PngEncoder.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace Velmora {

namespace {

namespace MAPI = Host::ModelerAPI;

constexpr std::int64_t kMaxTexturePixels = 67108864; // 8192 x 8192
constexpr double kColourTolerance = 0.01;

struct SurfaceColour {
    double r = 1.0, g = 1.0, b = 1.0;
    double transparency = 0.0;
};

bool Differs(const SurfaceColour& a, const SurfaceColour& b) {
    return std::fabs(a.r - b.r) > kColourTolerance || std::fabs(a.g - b.g) > kColourTolerance ||
           std::fabs(a.b - b.b) > kColourTolerance ||
           std::fabs(a.transparency - b.transparency) > kColourTolerance;
}

// The project's material attribute of this name, when the host has one.
bool ReadAttributeColour(const std::string& name, SurfaceColour& colour) {
    Host::API_Attr_Head head;
    head.typeID = Host::API_MaterialID;
    head.name = name;
    if (Host::Get().Attribute().Search(&head) != Host::Error::NoError)
        return false;
    Host::API_Attribute attribute;
    attribute.header.typeID = Host::API_MaterialID;
    attribute.header.index = head.index;
    if (Host::Get().Attribute().Get(&attribute) != Host::Error::NoError)
        return false;
    colour.r = attribute.material.surfaceRGB.f_red;
    colour.g = attribute.material.surfaceRGB.f_green;
    colour.b = attribute.material.surfaceRGB.f_blue;
    colour.transparency = attribute.material.transpPc / 100.0;
    return true;
}

void LogColourDifference(const std::string& name, const SurfaceColour& attribute,
                         const SurfaceColour& modeller) {
    char line[512];
    std::snprintf(line, sizeof line,
                  "ModelExport:   material '%s' from its attribute (%.2f %.2f %.2f, transparency "
                  "%.2f); ModelerAPI gave (%.2f %.2f %.2f, %.2f)",
                  name.c_str(), attribute.r, attribute.g, attribute.b, attribute.transparency,
                  modeller.r, modeller.g, modeller.b, modeller.transparency);
    Logger::Get().Log(LogLevel::Info, line);
}

// The attribute's colour wins over the modeller's, which can be a shaded variant of it.
SurfaceColour ChooseColour(const std::string& name, const SurfaceColour& modeller,
                           AppearanceCache& cache) {
    SurfaceColour attribute;
    if (!ReadAttributeColour(name, attribute))
        return modeller;
    ++cache.attributeColours;
    if (Differs(attribute, modeller)) {
        if (cache.differingColours < AppearanceCache::kMaxLoggedColourDifferences)
            LogColourDifference(name, attribute, modeller);
        ++cache.differingColours;
    }
    return attribute;
}

void ApplyColour(const MAPI::Material& material, GlbMaterial& out, AppearanceCache& cache) {
    out.name = material.GetName();
    MAPI::Color const surface = material.GetSurfaceColor();
    SurfaceColour const colour = ChooseColour(
        out.name, {surface.red, surface.green, surface.blue, material.GetTransparency()}, cache);
    out.baseColor[0] = std::clamp(colour.r, 0.0, 1.0);
    out.baseColor[1] = std::clamp(colour.g, 0.0, 1.0);
    out.baseColor[2] = std::clamp(colour.b, 0.0, 1.0);
    if (std::isfinite(colour.transparency))
        out.baseColor[3] = std::clamp(1.0 - colour.transparency, 0.0, 1.0);
}

void LogAlpha(const std::string& name, int w, int h, const AlphaStats& stats,
              AlphaVerdict verdict) {
    char line[512];
    std::snprintf(line, sizeof line,
                  "ModelExport:   texture '%s' %dx%d alpha: %.1f%% cut, %.1f%% mid-tone -> %s",
                  name.c_str(), w, h, stats.cutFraction * 100.0, stats.midFraction * 100.0,
                  VerdictText(verdict));
    Logger::Get().Log(LogLevel::Info, line);
}

// Reads, judges, converts, shrinks and encodes one texture; -1 when it cannot be had.
TextureEntry LoadTexture(const MAPI::Polygon& polygon, GlbBuilder& builder,
                         AppearanceCache& cache) {
    MAPI::Texture texture;
    polygon.GetMaterialTexture(&texture);
    int const w = texture.GetPixelMapXSize();
    int const h = texture.GetPixelMapYSize();
    if (w < 1 || h < 1 || std::int64_t(w) * h > kMaxTexturePixels)
        return {};
    std::vector<MAPI::ARGBPixel> pixels(std::size_t(w) * h);
    texture.GetPixelMap(pixels.data());
    std::string const name = texture.GetName();
    AlphaVerdict verdict = AlphaVerdict::Opaque;
    if (texture.HasAlphaChannel()) {
        AlphaStats const stats = CountAlpha(pixels);
        verdict = JudgeAlpha(stats);
        LogAlpha(name, w, h, stats, verdict);
    }
    bool const cutout = verdict == AlphaVerdict::Cutout;
    RgbaImage image{ToRgba(pixels, cutout), w, h};
    pixels = {};
    image = DownscaleToLimit(std::move(image));
    std::vector<unsigned char> png;
    if (!EncodeImageToPng(image.pixels, image.width, image.height, 4, png) || png.empty())
        return {};
    cache.textureBytes += png.size();
    int const imageIndex = builder.AddTexture(std::move(png), "image/png", name);
    return {imageIndex, imageIndex >= 0 && cutout};
}

// The texture map's entry for this texture, loading it on first sight. The entry is claimed
// before loading so that a texture whose reading throws is not tried again.
TextureEntry ResolveTexture(Host::Int32 textureIndex, const MAPI::Polygon& polygon,
                            GlbBuilder& builder, AppearanceCache& cache) {
    auto const found = cache.textures.find(textureIndex);
    if (found != cache.textures.end())
        return found->second;
    TextureEntry& entry = cache.textures[textureIndex];
    if (cache.textureBytes >= AppearanceCache::kTextureBudgetBytes) {
        ++cache.skippedTextures;
        return entry;
    }
    entry = LoadTexture(polygon, builder, cache);
    return entry;
}

Host::Int32 IndexOrMinusOne(const MAPI::AttributeIndex& index) {
    return index.IsValid() ? index.GetIndex() : -1;
}

} // namespace

std::uint32_t ResolveAppearance(const MAPI::Polygon& polygon, GlbBuilder& builder,
                                AppearanceCache& cache) {
    MAPI::AttributeIndex materialIndex;
    polygon.GetMaterialIndex(materialIndex);
    Host::Int32 textureIndex = -1;
    if (polygon.HasMaterialTexture()) {
        MAPI::AttributeIndex index;
        polygon.GetMaterialTextureIndex(index);
        textureIndex = IndexOrMinusOne(index);
    }
    auto const key = std::make_pair(IndexOrMinusOne(materialIndex), textureIndex);
    if (auto const found = cache.materials.find(key); found != cache.materials.end())
        return found->second;

    GlbMaterial material;
    material.roughness = 0.9;
    material.doubleSided = true;
    MAPI::Material modeller;
    polygon.GetMaterial(&modeller);
    ApplyColour(modeller, material, cache);
    if (textureIndex >= 0) {
        TextureEntry const texture = ResolveTexture(textureIndex, polygon, builder, cache);
        if (texture.imageIndex >= 0) {
            material.baseColorTexture = texture.imageIndex;
            material.alphaCutout = texture.cutout;
        }
    }
    std::uint32_t const index = builder.AddMaterial(material);
    if (cache.cutoutFlags.size() <= index)
        cache.cutoutFlags.resize(index + 1, false);
    cache.cutoutFlags[index] = material.alphaCutout;
    cache.materials.emplace(key, index);
    return index;
}

} // namespace Velmora
