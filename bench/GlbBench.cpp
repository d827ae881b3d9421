// Our .glb writer against the pipeline one would otherwise assemble on the same triangles:
// meshoptimizer's vertex remap for the dedupe and tinygltf's binary writer for the file.
#include "Export/GlbBuilder.hpp"

#include <benchmark/benchmark.h>
#include <meshoptimizer.h>
#include <tiny_gltf.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace Velmora::Bench {
namespace {

struct MeshVertex {
    double position[3];
    double normal[3];
    double uv[2];
};

// Triangles as the element reader hands them over: three corners each, taken from shared
// vertices, with a material per triangle.
struct Mesh {
    std::vector<MeshVertex> vertices;
    std::vector<std::uint32_t> corners; // three per triangle
    std::vector<int> materials;         // one per triangle
    int materialCount = 1;

    std::size_t TriangleCount() const { return materials.size(); }
};

// A terrain grid far from the origin: every inner vertex is shared by six triangles.
Mesh MakeTerrain(int side) {
    Mesh mesh;
    for (int y = 0; y <= side; ++y) {
        for (int x = 0; x <= side; ++x) {
            const double dzdx = 0.3 * std::cos(x * 0.02), dzdy = -0.2 * std::sin(y * 0.03);
            mesh.vertices.push_back({{4.2e5 + x * 0.5, 5.6e6 + y * 0.5,
                                      80 + 15 * std::sin(x * 0.02) * std::cos(y * 0.03)},
                                     {-dzdx, -dzdy, 1},
                                     {x / 16.0, y / 16.0}});
        }
    }
    const auto at = [side](int x, int y) { return static_cast<std::uint32_t>(y * (side + 1) + x); };
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            mesh.corners.insert(mesh.corners.end(), {at(x, y), at(x + 1, y), at(x + 1, y + 1),
                                                     at(x, y), at(x + 1, y + 1), at(x, y + 1)});
            mesh.materials.insert(mesh.materials.end(), 2, 0);
        }
    }
    return mesh;
}

// Boxes with flat faces (four vertices a face, each in two or one triangles), eight materials.
Mesh MakeBoxes(int count) {
    Mesh mesh;
    mesh.materialCount = 8;
    static const int faces[6][4][3] = {
        {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}}, {{0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}},
        {{0, 0, 0}, {1, 0, 0}, {1, 0, 1}, {0, 0, 1}}, {{0, 1, 0}, {0, 1, 1}, {1, 1, 1}, {1, 1, 0}},
        {{0, 0, 0}, {0, 0, 1}, {0, 1, 1}, {0, 1, 0}}, {{1, 0, 0}, {1, 1, 0}, {1, 1, 1}, {1, 0, 1}}};
    static const double normals[6][3] = {{0, 0, -1}, {0, 0, 1},  {0, -1, 0},
                                         {0, 1, 0},  {-1, 0, 0}, {1, 0, 0}};
    static const double uvs[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (int b = 0; b < count; ++b) {
        const double origin[3] = {1.5e5 + (b % 300) * 3.0, 2.5e5 + (b / 300) * 3.0, b % 7 * 3.0};
        const double size[3] = {0.3 + b % 5 * 0.4, 0.2 + b % 3 * 0.5, 2.8};
        for (int f = 0; f < 6; ++f) {
            const auto first = static_cast<std::uint32_t>(mesh.vertices.size());
            for (int k = 0; k < 4; ++k) {
                MeshVertex v{};
                for (int axis = 0; axis < 3; ++axis) {
                    v.position[axis] = origin[axis] + faces[f][k][axis] * size[axis];
                    v.normal[axis] = normals[f][axis];
                }
                v.uv[0] = uvs[k][0];
                v.uv[1] = uvs[k][1];
                mesh.vertices.push_back(v);
            }
            mesh.corners.insert(mesh.corners.end(),
                                {first, first + 1, first + 2, first, first + 2, first + 3});
            mesh.materials.insert(mesh.materials.end(), 2, b % 8);
        }
    }
    return mesh;
}

const Mesh& GetMesh(bool terrain) {
    static const Mesh grid = MakeTerrain(708);  // 1,002,528 triangles
    static const Mesh boxes = MakeBoxes(83334); // 1,000,008 triangles
    return terrain ? grid : boxes;
}

void WriteWithGlbBuilder(const Mesh& mesh, std::vector<unsigned char>& glb) {
    GlbBuilder builder;
    for (int m = 0; m < mesh.materialCount; ++m) {
        GlbMaterial material;
        material.baseColor[0] = m / 8.0;
        builder.AddMaterial(material);
    }
    for (std::size_t t = 0; t < mesh.TriangleCount(); ++t) {
        const MeshVertex& a = mesh.vertices[mesh.corners[3 * t]];
        const MeshVertex& b = mesh.vertices[mesh.corners[3 * t + 1]];
        const MeshVertex& c = mesh.vertices[mesh.corners[3 * t + 2]];
        builder.AddTriangle(mesh.materials[t], a.position, a.normal, a.uv, b.position, b.normal,
                            b.uv, c.position, c.normal, c.uv);
    }
    GlbBuildStats stats;
    std::string error;
    builder.Build("bench", glb, stats, error);
}

// The vertex layout one would hand to meshoptimizer: output axes, re-centred, unit normals.
struct FloatVertex {
    float position[3];
    float normal[3];
    float uv[2];
};

FloatVertex ToOutput(const MeshVertex& v, const double offset[3]) {
    const double length = std::sqrt(v.normal[0] * v.normal[0] + v.normal[1] * v.normal[1] +
                                    v.normal[2] * v.normal[2]);
    return {{static_cast<float>(v.position[0] - offset[0]),
             static_cast<float>(v.position[2] - offset[2]),
             -static_cast<float>(v.position[1] - offset[1])},
            {static_cast<float>(v.normal[0] / length), static_cast<float>(v.normal[2] / length),
             -static_cast<float>(v.normal[1] / length)},
            {static_cast<float>(v.uv[0]), static_cast<float>(v.uv[1])}};
}

int AddView(tinygltf::Model& model, const void* data, std::size_t bytes, int target) {
    auto& buffer = model.buffers[0].data;
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = buffer.size();
    view.byteLength = bytes;
    view.target = target;
    const auto* begin = static_cast<const unsigned char*>(data);
    buffer.insert(buffer.end(), begin, begin + bytes);
    model.bufferViews.push_back(view);
    return static_cast<int>(model.bufferViews.size()) - 1;
}

int AddAccessor(tinygltf::Model& model, int view, int componentType, std::size_t count, int type) {
    tinygltf::Accessor accessor;
    accessor.bufferView = view;
    accessor.componentType = componentType;
    accessor.count = count;
    accessor.type = type;
    model.accessors.push_back(accessor);
    return static_cast<int>(model.accessors.size()) - 1;
}

// One material's corners: dedupe with meshoptimizer, then one primitive in the model.
void AddPrimitive(tinygltf::Model& model, const std::vector<FloatVertex>& corners) {
    std::vector<unsigned int> remap(corners.size());
    const std::size_t unique = meshopt_generateVertexRemap(
        remap.data(), nullptr, corners.size(), corners.data(), corners.size(), sizeof(FloatVertex));
    std::vector<FloatVertex> vertices(unique);
    std::vector<unsigned int> indices(corners.size());
    meshopt_remapVertexBuffer(vertices.data(), corners.data(), corners.size(), sizeof(FloatVertex),
                              remap.data());
    meshopt_remapIndexBuffer(indices.data(), nullptr, corners.size(), remap.data());

    std::vector<float> positions, normals;
    positions.reserve(unique * 3);
    normals.reserve(unique * 3);
    std::vector<double> min(3, FLT_MAX), max(3, -FLT_MAX);
    for (const FloatVertex& v : vertices) {
        for (int axis = 0; axis < 3; ++axis) {
            positions.push_back(v.position[axis]);
            normals.push_back(v.normal[axis]);
            min[static_cast<std::size_t>(axis)] =
                std::fmin(min[static_cast<std::size_t>(axis)], v.position[axis]);
            max[static_cast<std::size_t>(axis)] =
                std::fmax(max[static_cast<std::size_t>(axis)], v.position[axis]);
        }
    }
    tinygltf::Primitive primitive;
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    primitive.material = static_cast<int>(model.materials.size());
    const int kFloat = TINYGLTF_COMPONENT_TYPE_FLOAT, kVertexTarget = TINYGLTF_TARGET_ARRAY_BUFFER;
    primitive.attributes["POSITION"] =
        AddAccessor(model, AddView(model, positions.data(), positions.size() * 4, kVertexTarget),
                    kFloat, unique, TINYGLTF_TYPE_VEC3);
    model.accessors.back().minValues = min;
    model.accessors.back().maxValues = max;
    primitive.attributes["NORMAL"] =
        AddAccessor(model, AddView(model, normals.data(), normals.size() * 4, kVertexTarget),
                    kFloat, unique, TINYGLTF_TYPE_VEC3);
    primitive.indices = AddAccessor(
        model,
        AddView(model, indices.data(), indices.size() * 4, TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER),
        TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, indices.size(), TINYGLTF_TYPE_SCALAR);
    model.meshes[0].primitives.push_back(primitive);
    tinygltf::Material material;
    material.pbrMetallicRoughness.baseColorFactor = {1, 1, 1, 1};
    model.materials.push_back(material);
}

void WriteWithMeshoptAndTinygltf(const Mesh& mesh, std::vector<unsigned char>& glb) {
    double min[3] = {DBL_MAX, DBL_MAX, DBL_MAX}, max[3] = {-DBL_MAX, -DBL_MAX, -DBL_MAX};
    for (const std::uint32_t corner : mesh.corners) {
        for (int axis = 0; axis < 3; ++axis) {
            min[axis] = std::fmin(min[axis], mesh.vertices[corner].position[axis]);
            max[axis] = std::fmax(max[axis], mesh.vertices[corner].position[axis]);
        }
    }
    const double offset[3] = {(min[0] + max[0]) * 0.5, (min[1] + max[1]) * 0.5, min[2]};
    std::vector<std::vector<FloatVertex>> byMaterial(static_cast<std::size_t>(mesh.materialCount));
    for (std::size_t t = 0; t < mesh.TriangleCount(); ++t) {
        auto& corners = byMaterial[static_cast<std::size_t>(mesh.materials[t])];
        for (int k = 0; k < 3; ++k) {
            corners.push_back(ToOutput(mesh.vertices[mesh.corners[3 * t + k]], offset));
        }
    }
    tinygltf::Model model;
    model.asset.version = "2.0";
    model.buffers.resize(1);
    model.meshes.resize(1);
    for (const auto& corners : byMaterial) {
        AddPrimitive(model, corners);
    }
    tinygltf::Node node;
    node.mesh = 0;
    model.nodes.push_back(node);
    tinygltf::Scene scene;
    scene.nodes.push_back(0);
    model.scenes.push_back(scene);
    model.defaultScene = 0;

    std::ostringstream stream;
    tinygltf::TinyGLTF writer;
    writer.WriteGltfSceneToStream(&model, stream, false, true);
    const std::string bytes = stream.str();
    glb.assign(bytes.begin(), bytes.end());
}

void WriteMesh(benchmark::State& state, bool terrain, bool ours) {
    const Mesh& mesh = GetMesh(terrain);
    std::vector<unsigned char> glb;
    for (auto _ : state) {
        if (ours) {
            WriteWithGlbBuilder(mesh, glb);
        } else {
            WriteWithMeshoptAndTinygltf(mesh, glb);
        }
        benchmark::DoNotOptimize(glb.data());
        benchmark::ClobberMemory();
    }
    state.counters["triangles_per_second"] = benchmark::Counter(
        static_cast<double>(mesh.TriangleCount()) * static_cast<double>(state.iterations()),
        benchmark::Counter::kIsRate);
    state.counters["out_bytes"] = static_cast<double>(glb.size());
}

bool RegisterGlbBenchmarks() {
    for (const bool terrain : {true, false}) {
        for (const bool ours : {true, false}) {
            const std::string name = std::string("WriteGlb/") +
                                     (terrain ? "terrain_1M" : "boxes_1M") + "/" +
                                     (ours ? "velmora" : "meshopt_tinygltf");
            benchmark::RegisterBenchmark(name.c_str(), WriteMesh, terrain, ours)
                ->Unit(benchmark::kMillisecond);
        }
    }
    return true;
}

const bool kRegistered = RegisterGlbBenchmarks();

} // namespace
} // namespace Velmora::Bench
