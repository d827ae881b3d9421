// What the glTF writer's JSON describes: the written primitives, embedded images and views.
#pragma once

#include "Export/GlbBuilder.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace Velmora::ve_detail {

// A primitive that received triangles, as it is written.
struct GlbWrittenPrimitive {
    const GlbMaterial* material = nullptr;
    std::uint32_t vertexCount = 0;
    std::uint64_t indexCount = 0;
    bool textured = false;     // has TEXCOORD_0 and a baseColorTexture
    std::uint32_t texture = 0; // renumbered embedded image, when textured
    std::uint32_t firstAccessor = 0;
    float positionMin[3] = {};
    float positionMax[3] = {};
};

struct GlbBufferView {
    std::uint64_t byteOffset = 0;
    std::uint64_t byteLength = 0;
    std::uint32_t target = 0; // 0 = none (images)
};

struct GlbEmbeddedImage {
    const GlbBuilder::Image* image = nullptr;
    std::uint32_t bufferView = 0;
};

struct GlbLayout {
    std::vector<GlbWrittenPrimitive> primitives;
    std::vector<GlbEmbeddedImage> images;
    std::vector<GlbBufferView> bufferViews; // one per accessor, then one per image
    std::uint64_t binLength = 0;
};

constexpr std::uint32_t kArrayBufferTarget = 34962;
constexpr std::uint32_t kElementArrayBufferTarget = 34963;

// Appends `value` as four bytes, little-endian.
void AppendU32(std::vector<unsigned char>& out, std::uint32_t value);
// Escapes quotes, backslashes and control bytes; every other byte, UTF-8 included, stays.
std::string JsonEscape(const std::string& text);
// The whole JSON chunk text, without whitespace, members in a fixed order.
std::string WriteGlbJson(const std::string& generator, const GlbLayout& layout);

} // namespace Velmora::ve_detail
