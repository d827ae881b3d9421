// Collects triangles grouped by material and writes them as one self-contained glTF 2.0 binary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Velmora {

// One material as the element reader describes it; copied into the builder.
struct GlbMaterial {
    double baseColor[4] = {1.0, 1.0, 1.0, 1.0}; // r, g, b as given; alpha clamped to 0..1 on output
    std::int32_t baseColorTexture = -1;         // index from AddTexture; -1 = untextured
    bool alphaCutout = false;                   // the texture's alpha is a cut-out mask
    double metallic = 0.0;
    double roughness = 1.0;
    bool doubleSided = false;
    std::string name; // UTF-8; may be empty
};

struct GlbBuildStats {
    std::uint32_t triangleCount = 0;
    std::uint32_t vertexCount = 0;
    std::uint32_t primitiveCount = 0;
    std::uint32_t textureCount = 0;
    std::uint64_t textureBytes = 0;
    std::uint32_t submittedTriangles = 0;
    std::uint32_t degenerateTriangles = 0;
    std::uint32_t nonFiniteTriangles = 0;
    double extent[3] = {};         // output axes: host X range, host Z range, host Y range
    double originalOffset[3] = {}; // host point subtracted: centre X, centre Y, minimum Z
};

class GlbBuilder {
public:
    // One unique vertex of a primitive: the position exactly as given in host coordinates,
    // the normal of unit length and the texture coordinate after conversion to float.
    struct Vertex {
        double position[3];
        float normal[3];
        float uv[2];
    };

    // Equal when all eight fields are bitwise equal: no tolerance, -0.0 differs from +0.0.
    struct VertexKey {
        double position[3];
        float normal[3];
        float uv[2];

        bool operator==(const VertexKey& other) const;
    };

    // 64-bit FNV-1a over the key's 48-byte little-endian image (fields in order, then four
    // zero bytes).
    struct VertexKeyHash {
        std::uint64_t operator()(const VertexKey& key) const;
    };

    struct Image {
        std::vector<unsigned char> bytes; // the encoded file
        std::string mimeType;             // "image/png", "image/jpeg", ...
        std::string name;                 // may be empty
    };

    // Open-addressing map from a vertex to its index in the primitive's vertex list; the
    // slots hold indices only, the keys are the vertices themselves.
    class VertexMap {
    public:
        // The index of `key` in `vertices`, or kAbsent.
        std::uint32_t Find(const VertexKey& key, std::uint64_t hash,
                           const std::vector<Vertex>& vertices) const;
        // Records the vertex at `index` with hash `hash`; its key must be absent.
        void Insert(std::uint64_t hash, std::uint32_t index);
        // The index of `key` if it is one of the last few vertices returned, else kAbsent:
        // neighbouring triangles share corners, and comparing is cheaper than hashing.
        std::uint32_t FindRecent(const VertexKey& key, const std::vector<Vertex>& vertices) const;
        void Remember(std::uint32_t index);
        // Starts loading the home slot of `hash`, so that several lookups overlap their misses.
        void Prefetch(std::uint64_t hash) const;

        static constexpr std::uint32_t kAbsent = 0xFFFFFFFFu;

    private:
        struct Slot {
            std::uint32_t hashBits = 0;
            std::uint32_t index = kAbsent;
        };
        void Grow();

        static constexpr int kRecent = 4;

        std::vector<Slot> slots_;
        std::size_t size_ = 0;
        std::uint32_t recent_[kRecent] = {kAbsent, kAbsent, kAbsent, kAbsent};
        int nextRecent_ = 0;
        int shift_ = 32; // home slot = tag >> shift_
    };

    // One per registered material, in registration order.
    struct Primitive {
        GlbMaterial material;
        std::vector<Vertex> vertices;
        std::vector<std::uint32_t> indices; // three per triangle
        VertexMap vertexMap;
    };

    // Stores an encoded image; -1 (and nothing stored) when `bytes` is empty.
    int AddTexture(std::vector<unsigned char> bytes, std::string mimeType, std::string name);
    // Registers a material and its (empty) primitive; returns its index.
    std::uint32_t AddMaterial(const GlbMaterial& material);
    // Returns the index of the (possibly existing) vertex within `primitive`, after sanitising
    // the normal and the texture coordinate.
    static std::uint32_t AddVertex(Primitive& primitive, const double position[3],
                                   const double normal[3], const double uv[2]);
    // Returns whether the triangle was stored; rejected triangles only move the counters.
    bool AddTriangle(int material, const double p0[3], const double n0[3], const double uv0[2],
                     const double p1[3], const double n1[3], const double uv1[2],
                     const double p2[3], const double n2[3], const double uv2[2]);
    // Writes the whole file into `glb`; false with a message in `error` when there is nothing
    // to write or the file would exceed 4 GB.
    bool Build(const std::string& generator, std::vector<unsigned char>& glb, GlbBuildStats& stats,
               std::string& error) const;

private:
    // AddVertex for the three corners of one triangle (distinct keys), with their table
    // lookups overlapped; gives the same indices as three AddVertex calls.
    static void AddCorners(Primitive& primitive, const double* const positions[3],
                           const double* const normals[3], const double* const uvs[3],
                           std::uint32_t indices[3]);

    std::vector<Primitive> primitives_;
    std::vector<Image> images_;
    std::uint64_t acceptedTriangles_ = 0;
    std::uint32_t submittedTriangles_ = 0;
    std::uint32_t degenerateTriangles_ = 0;
    std::uint32_t nonFiniteTriangles_ = 0;
};

} // namespace Velmora
