// Element reading against a scripted model: fans, reader failures, texture verdicts, the
// texture budget, attribute colours and the vegetation filter.
#include "Export/ElementTriangles.hpp"
#include "Export/TextureImage.hpp"
#include "export/ScriptedModel.hpp"
#include "support/AddOnTest.hpp"
#include "support/GlbReadBack.hpp"

#include <gmock/gmock.h>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::Invoke;

class ElementTrianglesTest : public AddOnTest {
protected:
    std::vector<TriRec> Read(ScriptElement element, ModelExportOptions options = {}) {
        std::vector<TriRec> tris{TriRec{}}; // a leftover the reader must clear
        footprint = {};
        ReadElementTriangles(MakeElement(std::move(element)), options, builder, cache, tris,
                             footprint, result);
        return tris;
    }

    GlbBuilder builder;
    AppearanceCache cache;
    Footprint footprint;
    ModelExportResult result;
};

// A side x side texture whose first `cut` pixels are transparent.
std::shared_ptr<ScriptTexture> Texture(int cut, int side = 10, bool alpha = true) {
    auto texture = std::make_shared<ScriptTexture>();
    texture->width = texture->height = side;
    texture->alpha = alpha;
    texture->pixels.assign(std::size_t(side) * side, {255, 90, 120, 30});
    for (int i = 0; i < cut; ++i)
        texture->pixels[std::size_t(i)].alpha = 0;
    return texture;
}

ScriptElement Textured(MAPI::Element::Type type, int index, std::shared_ptr<ScriptTexture> t) {
    ScriptElement element = ElementOf(type, FlatQuad(0, 0, 1, 1));
    element.bodies[0].polygons[0].textureIndex = index;
    element.bodies[0].polygons[0].materialIndex = index;
    element.bodies[0].polygons[0].texture = std::move(t);
    return element;
}

// Catches a fan around the wrong corner or in the wrong order, a degenerate part kept, and a
// footprint that misses corners.
TEST_F(ElementTrianglesTest, ConvexPolygonsAreFannedAroundTheirFirstCorner) {
    ScriptBody body;
    body.vertices = {{0, 0, 0}, {2, 0, 0}, {3, 1, 0}, {1, 3, 0}, {-1, 1, 0}, {9, 9, 9}};
    body.polygons[0].convex = {{1, 2, 3, 4, 5}, {1, 6}};
    std::vector<TriRec> const tris = Read(ElementOf(MAPI::Element::SlabElement, body));
    ASSERT_EQ(tris.size(), 3u);
    int const expected[3][3] = {{1, 2, 3}, {1, 3, 4}, {1, 4, 5}};
    for (int t = 0; t < 3; ++t)
        for (int c = 0; c < 3; ++c) {
            // The scripted normal's z is the corner number; the scripted UV is its x, y.
            EXPECT_EQ(tris[t].normal[c][2], expected[t][c]) << t << "," << c;
            MAPI::Vertex const& v = body.vertices[std::size_t(expected[t][c]) - 1];
            EXPECT_EQ(tris[t].position[c][0], v.x);
            EXPECT_EQ(tris[t].uv[c][1], v.y);
        }
    EXPECT_EQ(footprint.minX, -1);
    EXPECT_EQ(footprint.maxY, 3);
}

// Catches a failure that ends the element instead of one body or polygon, a half-read
// polygon left in the list, a UV failure that drops its polygon, and no mesh-body fallback.
TEST_F(ElementTrianglesTest, ReaderFailuresAreCountedWhereTheyHappenAndTheRestIsKept) {
    ScriptElement element = ElementOf(MAPI::Element::WallElement, FlatQuad(0, 0, 1, 1));
    element.bodies[0].throwOnFetch = true;
    element.bodies.push_back(FlatQuad(0, 0, 1, 1, 1.0));
    ScriptBody halfRead = FlatQuad(0, 0, 1, 1, 2.0);
    halfRead.polygons[0].convex = {{1, 2, 3}, {1, 3, 4}};
    halfRead.polygons[0].throwOnConvex = true;
    halfRead.polygons.push_back(halfRead.polygons[0]);
    halfRead.polygons[1].throwOnConvex = false;
    halfRead.polygons[1].throwOnUv = true;
    element.bodies.push_back(halfRead);
    std::vector<TriRec> const tris = Read(element);
    EXPECT_EQ(result.bodyExceptions, 1u);
    EXPECT_EQ(result.polygonExceptions, 1u);
    ASSERT_EQ(tris.size(), 4u); // body 2's quad and the second polygon of body 3
    EXPECT_EQ(tris[2].position[0][2], 2.0);
    EXPECT_EQ(tris[2].uv[1][0], 0.0);
    element.meshBodies = true;
    EXPECT_EQ(Read(element).size(), 4u);
}

// Catches either threshold moved by one step (> against >=), the bump-map verdict not
// taking precedence, and alpha kept without an alpha channel.
TEST_F(ElementTrianglesTest, AlphaStatisticsDecideWhetherATextureIsACutout) {
    struct Case {
        int cut, mid; // pixels of 10000
        bool alphaChannel, cutout;
    } const cases[] = {
        {10, 0, true, false},      // exactly 0.1 % cut is not above it
        {11, 0, true, true},       // just above
        {3000, 1001, true, false}, // over 10 % mid-tone: a bump map
        {3000, 1000, true, true},  // exactly 10 % mid-tone is still a mask
        {3000, 0, false, false},   // no alpha channel
    };
    int index = 1;
    for (Case const& c : cases) {
        auto texture = Texture(c.cut, 100, c.alphaChannel);
        for (int i = 0; i < c.mid; ++i)
            texture->pixels[std::size_t(5000 + i)].alpha = std::uint8_t(i % 2 == 0 ? 17 : 239);
        Read(Textured(MAPI::Element::WallElement, index, texture));
        EXPECT_GE(cache.textures.at(index).imageIndex, 0);
        EXPECT_EQ(cache.textures.at(index).cutout, c.cutout) << c.cut << "/" << c.mid;
        ++index;
    }
}

// Catches a floor factor instead of the ceiling, the limit off by one, and a block mean
// that rounds instead of truncating.
TEST(TextureImageTest, DownscaleUsesTheCeilingFactorAndTruncatedBlockMeans) {
    struct Case {
        int w, h, outW, outH;
    } const cases[] = {{4096, 1000, 1024, 250},
                       {1025, 1025, 512, 512},
                       {1024, 1024, 1024, 1024},
                       {3000, 2, 1000, 1}};
    for (Case const c : cases) {
        RgbaImage const small =
            DownscaleToLimit({std::vector<unsigned char>(std::size_t(c.w) * c.h * 4, 9), c.w, c.h});
        EXPECT_EQ(std::make_pair(small.width, small.height), std::make_pair(c.outW, c.outH));
    }
    RgbaImage image{std::vector<unsigned char>(1025 * 2 * 4, 0), 1025, 2};
    image.pixels[4] = 3;
    EXPECT_EQ(DownscaleToLimit(image).pixels[0], 0); // (0 + 3 + 0 + 0) / 4
}

// Catches a budget not checked before loading, a skipped texture retried, and a texture
// already loaded losing its image once the budget is spent.
TEST_F(ElementTrianglesTest, TexturesPastTheSixtyMebibyteBudgetAreSkippedOnce) {
    Read(Textured(MAPI::Element::WallElement, 1, Texture(0)));
    cache.textureBytes = 62914560 - 1; // just under 60 MiB: one more loads
    Read(Textured(MAPI::Element::WallElement, 2, Texture(0)));
    EXPECT_GE(cache.textures.at(2).imageIndex, 0);
    cache.textureBytes = 62914560; // spent
    Read(Textured(MAPI::Element::WallElement, 3, Texture(0)));
    ScriptElement again = Textured(MAPI::Element::WallElement, 3, Texture(0));
    again.bodies[0].polygons[0].materialIndex = 4;
    Read(again);
    EXPECT_EQ(cache.textures.at(3).imageIndex, -1);
    EXPECT_EQ(cache.skippedTextures, 1u);
    Read(Textured(MAPI::Element::WallElement, 1, Texture(0)));
    EXPECT_GE(cache.textures.at(1).imageIndex, 0);
}

// Catches the modeller's colour used although the material attribute exists, and the
// attribute's transparency not taken from percent.
TEST_F(ElementTrianglesTest, TheMaterialAttributeColourWins) {
    ON_CALL(host.attribute, Search(_)).WillByDefault(Invoke([](Host::API_Attr_Head* h) {
        h->index = 7;
        return h->name == "Brick" ? Host::Error::NoError : Host::Error::BadName;
    }));
    ON_CALL(host.attribute, Get(_)).WillByDefault(Invoke([](Host::API_Attribute* a) {
        a->material.surfaceRGB = {0.25, 0.5, 0.75};
        a->material.transpPc = 50;
        return Host::Error::NoError;
    }));
    ScriptElement element = ElementOf(MAPI::Element::WallElement, FlatQuad(0, 0, 1, 1));
    element.bodies[0].polygons[0].materialName = "Brick";
    element.bodies[0].polygons[0].color = {0.9, 0.9, 0.9};
    element.bodies.push_back(FlatQuad(0, 0, 1, 1, 1)); // "Plain": no attribute
    element.bodies[1].polygons[0].materialIndex = 2;
    TypeStat stat;
    EmitTriangles(Read(element), builder, stat);
    GlbReadBack file;
    std::vector<unsigned char> glb;
    GlbBuildStats stats;
    std::string problem;
    ASSERT_TRUE(builder.Build("t", glb, stats, problem) && ReadBackGlb(glb, file, problem));
    ASSERT_EQ(file.materials.size(), 2u);
    EXPECT_EQ(file.materials[0].baseColorFactor, (std::array<double, 4>{0.25, 0.5, 0.75, 0.5}));
    EXPECT_DOUBLE_EQ(file.materials[1].baseColorFactor[0], 0.5);
}

// Catches the filter applied to other element types, to opaque textures, or when it is off.
TEST_F(ElementTrianglesTest, VegetationFilterDropsOnlyCutoutPolygonsOfObjects) {
    auto const leaf = Texture(40);
    ModelExportOptions off;
    off.excludeVegetation = false;
    EXPECT_TRUE(Read(Textured(MAPI::Element::ObjectElement, 1, leaf)).empty());
    EXPECT_EQ(Read(Textured(MAPI::Element::ObjectElement, 1, leaf), off).size(), 2u);
    EXPECT_EQ(Read(Textured(MAPI::Element::WallElement, 1, leaf)).size(), 2u);
    EXPECT_EQ(Read(Textured(MAPI::Element::ObjectElement, 2, Texture(0))).size(), 2u);
    EXPECT_EQ(result.vegetationPolysSkipped, 1u);
}

} // namespace
} // namespace Velmora::Testing
