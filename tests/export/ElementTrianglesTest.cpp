// Element reading against a scripted model: fans, reader failures, textures, colours, the
// vegetation filter. Logs are checked where the log line is the behaviour.
#include "Export/ElementTriangles.hpp"
#include "Export/TextureImage.hpp"
#include "Logger.hpp"
#include "export/ScriptedModel.hpp"
#include "support/AddOnTest.hpp"

#include <gmock/gmock.h>

#include <sstream>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::HasSubstr;
using testing::Invoke;
using testing::Not;
using testing::Return;

class ElementTrianglesTest : public AddOnTest {
protected:
    ElementTrianglesTest() { Logger::Get().Init(); }

    std::vector<TriRec> Read(ScriptElement element, ModelExportOptions options = {}) {
        std::vector<TriRec> tris{TriRec{}}; // a leftover the reader must clear
        footprint = {};
        ReadElementTriangles(MakeElement(std::make_shared<ScriptElement>(std::move(element))),
                             options, builder, cache, tris, footprint, result);
        return tris;
    }

    // Material attributes by name: each answers with its colour and transparency (percent).
    void ScriptAttributes(std::map<std::string, std::pair<Host::API_RGBColor, short>> table) {
        attributes = std::move(table);
        ON_CALL(host.attribute, Search(_)).WillByDefault(Invoke([this](Host::API_Attr_Head* h) {
            auto const found = attributes.find(h->name);
            if (h->typeID != Host::API_MaterialID || found == attributes.end())
                return Host::Error::BadName;
            h->index = Host::Int32(std::distance(attributes.begin(), found)) + 1;
            return Host::Error::NoError;
        }));
        ON_CALL(host.attribute, Get(_)).WillByDefault(Invoke([this](Host::API_Attribute* a) {
            auto found = attributes.begin();
            std::advance(found, a->header.index - 1);
            a->material.surfaceRGB = found->second.first;
            a->material.transpPc = found->second.second;
            return Host::Error::NoError;
        }));
    }

    // The log line that contains `text`, without its timestamp; empty when there is none.
    std::string LogLine(std::string const& text) const {
        std::istringstream log(LogText());
        for (std::string line; std::getline(log, line);)
            if (line.find(text) != std::string::npos)
                return line.substr(line.find("ModelExport:"));
        return {};
    }

    GlbBuilder builder;
    AppearanceCache cache;
    Footprint footprint;
    ModelExportResult result;
    std::map<std::string, std::pair<Host::API_RGBColor, short>> attributes;
};

std::shared_ptr<ScriptTexture> Texture(int w, int h, bool alpha,
                                       std::vector<MAPI::ARGBPixel> pixels = {}) {
    auto texture = std::make_shared<ScriptTexture>();
    texture->width = w;
    texture->height = h;
    texture->alpha = alpha;
    texture->pixels = pixels.empty()
                          ? std::vector<MAPI::ARGBPixel>(std::size_t(w) * h, {255, 90, 120, 30})
                          : std::move(pixels);
    return texture;
}

ScriptElement Textured(MAPI::Element::Type type, int textureIndex,
                       std::shared_ptr<ScriptTexture> texture, int materialIndex = 1) {
    ScriptElement element = ElementOf(type, FlatQuad(0, 0, 1, 1));
    element.bodies[0].polygons[0].textureIndex = textureIndex;
    element.bodies[0].polygons[0].texture = std::move(texture);
    element.bodies[0].polygons[0].materialIndex = materialIndex;
    return element;
}

// Catches a fan around the wrong corner or in the wrong order, and a degenerate part kept.
TEST_F(ElementTrianglesTest, ConvexPolygonsAreFannedAroundTheirFirstCorner) {
    ScriptBody body;
    body.vertices = {{0, 0, 0}, {2, 0, 0}, {3, 1, 0}, {1, 3, 0}, {-1, 1, 0}, {9, 9, 9}};
    body.polygons.push_back(ScriptPolygon{});
    body.polygons[0].convex = {{1, 2, 3, 4, 5}, {1, 6}};
    std::vector<TriRec> const tris = Read(ElementOf(MAPI::Element::SlabElement, body));
    ASSERT_EQ(tris.size(), 3u);
    int const expected[3][3] = {{1, 2, 3}, {1, 3, 4}, {1, 4, 5}};
    for (int t = 0; t < 3; ++t)
        for (int c = 0; c < 3; ++c) {
            // The scripted normal's z is the corner number within the convex polygon.
            EXPECT_EQ(tris[t].normal[c][2], expected[t][c]) << t << "," << c;
            MAPI::Vertex const& v = body.vertices[std::size_t(expected[t][c]) - 1];
            EXPECT_EQ(tris[t].position[c][0], v.x);
            EXPECT_EQ(tris[t].uv[c][1], v.y); // the scripted UV is the corner's x, y
        }
    EXPECT_EQ(footprint.minX, -1);
    EXPECT_EQ(footprint.maxY, 3);
    EXPECT_EQ(tris[0].material, 0);
}

// Catches a failure that ends the element (or the export) instead of one body or polygon,
// a half-read polygon left in the list, and a UV failure that drops its polygon.
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
    EXPECT_EQ(tris[2].uv[1][1], 0.0);

    element.meshBodies = true; // no tessellated body: the mesh bodies are read instead
    EXPECT_EQ(Read(element).size(), 4u);
}

// Catches thresholds moved by one step, the wrong verdict taking precedence, and alpha kept
// for a texture that is not a cut-out.
TEST_F(ElementTrianglesTest, AlphaStatisticsDecideBetweenCutoutOpaqueAndBumpMap) {
    struct Case {
        int cutPixels, midPixels; // of 10000
        bool alphaChannel;
        const char* verdict;
        bool cutout;
    };
    Case const cases[] = {
        {5, 0, true, "opaque, alpha dropped", false},         // 0.05 % is not above 0.1 %
        {20, 0, true, "CUTOUT", true},                        // 0.2 %
        {3000, 1500, true, "bump map, alpha dropped", false}, // 15 % mid-tone wins
        {3000, 1000, true, "CUTOUT", true},                   // 10 % mid-tone is still a mask
        {3000, 0, false, nullptr, false},                     // no alpha channel: no line
    };
    int textureIndex = 1;
    for (Case const& c : cases) {
        std::vector<MAPI::ARGBPixel> pixels(10000, {255, 10, 20, 30});
        for (int i = 0; i < c.cutPixels; ++i)
            pixels[std::size_t(i)].alpha = std::uint8_t(i % 2 == 0 ? 0 : 16);
        for (int i = 0; i < c.midPixels; ++i)
            pixels[std::size_t(5000 + i)].alpha = std::uint8_t(i % 2 == 0 ? 17 : 239);
        auto texture = Texture(100, 100, c.alphaChannel, pixels);
        texture->name = "t" + std::to_string(textureIndex);
        Read(Textured(MAPI::Element::WallElement, textureIndex, texture, textureIndex));
        TextureEntry const entry = cache.textures.at(textureIndex);
        EXPECT_GE(entry.imageIndex, 0);
        EXPECT_EQ(entry.cutout, c.cutout) << texture->name;
        EXPECT_EQ(cache.IsCutout(std::uint32_t(textureIndex - 1)), c.cutout);
        if (c.verdict != nullptr)
            EXPECT_THAT(LogLine("texture '" + texture->name + "' 100x100 alpha: "),
                        testing::EndsWith(std::string("-> ") + c.verdict));
        else
            EXPECT_EQ(LogLine("texture '" + texture->name + "'"), "");
        ++textureIndex;
    }
    EXPECT_THAT(LogLine("texture 't2'"), HasSubstr("alpha: 0.2% cut, 0.0% mid-tone -> CUTOUT"));
    std::vector<unsigned char> const rgba = ToRgba({{7, 1, 2, 3}}, false);
    EXPECT_EQ(rgba, (std::vector<unsigned char>{1, 2, 3, 255}));
}

// Catches a wrong factor (rounding instead of ceiling), the limit off by one, and a mean
// that rounds instead of truncating or reads outside the image.
TEST(TextureImageTest, DownscaleUsesTheCeilingFactorAndTruncatedBlockMeans) {
    struct Case {
        int w, h, outW, outH;
    };
    for (Case const c : {Case{4096, 1000, 1024, 250}, Case{1025, 1025, 512, 512},
                         Case{1024, 1024, 1024, 1024}, Case{3000, 2, 1000, 1}}) {
        RgbaImage image{std::vector<unsigned char>(std::size_t(c.w) * c.h * 4, 9), c.w, c.h};
        RgbaImage const small = DownscaleToLimit(std::move(image));
        EXPECT_EQ(small.width, c.outW) << c.w;
        EXPECT_EQ(small.height, c.outH) << c.w;
        EXPECT_EQ(small.pixels.size(), std::size_t(c.outW) * c.outH * 4);
    }
    // 1025 wide, factor 2: the first block averages 0 and 3 to 1 (truncated).
    RgbaImage image{std::vector<unsigned char>(1025 * 2 * 4, 0), 1025, 2};
    image.pixels[4] = 3;
    image.pixels[1025 * 4 + 4] = 0;
    EXPECT_EQ(DownscaleToLimit(image).pixels[0], 0); // (0 + 3 + 0 + 0) / 4
    image.pixels[0] = 1;
    EXPECT_EQ(DownscaleToLimit(image).pixels[0], 1); // 4 / 4
}

// Catches a budget that is not checked before loading, a skipped texture retried, and a
// texture already loaded losing its image once the budget is spent.
TEST_F(ElementTrianglesTest, TexturesPastTheSixtyMebibyteBudgetAreSkippedOnce) {
    Read(Textured(MAPI::Element::WallElement, 1, Texture(8, 8, false), 1));
    ASSERT_GE(cache.textures.at(1).imageIndex, 0);
    cache.textureBytes = AppearanceCache::kTextureBudgetBytes - 1; // under: one more loads
    Read(Textured(MAPI::Element::WallElement, 2, Texture(8, 8, false), 2));
    EXPECT_GE(cache.textures.at(2).imageIndex, 0);
    EXPECT_GE(cache.textureBytes, AppearanceCache::kTextureBudgetBytes);
    Read(Textured(MAPI::Element::WallElement, 3, Texture(8, 8, false), 3));
    Read(Textured(MAPI::Element::WallElement, 3, Texture(8, 8, false), 4));
    EXPECT_EQ(cache.textures.at(3).imageIndex, -1);
    EXPECT_EQ(cache.skippedTextures, 1u);
    Read(Textured(MAPI::Element::WallElement, 1, Texture(8, 8, false), 5));
    EXPECT_GE(cache.textures.at(1).imageIndex, 0);
    // Too large a pixel map fails without reading it.
    Read(Textured(MAPI::Element::WallElement, 9, Texture(8193, 8192, false, {{}}), 6));
    EXPECT_EQ(cache.textures.at(9).imageIndex, -1);
}

// Catches a sixth line logged, a difference not counted, and the modeller's colour used
// when the attribute exists.
TEST_F(ElementTrianglesTest, AttributeColoursWinAndOnlyFiveDifferencesAreLogged) {
    std::map<std::string, std::pair<Host::API_RGBColor, short>> table;
    for (int i = 1; i <= 7; ++i)
        table["M" + std::to_string(i)] = {{0.2, 0.3, 0.4}, short(i == 7 ? 0 : 50)};
    ScriptAttributes(table);
    for (int i = 1; i <= 8; ++i) {
        ScriptElement element = ElementOf(MAPI::Element::WallElement, FlatQuad(0, 0, 1, 1));
        ScriptPolygon& polygon = element.bodies[0].polygons[0];
        polygon.materialIndex = i;
        polygon.materialName = "M" + std::to_string(i); // M8 has no attribute
        polygon.color = i == 7 ? MAPI::Color{0.205, 0.3, 0.4} : MAPI::Color{0.9, 0.3, 0.4};
        Read(element);
    }
    EXPECT_EQ(cache.attributeColours, 7u);
    EXPECT_EQ(cache.differingColours, 6u);
    std::string const log = LogText();
    EXPECT_THAT(log, HasSubstr("ModelExport:   material 'M1' from its attribute (0.20 0.30 0.40, "
                               "transparency 0.50); ModelerAPI gave (0.90 0.30 0.40, 0.00)"));
    EXPECT_THAT(log, HasSubstr("material 'M5' from"));
    EXPECT_THAT(log, Not(HasSubstr("material 'M6' from")));
    EXPECT_THAT(log, Not(HasSubstr("material 'M7' from")));
}

// Catches the filter applied to other element types, to opaque textures, or when it is off.
TEST_F(ElementTrianglesTest, VegetationFilterDropsOnlyCutoutPolygonsOfObjects) {
    std::vector<MAPI::ARGBPixel> leaf(100, {255, 20, 120, 20});
    for (int i = 0; i < 40; ++i)
        leaf[std::size_t(i)].alpha = 0;
    auto const texture = Texture(10, 10, true, leaf);
    ModelExportOptions const on;
    ModelExportOptions off;
    off.excludeVegetation = false;
    EXPECT_TRUE(Read(Textured(MAPI::Element::ObjectElement, 1, texture), on).empty());
    EXPECT_EQ(result.vegetationPolysSkipped, 1u);
    EXPECT_EQ(Read(Textured(MAPI::Element::ObjectElement, 1, texture), off).size(), 2u);
    EXPECT_EQ(Read(Textured(MAPI::Element::WallElement, 1, texture), on).size(), 2u);
    EXPECT_EQ(Read(Textured(MAPI::Element::ObjectElement, 2, Texture(4, 4, true), 2), on).size(),
              2u);
    EXPECT_EQ(result.vegetationPolysSkipped, 1u);
}

} // namespace
} // namespace Velmora::Testing
