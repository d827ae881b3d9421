#include "support/GlbReadBack.hpp"

#include <tiny_gltf.h>

#include <cstdint>
#include <cstring>
#include <limits>

namespace Velmora::Testing {
namespace {

constexpr std::uint32_t kGlbMagic = 0x46546C67;
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;
constexpr std::uint32_t kBinChunk = 0x004E4942;

std::uint32_t U32At(const std::vector<unsigned char>& bytes, std::size_t at) {
    return static_cast<std::uint32_t>(bytes[at]) | static_cast<std::uint32_t>(bytes[at + 1]) << 8 |
           static_cast<std::uint32_t>(bytes[at + 2]) << 16 |
           static_cast<std::uint32_t>(bytes[at + 3]) << 24;
}

// Header and both chunks: lengths that add up, 4-byte aligned chunks, the JSON chunk first.
bool CheckContainer(const std::vector<unsigned char>& glb, GlbReadBack& out, std::string& problem) {
    if (glb.size() < 28 || U32At(glb, 0) != kGlbMagic || U32At(glb, 4) != 2 ||
        U32At(glb, 8) != glb.size()) {
        problem = "bad header";
        return false;
    }
    const std::uint32_t jsonLength = U32At(glb, 12);
    if (jsonLength % 4 != 0 || U32At(glb, 16) != kJsonChunk || 20u + jsonLength + 8 > glb.size()) {
        problem = "bad JSON chunk";
        return false;
    }
    out.json.assign(glb.begin() + 20, glb.begin() + 20 + jsonLength);
    const std::size_t bin = 20 + jsonLength;
    const std::uint32_t binLength = U32At(glb, bin);
    if (binLength % 4 != 0 || U32At(glb, bin + 4) != kBinChunk ||
        bin + 8 + binLength != glb.size()) {
        problem = "bad BIN chunk";
        return false;
    }
    out.bin.assign(glb.begin() + static_cast<std::ptrdiff_t>(bin + 8), glb.end());
    return true;
}

bool AcceptUndecodedImage(tinygltf::Image*, const int, std::string*, std::string*, int, int,
                          const unsigned char*, int, void*) {
    return true;
}

struct Reader {
    const tinygltf::Model& model;
    std::string& problem;

    bool Fail(const std::string& what) {
        problem = what;
        return false;
    }

    bool CheckViews() {
        for (std::size_t i = 0; i < model.bufferViews.size(); ++i) {
            const auto& view = model.bufferViews[i];
            if (view.buffer != 0 || model.buffers.size() != 1 ||
                view.byteOffset + view.byteLength > model.buffers[0].data.size()) {
                return Fail("buffer view " + std::to_string(i) + " outside the buffer");
            }
        }
        return true;
    }

    // The accessor's bytes, after checking its type and that they lie inside its view.
    const unsigned char* Data(int index, int componentType, int type, std::size_t count) {
        if (index < 0 || static_cast<std::size_t>(index) >= model.accessors.size()) {
            Fail("missing accessor");
            return nullptr;
        }
        const auto& accessor = model.accessors[static_cast<std::size_t>(index)];
        const std::string name = "accessor " + std::to_string(index);
        if (accessor.componentType != componentType || accessor.type != type ||
            accessor.normalized || accessor.sparse.isSparse) {
            Fail(name + " has the wrong type");
            return nullptr;
        }
        if (accessor.count != count || accessor.bufferView < 0 ||
            static_cast<std::size_t>(accessor.bufferView) >= model.bufferViews.size()) {
            Fail(name + " has the wrong count or view");
            return nullptr;
        }
        const auto& view = model.bufferViews[static_cast<std::size_t>(accessor.bufferView)];
        const std::size_t bytes = count * 4 *
                                  static_cast<std::size_t>(tinygltf::GetNumComponentsInType(
                                      static_cast<std::uint32_t>(type)));
        if (view.byteStride != 0 || accessor.byteOffset + bytes > view.byteLength ||
            (view.byteOffset + accessor.byteOffset) % 4 != 0) {
            Fail(name + " reaches outside its view");
            return nullptr;
        }
        return model.buffers[0].data.data() + view.byteOffset + accessor.byteOffset;
    }

    std::size_t Count(int accessor) const {
        return accessor >= 0 && static_cast<std::size_t>(accessor) < model.accessors.size()
                   ? model.accessors[static_cast<std::size_t>(accessor)].count
                   : 0;
    }

    bool CheckBounds(int index, const float* positions, std::size_t count) {
        const auto& accessor = model.accessors[static_cast<std::size_t>(index)];
        if (accessor.minValues.size() != 3 || accessor.maxValues.size() != 3) {
            return Fail("POSITION without min/max");
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            float min = std::numeric_limits<float>::infinity(), max = -min;
            for (std::size_t v = 0; v < count; ++v) {
                min = std::min(min, positions[3 * v + axis]);
                max = std::max(max, positions[3 * v + axis]);
            }
            // The JSON holds decimal text: equal once read back as float, as glTF readers do.
            if (static_cast<float>(accessor.minValues[axis]) != min ||
                static_cast<float>(accessor.maxValues[axis]) != max) {
                return Fail("POSITION min/max differ from the data");
            }
        }
        return true;
    }

    bool ReadPrimitive(const tinygltf::Primitive& primitive, GlbReadBack& out) {
        const auto attribute = [&](const char* name) {
            const auto found = primitive.attributes.find(name);
            return found == primitive.attributes.end() ? -1 : found->second;
        };
        const int position = attribute("POSITION"), normal = attribute("NORMAL");
        const int uv = attribute("TEXCOORD_0");
        const std::size_t vertices = Count(position), indexCount = Count(primitive.indices);
        if (primitive.mode != TINYGLTF_MODE_TRIANGLES && primitive.mode != -1) {
            return Fail("primitive is not a triangle list");
        }
        const auto* p = reinterpret_cast<const float*>(
            Data(position, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3, vertices));
        const auto* n = reinterpret_cast<const float*>(
            Data(normal, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3, vertices));
        const auto* t = uv < 0
                            ? nullptr
                            : reinterpret_cast<const float*>(Data(uv, TINYGLTF_COMPONENT_TYPE_FLOAT,
                                                                  TINYGLTF_TYPE_VEC2, vertices));
        const auto* indices = reinterpret_cast<const std::uint32_t*>(
            Data(primitive.indices, TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR,
                 indexCount));
        if (!p || !n || (uv >= 0 && !t) || !indices || !problem.empty()) {
            return Fail(problem.empty() ? "primitive lacks an accessor" : problem);
        }
        if (vertices == 0 || indexCount == 0 || indexCount % 3 != 0) {
            return Fail("primitive with no whole triangles");
        }
        if (primitive.material < 0 ||
            static_cast<std::size_t>(primitive.material) >= model.materials.size()) {
            return Fail("primitive material out of range");
        }
        if (!CheckBounds(position, p, vertices)) {
            return false;
        }
        for (std::size_t i = 0; i < indexCount; i += 3) {
            ReadBackTriangle triangle{};
            triangle.material = primitive.material;
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const std::uint32_t v = indices[i + corner];
                if (v >= vertices) {
                    return Fail("index " + std::to_string(v) + " past the vertices");
                }
                std::memcpy(triangle.positions[corner].data(), p + 3 * v, 12);
                std::memcpy(triangle.normals[corner].data(), n + 3 * v, 12);
                if (t) {
                    std::memcpy(triangle.uvs[corner].data(), t + 2 * v, 8);
                }
            }
            out.triangles.push_back(triangle);
        }
        return true;
    }

    bool ReadMaterials(GlbReadBack& out) {
        for (const auto& material : model.materials) {
            ReadBackMaterial read;
            read.name = material.name;
            const auto& factor = material.pbrMetallicRoughness.baseColorFactor;
            for (std::size_t i = 0; i < 4 && i < factor.size(); ++i) {
                read.baseColorFactor[i] = factor[i];
            }
            read.baseColorTexture = material.pbrMetallicRoughness.baseColorTexture.index;
            if (read.baseColorTexture >= static_cast<int>(model.textures.size())) {
                return Fail("material texture out of range");
            }
            read.alphaMode = material.alphaMode;
            read.alphaCutoff = material.alphaCutoff;
            read.doubleSided = material.doubleSided;
            out.materials.push_back(read);
        }
        return true;
    }

    bool ReadImages(GlbReadBack& out) {
        for (const auto& texture : model.textures) {
            if (texture.source < 0 ||
                static_cast<std::size_t>(texture.source) >= model.images.size() ||
                texture.sampler < 0 ||
                static_cast<std::size_t>(texture.sampler) >= model.samplers.size()) {
                return Fail("texture refers to a missing image or sampler");
            }
        }
        for (const auto& image : model.images) {
            if (image.bufferView < 0 ||
                static_cast<std::size_t>(image.bufferView) >= model.bufferViews.size()) {
                return Fail("image without a buffer view");
            }
            const auto& view = model.bufferViews[static_cast<std::size_t>(image.bufferView)];
            const auto* begin = model.buffers[0].data.data() + view.byteOffset;
            out.images.emplace_back(begin, begin + view.byteLength);
            out.imageByteOffsets.push_back(view.byteOffset);
            out.imageMimeTypes.push_back(image.mimeType);
        }
        return true;
    }

    bool ReadAll(GlbReadBack& out) {
        if (!CheckViews() || model.meshes.size() != 1 || model.nodes.size() != 1 ||
            model.scenes.size() != 1) {
            return problem.empty() ? Fail("not one scene, node and mesh") : false;
        }
        for (const auto& primitive : model.meshes[0].primitives) {
            if (!ReadPrimitive(primitive, out)) {
                return false;
            }
        }
        return ReadMaterials(out) && ReadImages(out);
    }
};

} // namespace

bool ReadBackGlb(const std::vector<unsigned char>& glb, GlbReadBack& out, std::string& problem) {
    out = GlbReadBack{};
    problem.clear();
    if (!CheckContainer(glb, out, problem)) {
        return false;
    }
    tinygltf::TinyGLTF loader;
    loader.SetImageLoader(AcceptUndecodedImage, nullptr);
    tinygltf::Model model;
    std::string error, warning;
    if (!loader.LoadBinaryFromMemory(&model, &error, &warning, glb.data(),
                                     static_cast<unsigned int>(glb.size()))) {
        problem = "tinygltf: " + error;
        return false;
    }
    if (!warning.empty()) {
        problem = "tinygltf warning: " + warning;
        return false;
    }
    Reader reader{model, problem};
    return reader.ReadAll(out);
}

} // namespace Velmora::Testing
