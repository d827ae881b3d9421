// The .glb writer: dedupe, sanitising, counters, materials, images and their alignment.
// Whole files are read back and validated by the end-to-end export tests.
#include "Export/GlbBuilder.hpp"
#include "support/GlbReadBack.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

namespace Velmora::Testing {
namespace {

struct Corner {
    double position[3];
    double normal[3];
    double uv[2];
};
using Triangle = std::array<Corner, 3>;

bool AddTriangle(GlbBuilder& builder, int material, const Triangle& t) {
    return builder.AddTriangle(material, t[0].position, t[0].normal, t[0].uv, t[1].position,
                               t[1].normal, t[1].uv, t[2].position, t[2].normal, t[2].uv);
}

// A right triangle of side `size` in the host's XY plane with its corner at (x, y, z), facing up.
Triangle FlatTriangle(double x, double y, double z, double size = 1.0) {
    return {{{{x, y, z}, {0, 0, 1}, {0, 0}},
             {{x + size, y, z}, {0, 0, 1}, {1, 0}},
             {{x, y + size, z}, {0, 0, 1}, {0, 1}}}};
}

struct Built {
    bool ok = false;
    std::vector<unsigned char> glb;
    GlbBuildStats stats;
    std::string error;
};

Built BuildGlb(const GlbBuilder& builder, const std::string& generator = "test") {
    Built built;
    built.ok = builder.Build(generator, built.glb, built.stats, built.error);
    return built;
}

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

// Catches a writer that emits an empty or header-only file instead of failing, and stale
// output left in place.
TEST(GlbBuilderTest, NothingAcceptedFailsWithTheMessage) {
    GlbBuilder none, noMaterial;
    none.AddMaterial(GlbMaterial{});
    AddTriangle(noMaterial, 0, FlatTriangle(0, 0, 0));
    for (const GlbBuilder* builder : {&none, &noMaterial}) {
        Built built;
        built.glb = {1, 2, 3};
        built.ok = builder->Build("g", built.glb, built.stats, built.error);
        EXPECT_FALSE(built.ok);
        EXPECT_EQ(built.error, "no triangles to export");
        EXPECT_TRUE(built.glb.empty());
    }
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

// Catches re-centring in float (a site far from the origin loses its centimetres), an
// offset that does not put the lowest point at height 0, wrong axes, and JSON padding added
// when none is due (four spaces) or made of anything but spaces.
TEST(GlbBuilderTest, FarSitesAreRecentredInDoubleAndTheJsonIsPaddedOnlyWhenDue) {
    const double x = 2.5e6 + 0.013, y = -4.1e6 + 0.031, z = 310.07; // projected metres
    Triangle far = FlatTriangle(x, y, z, 0.37);
    far[2].position[2] = z + 1;
    bool sawUnpadded = false;
    for (const std::string generator : {"", "a", "ab", "abc"}) {
        GlbBuilder builder;
        builder.AddMaterial(GlbMaterial{});
        AddTriangle(builder, 0, far);
        const Built built = BuildGlb(builder, generator);
        const GlbReadBack read = ReadBack(built);
        const double* offset = built.stats.originalOffset;
        EXPECT_DOUBLE_EQ(offset[0], x + 0.185);
        EXPECT_DOUBLE_EQ(offset[1], y + 0.185);
        EXPECT_DOUBLE_EQ(offset[2], z);
        ASSERT_EQ(read.triangles.size(), 1u);
        for (std::size_t k = 0; k < 3; ++k) {
            const double* p = far[k].position;
            const auto& q = read.triangles[0].positions[k];
            EXPECT_EQ(q[0], static_cast<float>(p[0] - offset[0]));
            EXPECT_EQ(q[1], static_cast<float>(p[2] - offset[2]));
            EXPECT_EQ(q[2], -static_cast<float>(p[1] - offset[1]));
        }
        const std::size_t end = read.json.rfind('}') + 1;
        sawUnpadded = sawUnpadded || end == read.json.size();
        EXPECT_EQ(read.json.size(), (end + 3) / 4 * 4) << generator;
        EXPECT_EQ(read.json.find_first_not_of(' ', end), std::string::npos) << generator;
    }
    EXPECT_TRUE(sawUnpadded);
}

} // namespace
} // namespace Velmora::Testing
