// The .glb writer: dedupe, sanitising, counters, materials, images, padding and the exact JSON.
#include "export/GlbTestScenes.hpp"
#include "support/GlbReadBack.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace Velmora::Testing {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

GlbReadBack ReadBack(const Built& built) {
    GlbReadBack read;
    std::string problem;
    EXPECT_TRUE(built.ok) << built.error;
    EXPECT_TRUE(ReadBackGlb(built.glb, read, problem)) << problem;
    return read;
}

GlbMaterial Textured(int texture, double alpha = 1.0) {
    GlbMaterial material;
    material.baseColorTexture = texture;
    material.baseColor[3] = alpha;
    return material;
}

// Catches a writer that emits an empty or header-only file instead of failing.
TEST(GlbBuilderTest, NothingAcceptedFailsWithTheMessageAndKeepsTheCounters) {
    GlbBuilder none;
    none.AddMaterial(GlbMaterial{});
    GlbBuilder rejected;
    rejected.AddMaterial(GlbMaterial{});
    Triangle collinear = FlatTriangle(0, 0, 0);
    collinear[2].position[0] = 2;
    collinear[2].position[1] = 0;
    AddTriangle(rejected, 0, collinear);
    Triangle infinite = FlatTriangle(0, 0, 0);
    infinite[1].position[2] = kInf;
    AddTriangle(rejected, 0, infinite);
    AddTriangle(rejected, 1, FlatTriangle(0, 0, 0));
    GlbBuilder noMaterial;
    AddTriangle(noMaterial, 0, FlatTriangle(0, 0, 0));

    for (const GlbBuilder* builder : {&none, &rejected, &noMaterial}) {
        Built built;
        built.glb = {1, 2, 3};
        built.error = "stale";
        built.ok = builder->Build("g", built.glb, built.stats, built.error);
        EXPECT_FALSE(built.ok);
        EXPECT_EQ(built.error, "no triangles to export");
        EXPECT_TRUE(built.glb.empty());
        EXPECT_EQ(built.stats.triangleCount, 0u);
    }
    const Built built = BuildGlb(rejected);
    EXPECT_EQ(built.stats.submittedTriangles, 3u);
    EXPECT_EQ(built.stats.degenerateTriangles, 1u);
    EXPECT_EQ(built.stats.nonFiniteTriangles, 1u);
}

// Catches dedupe with a tolerance, on position only, or with == on doubles (-0.0 == +0.0).
TEST(GlbBuilderTest, SharedCornersDedupeOnlyWhenAllEightFieldsAreBitIdentical) {
    struct Case {
        const char* fault;
        void (*change)(Corner&);
        std::uint32_t vertices;
    };
    const Case cases[] = {
        {"identical corner not shared", [](Corner&) {}, 5},
        {"normal ignored", [](Corner& c) { c.normal[0] = 0.5; }, 6},
        {"uv ignored", [](Corner& c) { c.uv[1] = 0.25; }, 6},
        {"-0.0 merged with +0.0", [](Corner& c) { c.position[0] = -0.0; }, 6},
        {"position tolerance", [](Corner& c) { c.position[1] = 1e-300; }, 6},
        {"normal compared before normalising", [](Corner& c) { c.normal[2] = 7.0; }, 5},
    };
    for (const Case& test : cases) {
        GlbBuilder builder;
        builder.AddMaterial(GlbMaterial{});
        AddTriangle(builder, 0, FlatTriangle(0, 0, 0));
        Triangle second = FlatTriangle(0, 0, 0);
        second[1].position[0] = -1; // only corner 0, at the origin, may be shared
        second[2].position[1] = -1;
        test.change(second[0]);
        AddTriangle(builder, 0, second);
        EXPECT_EQ(BuildGlb(builder).stats.vertexCount, test.vertices) << test.fault;
    }
}

// Catches unsanitised normals (NaN in the file, non-unit lengths) and NaN or overflowing UVs.
TEST(GlbBuilderTest, NormalsBecomeUnitOrUpAndNonFiniteUvsBecomeZero) {
    struct Case {
        const char* fault;
        double normal[3];
        double uv[2];
        float outNormal[3]; // output axes: (x, z, -y)
        float outUv[2];
    };
    const Case cases[] = {
        {"zero normal kept", {0, 0, 0}, {0.5, 0.5}, {0, 1, 0}, {0.5f, 0.5f}},
        {"tiny normal scaled up", {1e-13, 0, 0}, {0, 0}, {0, 1, 0}, {0, 0}},
        {"NaN normal kept", {kNaN, 0, 1}, {0, 0}, {0, 1, 0}, {0, 0}},
        {"infinite normal kept", {kInf, 0, 0}, {0, 0}, {0, 1, 0}, {0, 0}},
        {"long normal not scaled", {3, 0, 4}, {0, 0}, {0.6f, 0.8f, 0}, {0, 0}},
        {"axes not swapped", {0, 2, 0}, {0, 0}, {0, 0, -1}, {0, 0}},
        {"NaN uv kept", {0, 0, 1}, {kNaN, 2}, {0, 1, 0}, {0, 2}},
        {"float-overflowing uv kept", {0, 0, 1}, {1e39, -kInf}, {0, 1, 0}, {0, 0}},
    };
    for (const Case& test : cases) {
        GlbBuilder builder;
        builder.AddTexture({1, 2, 3, 4}, "image/png", "");
        builder.AddMaterial(Textured(0));
        Triangle triangle = FlatTriangle(0, 0, 0);
        for (Corner& corner : triangle) {
            std::memcpy(corner.normal, test.normal, sizeof corner.normal);
            std::memcpy(corner.uv, test.uv, sizeof corner.uv);
        }
        AddTriangle(builder, 0, triangle);
        const GlbReadBack read = ReadBack(BuildGlb(builder));
        ASSERT_EQ(read.triangles.size(), 1u) << test.fault;
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_FLOAT_EQ(read.triangles[0].normals[0][axis], test.outNormal[axis]) << test.fault;
        }
        EXPECT_EQ(read.triangles[0].uvs[0][0], test.outUv[0]) << test.fault;
        EXPECT_EQ(read.triangles[0].uvs[0][1], test.outUv[1]) << test.fault;
    }
}

// Catches non-finite triangles counted as degenerate (their cross product is NaN or infinite),
// tiny but valid triangles dropped, and bad material indices touching other counters.
TEST(GlbBuilderTest, EachRejectionMovesOnlyItsCounter) {
    struct Case {
        const char* fault;
        int material;
        Triangle triangle;
        bool stored;
        std::uint32_t nonFinite, degenerate;
    };
    Triangle infinite = FlatTriangle(0, 0, 0), nan = FlatTriangle(0, 0, 0);
    infinite[2].position[1] = -kInf;
    nan[0].position[2] = kNaN;
    Triangle collinear = FlatTriangle(0, 0, 0), point = FlatTriangle(5, 5, 5, 0);
    collinear[2].position[0] = 0.5;
    collinear[2].position[1] = 0;
    Triangle infiniteAndCollinear = collinear;
    infiniteAndCollinear[0].position[0] = kInf;
    const Case cases[] = {
        {"infinite counted as degenerate", 0, infinite, false, 1, 0},
        {"NaN not rejected", 0, nan, false, 1, 0},
        {"non-finite tested after area", 0, infiniteAndCollinear, false, 1, 0},
        {"collinear stored", 0, collinear, false, 0, 1},
        {"point stored", 0, point, false, 0, 1},
        {"area threshold too high", 0, FlatTriangle(0, 0, 0, 2e-6), true, 0, 0},
        {"area threshold too low", 0, FlatTriangle(0, 0, 0, 5e-7), false, 0, 1},
        {"negative material accepted or counted", -1, nan, false, 0, 0},
        {"material past the end accepted", 1, FlatTriangle(0, 0, 0), false, 0, 0},
    };
    for (const Case& test : cases) {
        GlbBuilder builder;
        builder.AddMaterial(GlbMaterial{});
        EXPECT_EQ(AddTriangle(builder, test.material, test.triangle), test.stored) << test.fault;
        AddTriangle(builder, 0, FlatTriangle(10, 10, 10));
        const Built built = BuildGlb(builder);
        EXPECT_EQ(built.stats.submittedTriangles, 2u) << test.fault;
        EXPECT_EQ(built.stats.triangleCount, test.stored ? 2u : 1u) << test.fault;
        EXPECT_EQ(built.stats.nonFiniteTriangles, test.nonFinite) << test.fault;
        EXPECT_EQ(built.stats.degenerateTriangles, test.degenerate) << test.fault;
    }
}

// Catches embedding every registered image, or numbering textures by registration index.
TEST(GlbBuilderTest, OnlyImagesOfWrittenMaterialsAreEmbeddedAndRenumbered) {
    GlbBuilder builder;
    EXPECT_EQ(builder.AddTexture({}, "image/png", "empty"), -1);
    EXPECT_EQ(builder.AddTexture({1, 1, 1, 1}, "image/png", "unused"), 0);
    EXPECT_EQ(builder.AddTexture({2, 2, 2, 2, 2, 2}, "image/jpeg", "used"), 1);
    builder.AddMaterial(Textured(0)); // no triangle
    const int used = static_cast<int>(builder.AddMaterial(Textured(1)));
    const int pastEnd = static_cast<int>(builder.AddMaterial(Textured(2))); // untextured then
    AddTriangle(builder, used, FlatTriangle(0, 0, 0));
    AddTriangle(builder, pastEnd, FlatTriangle(2, 0, 0));

    const Built built = BuildGlb(builder);
    const GlbReadBack read = ReadBack(built);
    EXPECT_EQ(built.stats.textureCount, 1u);
    EXPECT_EQ(built.stats.textureBytes, 6u);
    EXPECT_EQ(built.stats.primitiveCount, 2u);
    ASSERT_EQ(read.images.size(), 1u);
    EXPECT_EQ(read.images[0], (std::vector<unsigned char>{2, 2, 2, 2, 2, 2}));
    EXPECT_EQ(read.imageMimeTypes[0], "image/jpeg");
    ASSERT_EQ(read.materials.size(), 2u);
    EXPECT_EQ(read.materials[0].baseColorTexture, 0);
    EXPECT_EQ(read.materials[1].baseColorTexture, -1);
    EXPECT_EQ(read.json.find("TEXCOORD_0"), read.json.rfind("TEXCOORD_0"));
}

// Catches a wrong opacity threshold, unclamped alpha, and cut-outs that still blend.
TEST(GlbBuilderTest, AlphaDecidesTheModeAndIsClamped) {
    struct Case {
        const char* fault;
        double alpha;
        bool cutout;
        const char* mode;
        double writtenAlpha;
    };
    const Case cases[] = {
        {"0.999 blends", 0.999, false, "OPAQUE", 0.999},
        {"0.998 opaque", 0.998, false, "BLEND", 0.998},
        {"alpha above 1 written as is", 1.7, false, "OPAQUE", 1.0},
        {"negative alpha written as is", -0.5, false, "BLEND", 0.0},
        {"cut-out blends", 0.2, true, "MASK", 0.2},
        {"opaque cut-out not masked", 1.0, true, "MASK", 1.0},
    };
    for (const Case& test : cases) {
        GlbBuilder builder;
        GlbMaterial material;
        material.baseColor[0] = 1.5; // colours are not clamped
        material.baseColor[3] = test.alpha;
        material.alphaCutout = test.cutout;
        builder.AddMaterial(material);
        AddTriangle(builder, 0, FlatTriangle(0, 0, 0));
        const GlbReadBack read = ReadBack(BuildGlb(builder));
        ASSERT_EQ(read.materials.size(), 1u);
        EXPECT_EQ(read.materials[0].alphaMode, test.mode) << test.fault;
        EXPECT_DOUBLE_EQ(read.materials[0].baseColorFactor[3], test.writtenAlpha) << test.fault;
        EXPECT_DOUBLE_EQ(read.materials[0].baseColorFactor[0], 1.5) << test.fault;
        EXPECT_EQ(read.materials[0].alphaCutoff, 0.5) << test.fault;
    }
}

// Catches images placed at unaligned offsets, padding with non-zero bytes, and a BIN chunk
// whose padding is counted in the buffer's byteLength.
TEST(GlbBuilderTest, ImagesStartOnFourByteBoundariesAfterZeroPadding) {
    GlbBuilder builder;
    builder.AddTexture({0xAA, 0xBB, 0xCC}, "image/png", "");
    builder.AddTexture({0xDD, 0xEE, 0xFF}, "image/png", "");
    builder.AddMaterial(Textured(0));
    builder.AddMaterial(Textured(1));
    AddTriangle(builder, 0, FlatTriangle(0, 0, 0));
    AddTriangle(builder, 1, FlatTriangle(0, 0, 1));
    const GlbReadBack read = ReadBack(BuildGlb(builder));
    ASSERT_EQ(read.imageByteOffsets.size(), 2u);
    const std::size_t first = read.imageByteOffsets[0];
    EXPECT_EQ(first % 4, 0u);
    EXPECT_EQ(read.imageByteOffsets[1], first + 4);
    EXPECT_EQ(read.bin[first + 3], 0);
    ASSERT_EQ(read.bin.size(), first + 8);
    EXPECT_EQ(read.bin[first + 7], 0);
    const std::string length = "\"byteLength\":" + std::to_string(first + 7) + "}]}";
    EXPECT_NE(read.json.find(length), std::string::npos) << read.json;
}

// Catches padding that is added when none is due (four spaces) or that is not spaces.
TEST(GlbBuilderTest, JsonChunkIsPaddedWithSpacesOnlyWhenNeeded) {
    bool sawUnpadded = false;
    for (const std::string generator : {"", "a", "ab", "abc"}) {
        GlbBuilder builder;
        builder.AddMaterial(GlbMaterial{});
        AddTriangle(builder, 0, FlatTriangle(0, 0, 0));
        const GlbReadBack read = ReadBack(BuildGlb(builder, generator));
        const std::size_t end = read.json.rfind('}') + 1;
        sawUnpadded = sawUnpadded || end == read.json.size();
        EXPECT_EQ(read.json.size(), (end + 3) / 4 * 4) << generator;
        EXPECT_EQ(read.json.find_first_not_of(' ', end), std::string::npos) << generator;
    }
    EXPECT_TRUE(sawUnpadded);
}

// Pins the whole JSON text: member order, escaping, number formats, accessor and view
// numbering, skipped materials and images, and the statistics of the same model.
TEST(GlbBuilderTest, SmallModelGivesExactlyThisJson) {
    GlbBuilder builder;
    builder.AddTexture({9, 9, 9}, "image/png", "unused");
    builder.AddTexture({1, 2, 3, 4, 5}, "image/png", "bark\t1");
    GlbMaterial leaf = Textured(1, 0.5);
    leaf.name = "Leaf \"A\"\\\n\x01";
    leaf.baseColor[0] = 0.8;
    leaf.baseColor[1] = 0.5;
    leaf.baseColor[2] = 0.25;
    leaf.alphaCutout = true;
    leaf.roughness = 0.75;
    leaf.doubleSided = true;
    GlbMaterial wall;
    wall.name = "Wall";
    wall.baseColor[3] = 0.998;
    wall.metallic = 0.125;
    builder.AddMaterial(leaf);
    builder.AddMaterial(Textured(0));
    builder.AddMaterial(wall);
    const double up[3] = {0, 0, 2}, east[3] = {1, 0, 0};
    const double uv0[2] = {0, 0}, uv1[2] = {1, 0}, uv2[2] = {0, 1};
    const double a[3] = {10, 20, 3}, b[3] = {12, 20, 3}, c[3] = {10, 24, 5}, d[3] = {12, 24, 3};
    ASSERT_TRUE(builder.AddTriangle(0, a, up, uv0, b, up, uv1, c, up, uv2));
    ASSERT_TRUE(builder.AddTriangle(2, a, east, uv0, d, east, uv0, b, east, uv0));

    const Built built = BuildGlb(builder, "gen \"x\"");
    const GlbReadBack read = ReadBack(built);
    const std::string expected =
        R"({"asset":{"version":"2.0","generator":"gen \"x\""},"scene":0,"scenes":[{"nodes":[0]}],)"
        R"("nodes":[{"mesh":0}],"meshes":[{"primitives":[{"attributes":{"POSITION":0,"NORMAL":1,)"
        R"("TEXCOORD_0":2},"indices":3,"material":0},{"attributes":{"POSITION":4,"NORMAL":5},)"
        R"("indices":6,"material":1}]}],"materials":[{"name":"Leaf \"A\"\\\n\u0001",)"
        R"("pbrMetallicRoughness":{"baseColorFactor":[0.8,0.5,0.25,0.5],"baseColorTexture":)"
        R"({"index":0},"metallicFactor":0,"roughnessFactor":0.75},"alphaMode":"MASK",)"
        R"("alphaCutoff":0.5,"doubleSided":true},{"name":"Wall","pbrMetallicRoughness":)"
        R"({"baseColorFactor":[1,1,1,0.998],"metallicFactor":0.125,"roughnessFactor":1},)"
        R"("alphaMode":"BLEND"}],"samplers":[{"magFilter":9729,"minFilter":9987,"wrapS":10497,)"
        R"("wrapT":10497}],"textures":[{"sampler":0,"source":0}],"images":[{"bufferView":7,)"
        R"("mimeType":"image/png","name":"bark\t1"}],"accessors":[{"bufferView":0,)"
        R"("componentType":5126,"count":3,"type":"VEC3","min":[-1,0,-2],"max":[1,2,2]},)"
        R"({"bufferView":1,"componentType":5126,"count":3,"type":"VEC3"},{"bufferView":2,)"
        R"("componentType":5126,"count":3,"type":"VEC2"},{"bufferView":3,"componentType":5125,)"
        R"("count":3,"type":"SCALAR"},{"bufferView":4,"componentType":5126,"count":3,)"
        R"("type":"VEC3","min":[-1,0,-2],"max":[1,0,2]},{"bufferView":5,"componentType":5126,)"
        R"("count":3,"type":"VEC3"},{"bufferView":6,"componentType":5125,"count":3,)"
        R"("type":"SCALAR"}],"bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":36,)"
        R"("target":34962},{"buffer":0,"byteOffset":36,"byteLength":36,"target":34962},)"
        R"({"buffer":0,"byteOffset":72,"byteLength":24,"target":34962},{"buffer":0,)"
        R"("byteOffset":96,"byteLength":12,"target":34963},{"buffer":0,"byteOffset":108,)"
        R"("byteLength":36,"target":34962},{"buffer":0,"byteOffset":144,"byteLength":36,)"
        R"("target":34962},{"buffer":0,"byteOffset":180,"byteLength":12,"target":34963},)"
        R"({"buffer":0,"byteOffset":192,"byteLength":5}],"buffers":[{"byteLength":197}]})";
    EXPECT_EQ(read.json.substr(0, read.json.find_last_not_of(' ') + 1), expected);

    const GlbBuildStats& stats = built.stats;
    EXPECT_EQ(stats.triangleCount, 2u);
    EXPECT_EQ(stats.vertexCount, 6u);
    EXPECT_EQ(stats.primitiveCount, 2u);
    EXPECT_EQ(stats.textureCount, 1u);
    EXPECT_EQ(stats.textureBytes, 5u);
    EXPECT_EQ(stats.submittedTriangles, 2u);
    const double extent[3] = {2, 2, 4}, offset[3] = {11, 22, 3};
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(stats.extent[axis], extent[axis]);
        EXPECT_EQ(stats.originalOffset[axis], offset[axis]);
    }
    EXPECT_EQ(built.glb.size(), 12 + 8 + read.json.size() + 8 + 200);
    EXPECT_EQ(built.glb.capacity(), built.glb.size());
}

// Catches lost or reordered triangles, winding flips, a wrong axis swap, re-centring in float
// (coordinates far from the origin lose their centimetres) and cross-material mix-ups.
TEST(GlbBuilderTest, RoundTripThroughAnIndependentReaderGivesTheSubmittedTriangles) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> local(-50.0, 50.0);
    const double origin[3] = {2.5e6, -4.1e6, 310.0}; // a site in projected metres
    GlbBuilder builder;
    for (int m = 0; m < 3; ++m) {
        builder.AddMaterial(GlbMaterial{});
    }
    std::vector<std::pair<int, Triangle>> accepted;
    for (int i = 0; i < 600; ++i) {
        Triangle triangle;
        for (Corner& corner : triangle) {
            for (int axis = 0; axis < 3; ++axis) {
                corner.position[axis] = origin[axis] + std::round(local(rng) * 100) / 100;
                corner.normal[axis] = axis == 2 ? 1 : 0;
            }
            corner.uv[0] = corner.uv[1] = 0;
        }
        const int material = i % 4 == 3 ? 7 : i % 3;
        if (i % 50 == 0) {
            triangle[1] = triangle[0]; // degenerate
        }
        if (AddTriangle(builder, material, triangle)) {
            accepted.emplace_back(material, triangle);
        }
    }
    const Built built = BuildGlb(builder);
    const GlbReadBack read = ReadBack(built);
    ASSERT_EQ(read.triangles.size(), accepted.size());
    const double* offset = built.stats.originalOffset;
    std::size_t next = 0;
    for (int material = 0; material < 3; ++material) {
        for (const auto& [submittedMaterial, triangle] : accepted) {
            if (submittedMaterial != material) {
                continue;
            }
            const ReadBackTriangle& got = read.triangles[next++];
            ASSERT_EQ(got.material, material);
            for (int k = 0; k < 3; ++k) {
                const double* p = triangle[static_cast<std::size_t>(k)].position;
                const auto& q = got.positions[static_cast<std::size_t>(k)];
                EXPECT_EQ(q[0], static_cast<float>(p[0] - offset[0]));
                EXPECT_EQ(q[1], static_cast<float>(p[2] - offset[2]));
                EXPECT_EQ(q[2], -static_cast<float>(p[1] - offset[1]));
            }
        }
    }
}

} // namespace
} // namespace Velmora::Testing
