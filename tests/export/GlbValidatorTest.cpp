// Files written by the .glb writer pass the Khronos glTF validator with no error and no warning.
#include "support/GlbValidator.hpp"
#include "export/GlbTestScenes.hpp"

#include "Extract/PngEncoder.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>

namespace Velmora::Testing {
namespace {

// An RGBA leaf: opaque green inside an ellipse, fully transparent outside.
std::vector<unsigned char> LeafPng(int width, int height) {
    std::vector<unsigned char> pixels;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double dx = (x + 0.5) / width - 0.5, dy = (y + 0.5) / height - 0.5;
            const bool inside = dx * dx * 4 + dy * dy * 4 < 1.0;
            pixels.insert(pixels.end(), {static_cast<unsigned char>(40 + x % 50),
                                         static_cast<unsigned char>(120 + y % 100), 30,
                                         static_cast<unsigned char>(inside ? 255 : 0)});
        }
    }
    std::vector<unsigned char> png;
    EncodeImageToPng(pixels, width, height, 4, png);
    return png;
}

// Two crossed quads facing both ways, as trees are drawn.
void AddBillboard(GlbBuilder& builder, int material, double x, double y) {
    const double n1[3] = {0, -1, 0}, n2[3] = {1, 0, 0};
    const double uv[4][2] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
    for (const double* normal : {n1, n2}) {
        const double dx = normal == n1 ? 1.0 : 0.0, dy = normal == n1 ? 0.0 : 1.0;
        const double p[4][3] = {
            {x - dx, y - dy, 0}, {x + dx, y + dy, 0}, {x + dx, y + dy, 4}, {x - dx, y - dy, 4}};
        builder.AddTriangle(material, p[0], normal, uv[0], p[1], normal, uv[1], p[2], normal,
                            uv[2]);
        builder.AddTriangle(material, p[0], normal, uv[0], p[2], normal, uv[2], p[3], normal,
                            uv[3]);
    }
}

GlbBuilder TexturedScene() {
    GlbBuilder builder;
    const int leaf = builder.AddTexture(LeafPng(64, 64), "image/png", "leaf");
    const int oddLeaf = builder.AddTexture(LeafPng(7, 5), "image/png", "small leaf");
    builder.AddTexture(LeafPng(3, 3), "image/png", "never used");
    GlbMaterial cutout;
    cutout.alphaCutout = true;
    cutout.doubleSided = true;
    cutout.baseColorTexture = leaf;
    cutout.name = "Tree";
    const int trees = static_cast<int>(builder.AddMaterial(cutout));
    cutout.baseColorTexture = oddLeaf;
    cutout.name = "Shrub \"small\"";
    const int shrubs = static_cast<int>(builder.AddMaterial(cutout));
    GlbMaterial ground;
    ground.baseColor[1] = 0.6;
    const int groundMaterial = static_cast<int>(builder.AddMaterial(ground));
    for (int i = 0; i < 20; ++i) {
        AddBillboard(builder, i % 2 == 0 ? trees : shrubs, 3.0 * i, 1.5 * (i % 5));
    }
    AddTriangle(builder, groundMaterial, FlatTriangle(-10, -10, 0, 80));
    return builder;
}

// A terrain grid split over many materials (some textured, some transparent), with NaN,
// infinite and degenerate triangles mixed in, far from the origin.
GlbBuilder StressScene(int side) {
    GlbBuilder builder;
    const int texture = builder.AddTexture(LeafPng(16, 16), "image/png", "");
    for (int m = 0; m < 120; ++m) {
        GlbMaterial material;
        material.baseColor[0] = (m % 10) / 9.0;
        material.baseColor[3] = m % 7 == 0 ? 0.5 : 1.0;
        material.baseColorTexture = m % 5 == 0 ? texture : -1;
        material.alphaCutout = m % 10 == 0;
        builder.AddMaterial(material);
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const auto height = [](int x, int y) { return 5.0 * std::sin(x * 0.05) * std::cos(y * 0.07); };
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            const int material = (x / 16 + y / 16 * 7) % 120;
            Corner c[4];
            const int corners[4][2] = {{x, y}, {x + 1, y}, {x + 1, y + 1}, {x, y + 1}};
            for (int k = 0; k < 4; ++k) {
                const int cx = corners[k][0], cy = corners[k][1];
                c[k] = {{6.1e5 + cx * 0.5, 5.2e6 + cy * 0.5, 120 + height(cx, cy)},
                        {-std::cos(cx * 0.05) * 0.25, std::sin(cy * 0.07) * 0.35, 1},
                        {cx / 8.0, cy / 8.0}};
            }
            if ((x + y) % 97 == 0) {
                c[2].position[1] = nan;
            } else if ((x * y) % 89 == 1) {
                c[2] = c[0];
            }
            AddTriangle(builder, material, {c[0], c[1], c[2]});
            AddTriangle(builder, material, {c[0], c[2], c[3]});
        }
    }
    return builder;
}

std::string WriteFile(const std::string& name, const std::vector<unsigned char>& bytes) {
    const std::string path = testing::TempDir() + name;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return path;
}

// Catches anything the glTF specification forbids or warns about that our own checks miss:
// accessor bounds, normal lengths, alpha modes, image embedding, buffer alignment.
TEST(GlbValidatorTest, TexturedCutoutSceneAndStressSceneAreClean) {
    if (!GltfValidatorInstalled()) {
        GTEST_SKIP() << "tools/js has no node_modules (tools/setup.sh installs them)";
    }
    const Built textured = BuildGlb(TexturedScene());
    ASSERT_TRUE(textured.ok) << textured.error;
    EXPECT_EQ(textured.stats.textureCount, 2u);
    const Built stress = BuildGlb(StressScene(400));
    ASSERT_TRUE(stress.ok) << stress.error;
    EXPECT_GT(stress.stats.triangleCount, 300000u);
    EXPECT_GT(stress.stats.nonFiniteTriangles, 0u);
    EXPECT_GT(stress.stats.degenerateTriangles, 0u);

    std::string report;
    const bool clean = ValidateGlbFiles({WriteFile("velmora_textured.glb", textured.glb),
                                         WriteFile("velmora_stress.glb", stress.glb)},
                                        report);
    EXPECT_TRUE(clean) << report;
}

} // namespace
} // namespace Velmora::Testing
