// The glTF writer's JSON chunk: written by concatenation, no whitespace, members in fixed order.
#include "Export/GlbLayout.hpp"
#include "JsonEscape.hpp"

#include <cstdio>

namespace Velmora::ve_detail {
namespace {

constexpr double kOpaqueAlpha = 0.999;

std::string Number(const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

std::string Factor(double value) {
    return Number("%.6g", value);
}

std::string Bound(float value) {
    return Number("%.9g", static_cast<double>(value));
}

std::string Quoted(const std::string& text) {
    return "\"" + JsonEscape(text) + "\"";
}

// Calls write(out, i) for each of `count` array elements, with commas between them.
template <typename WriteElement>
void AppendArray(std::string& out, std::size_t count, WriteElement write) {
    out += '[';
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) {
            out += ',';
        }
        write(out, i);
    }
    out += ']';
}

double ClampedAlpha(double alpha) {
    return alpha < 0.0 ? 0.0 : alpha > 1.0 ? 1.0 : alpha;
}

void AppendMeshPrimitive(std::string& out, const GlbWrittenPrimitive& primitive,
                         std::size_t ordinal) {
    std::uint32_t accessor = primitive.firstAccessor;
    out += "{\"attributes\":{\"POSITION\":" + std::to_string(accessor++);
    out += ",\"NORMAL\":" + std::to_string(accessor++);
    if (primitive.textured) {
        out += ",\"TEXCOORD_0\":" + std::to_string(accessor++);
    }
    out += "},\"indices\":" + std::to_string(accessor);
    out += ",\"material\":" + std::to_string(ordinal) + "}";
}

void AppendMaterial(std::string& out, const GlbWrittenPrimitive& primitive) {
    const GlbMaterial& material = *primitive.material;
    const double alpha = ClampedAlpha(material.baseColor[3]);
    out += '{';
    if (!material.name.empty()) {
        out += "\"name\":" + Quoted(material.name) + ",";
    }
    out += "\"pbrMetallicRoughness\":{\"baseColorFactor\":[" + Factor(material.baseColor[0]) + "," +
           Factor(material.baseColor[1]) + "," + Factor(material.baseColor[2]) + "," +
           Factor(alpha) + "]";
    if (primitive.textured) {
        out += ",\"baseColorTexture\":{\"index\":" + std::to_string(primitive.texture) + "}";
    }
    out += ",\"metallicFactor\":" + Factor(material.metallic);
    out += ",\"roughnessFactor\":" + Factor(material.roughness) + "}";
    if (material.alphaCutout) {
        out += ",\"alphaMode\":\"MASK\",\"alphaCutoff\":0.5";
    } else if (alpha < kOpaqueAlpha) {
        out += ",\"alphaMode\":\"BLEND\"";
    }
    if (material.doubleSided) {
        out += ",\"doubleSided\":true";
    }
    out += '}';
}

void AppendTextures(std::string& out, const GlbLayout& layout) {
    out += ",\"samplers\":[{\"magFilter\":9729,\"minFilter\":9987,\"wrapS\":10497,"
           "\"wrapT\":10497}]";
    out += ",\"textures\":";
    AppendArray(out, layout.images.size(), [](std::string& text, std::size_t j) {
        text += "{\"sampler\":0,\"source\":" + std::to_string(j) + "}";
    });
    out += ",\"images\":";
    AppendArray(out, layout.images.size(), [&](std::string& text, std::size_t j) {
        const GlbEmbeddedImage& embedded = layout.images[j];
        text += "{\"bufferView\":" + std::to_string(embedded.bufferView);
        text += ",\"mimeType\":" + Quoted(embedded.image->mimeType);
        if (!embedded.image->name.empty()) {
            text += ",\"name\":" + Quoted(embedded.image->name);
        }
        text += '}';
    });
}

std::string Accessor(std::uint32_t view, std::uint32_t componentType, std::uint64_t count,
                     const char* type) {
    return "{\"bufferView\":" + std::to_string(view) +
           ",\"componentType\":" + std::to_string(componentType) +
           ",\"count\":" + std::to_string(count) + ",\"type\":\"" + type + "\"";
}

std::string Vec3(const float values[3]) {
    return "[" + Bound(values[0]) + "," + Bound(values[1]) + "," + Bound(values[2]) + "]";
}

// POSITION, NORMAL, [TEXCOORD_0], indices; accessor i uses buffer view i.
void AppendAccessors(std::string& out, const GlbWrittenPrimitive& primitive) {
    std::uint32_t view = primitive.firstAccessor;
    const std::uint32_t vertices = primitive.vertexCount;
    out += Accessor(view++, 5126, vertices, "VEC3") + ",\"min\":" + Vec3(primitive.positionMin) +
           ",\"max\":" + Vec3(primitive.positionMax) + "},";
    out += Accessor(view++, 5126, vertices, "VEC3") + "},";
    if (primitive.textured) {
        out += Accessor(view++, 5126, vertices, "VEC2") + "},";
    }
    out += Accessor(view, 5125, primitive.indexCount, "SCALAR") + "}";
}

void AppendBufferView(std::string& out, const GlbBufferView& view) {
    out += "{\"buffer\":0,\"byteOffset\":" + std::to_string(view.byteOffset) +
           ",\"byteLength\":" + std::to_string(view.byteLength);
    if (view.target != 0) {
        out += ",\"target\":" + std::to_string(view.target);
    }
    out += '}';
}

} // namespace

void AppendU32(std::vector<unsigned char>& out, std::uint32_t value) {
    const unsigned char bytes[4] = {
        static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
        static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
    out.insert(out.end(), bytes, bytes + 4);
}

std::string JsonEscape(const std::string& text) {
    return Velmora::JsonEscape(text, JsonHexDigits::Upper);
}

std::string WriteGlbJson(const std::string& generator, const GlbLayout& layout) {
    const auto& primitives = layout.primitives;
    std::string out = "{\"asset\":{\"version\":\"2.0\",\"generator\":" + Quoted(generator) + "}";
    out += ",\"scene\":0,\"scenes\":[{\"nodes\":[0]}],\"nodes\":[{\"mesh\":0}]";
    out += ",\"meshes\":[{\"primitives\":";
    AppendArray(out, primitives.size(), [&](std::string& text, std::size_t k) {
        AppendMeshPrimitive(text, primitives[k], k);
    });
    out += "}],\"materials\":";
    AppendArray(out, primitives.size(),
                [&](std::string& text, std::size_t k) { AppendMaterial(text, primitives[k]); });
    if (!layout.images.empty()) {
        AppendTextures(out, layout);
    }
    out += ",\"accessors\":";
    AppendArray(out, primitives.size(),
                [&](std::string& text, std::size_t k) { AppendAccessors(text, primitives[k]); });
    out += ",\"bufferViews\":";
    AppendArray(out, layout.bufferViews.size(), [&](std::string& text, std::size_t i) {
        AppendBufferView(text, layout.bufferViews[i]);
    });
    out += ",\"buffers\":[{\"byteLength\":" + std::to_string(layout.binLength) + "}]}";
    return out;
}

} // namespace Velmora::ve_detail
