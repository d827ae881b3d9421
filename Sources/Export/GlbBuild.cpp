// Serialising the collected geometry: re-centring, the BIN buffer, images and the .glb container.
#include "Export/GlbBuilder.hpp"
#include "Export/GlbLayout.hpp"

#include <cfloat>
#include <cstring>

namespace Velmora {
namespace {

using ve_detail::AppendU32;
using ve_detail::GlbBufferView;
using ve_detail::GlbLayout;
using ve_detail::GlbWrittenPrimitive;

constexpr char kNoTriangles[] = "no triangles to export";
constexpr char kTooLarge[] = "exported model exceeds the 4 GB glb size limit";
constexpr std::uint32_t kGlbMagic = 0x46546C67;      // "glTF"
constexpr std::uint32_t kJsonChunkType = 0x4E4F534A; // "JSON"
constexpr std::uint32_t kBinChunkType = 0x004E4942;  // "BIN\0"
constexpr float kFloatMax = 3.40282347e38f;

void AppendF32(std::vector<unsigned char>& out, float value) {
    std::uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    AppendU32(out, bits);
}

// Fills extent and originalOffset from the host-coordinate box of every vertex.
void MeasureBounds(const std::vector<GlbBuilder::Primitive>& primitives, GlbBuildStats& stats) {
    double min[3] = {DBL_MAX, DBL_MAX, DBL_MAX};
    double max[3] = {-DBL_MAX, -DBL_MAX, -DBL_MAX};
    for (const auto& primitive : primitives) {
        for (const auto& vertex : primitive.vertices) {
            for (int axis = 0; axis < 3; ++axis) {
                min[axis] = vertex.position[axis] < min[axis] ? vertex.position[axis] : min[axis];
                max[axis] = vertex.position[axis] > max[axis] ? vertex.position[axis] : max[axis];
            }
        }
    }
    stats.originalOffset[0] = (min[0] + max[0]) * 0.5;
    stats.originalOffset[1] = (min[1] + max[1]) * 0.5;
    stats.originalOffset[2] = min[2];
    stats.extent[0] = max[0] - min[0];
    stats.extent[1] = max[2] - min[2];
    stats.extent[2] = max[1] - min[1];
}

bool IsTextured(const GlbMaterial& material, std::size_t imageCount) {
    return material.baseColorTexture >= 0 &&
           static_cast<std::size_t>(material.baseColorTexture) < imageCount;
}

void AddView(GlbLayout& layout, const std::vector<unsigned char>& bin, std::size_t start,
             std::uint32_t target) {
    layout.bufferViews.push_back(GlbBufferView{start, bin.size() - start, target});
}

// Z-up host coordinates to Y-up output, re-centred in double before the float conversion.
void WritePositions(const GlbBuilder::Primitive& primitive, const double offset[3],
                    GlbWrittenPrimitive& written, std::vector<unsigned char>& bin) {
    for (int axis = 0; axis < 3; ++axis) {
        written.positionMin[axis] = kFloatMax;
        written.positionMax[axis] = -kFloatMax;
    }
    for (const auto& vertex : primitive.vertices) {
        const float out[3] = {static_cast<float>(vertex.position[0] - offset[0]),
                              static_cast<float>(vertex.position[2] - offset[2]),
                              -static_cast<float>(vertex.position[1] - offset[1])};
        for (int axis = 0; axis < 3; ++axis) {
            AppendF32(bin, out[axis]);
            if (out[axis] < written.positionMin[axis]) {
                written.positionMin[axis] = out[axis];
            }
            if (out[axis] > written.positionMax[axis]) {
                written.positionMax[axis] = out[axis];
            }
        }
    }
}

void WritePrimitive(const GlbBuilder::Primitive& primitive, const double offset[3],
                    std::size_t imageCount, GlbLayout& layout, std::vector<unsigned char>& bin) {
    GlbWrittenPrimitive written;
    written.material = &primitive.material;
    written.vertexCount = static_cast<std::uint32_t>(primitive.vertices.size());
    written.indexCount = primitive.indices.size();
    written.textured = IsTextured(primitive.material, imageCount);
    written.firstAccessor = static_cast<std::uint32_t>(layout.bufferViews.size());

    std::size_t start = bin.size();
    WritePositions(primitive, offset, written, bin);
    AddView(layout, bin, start, ve_detail::kArrayBufferTarget);
    start = bin.size();
    for (const auto& vertex : primitive.vertices) {
        AppendF32(bin, vertex.normal[0]);
        AppendF32(bin, vertex.normal[2]);
        AppendF32(bin, -vertex.normal[1]);
    }
    AddView(layout, bin, start, ve_detail::kArrayBufferTarget);
    if (written.textured) {
        start = bin.size();
        for (const auto& vertex : primitive.vertices) {
            AppendF32(bin, vertex.uv[0]);
            AppendF32(bin, vertex.uv[1]);
        }
        AddView(layout, bin, start, ve_detail::kArrayBufferTarget);
    }
    start = bin.size();
    for (const std::uint32_t index : primitive.indices) {
        AppendU32(bin, index);
    }
    AddView(layout, bin, start, ve_detail::kElementArrayBufferTarget);
    layout.primitives.push_back(written);
}

std::size_t GeometryBytes(const std::vector<GlbBuilder::Primitive>& primitives,
                          std::size_t imageCount) {
    std::size_t bytes = 0;
    for (const auto& primitive : primitives) {
        if (!primitive.indices.empty()) {
            const std::size_t floatsPerVertex = IsTextured(primitive.material, imageCount) ? 8 : 6;
            bytes += 4 * (primitive.vertices.size() * floatsPerVertex + primitive.indices.size());
        }
    }
    return bytes;
}

// Images that a written primitive uses, in registration order, renumbered from 0; each starts
// on a 4-byte boundary after zero padding.
void EmbedImages(const std::vector<GlbBuilder::Image>& images, GlbLayout& layout,
                 std::vector<unsigned char>& bin, GlbBuildStats& stats) {
    std::vector<std::int64_t> renumbered(images.size(), -1);
    for (const auto& written : layout.primitives) {
        if (written.textured) {
            renumbered[static_cast<std::size_t>(written.material->baseColorTexture)] = 0;
        }
    }
    for (std::size_t i = 0; i < images.size(); ++i) {
        if (renumbered[i] < 0) {
            continue;
        }
        renumbered[i] = static_cast<std::int64_t>(layout.images.size());
        bin.resize((bin.size() + 3) & ~std::size_t{3}, 0);
        const std::size_t start = bin.size();
        bin.insert(bin.end(), images[i].bytes.begin(), images[i].bytes.end());
        layout.images.push_back(
            {&images[i], static_cast<std::uint32_t>(layout.bufferViews.size())});
        AddView(layout, bin, start, 0);
        ++stats.textureCount;
        stats.textureBytes += images[i].bytes.size();
    }
    for (auto& written : layout.primitives) {
        if (written.textured) {
            written.texture = static_cast<std::uint32_t>(
                renumbered[static_cast<std::size_t>(written.material->baseColorTexture)]);
        }
    }
}

std::size_t PaddingTo4(std::size_t length) {
    return (4 - length % 4) % 4;
}

bool WriteContainer(const std::string& json, const std::vector<unsigned char>& bin,
                    std::vector<unsigned char>& glb, std::string& error) {
    const std::uint64_t jsonPadded = json.size() + PaddingTo4(json.size());
    const std::uint64_t binPadded = bin.size() + PaddingTo4(bin.size());
    const std::uint64_t total = 12 + 8 + jsonPadded + 8 + binPadded;
    if (total > UINT32_MAX) {
        error = kTooLarge;
        return false;
    }
    glb.reserve(static_cast<std::size_t>(total));
    AppendU32(glb, kGlbMagic);
    AppendU32(glb, 2);
    AppendU32(glb, static_cast<std::uint32_t>(total));
    AppendU32(glb, static_cast<std::uint32_t>(jsonPadded));
    AppendU32(glb, kJsonChunkType);
    glb.insert(glb.end(), json.begin(), json.end());
    glb.resize(glb.size() + PaddingTo4(json.size()), ' ');
    AppendU32(glb, static_cast<std::uint32_t>(binPadded));
    AppendU32(glb, kBinChunkType);
    glb.insert(glb.end(), bin.begin(), bin.end());
    glb.resize(glb.size() + PaddingTo4(bin.size()), 0);
    return true;
}

} // namespace

bool GlbBuilder::Build(const std::string& generator, std::vector<unsigned char>& glb,
                       GlbBuildStats& stats, std::string& error) const {
    glb.clear();
    error.clear();
    stats = GlbBuildStats{};
    stats.submittedTriangles = submittedTriangles_;
    stats.degenerateTriangles = degenerateTriangles_;
    stats.nonFiniteTriangles = nonFiniteTriangles_;
    stats.triangleCount = static_cast<std::uint32_t>(acceptedTriangles_);
    if (acceptedTriangles_ == 0) {
        error = kNoTriangles;
        return false;
    }
    MeasureBounds(primitives_, stats);

    GlbLayout layout;
    std::vector<unsigned char> bin;
    bin.reserve(GeometryBytes(primitives_, images_.size()));
    for (const auto& primitive : primitives_) {
        if (!primitive.indices.empty()) {
            WritePrimitive(primitive, stats.originalOffset, images_.size(), layout, bin);
            stats.vertexCount += static_cast<std::uint32_t>(primitive.vertices.size());
        }
    }
    if (layout.primitives.empty()) {
        error = kNoTriangles;
        return false;
    }
    stats.primitiveCount = static_cast<std::uint32_t>(layout.primitives.size());
    EmbedImages(images_, layout, bin, stats);
    layout.binLength = bin.size();
    return WriteContainer(ve_detail::WriteGlbJson(generator, layout), bin, glb, error);
}

} // namespace Velmora
