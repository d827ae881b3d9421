// The simulated project: sights, element lists and model generation refuse what the host
// refuses, and the sample building gives the walker every case it must handle.
#include "Sim/SimProject.hpp"
#include "Sim/SampleScene.hpp"
#include "Sim/SceneLoader.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <thread>

namespace Velmora::Testing {
namespace {

namespace M = Host::ModelerAPI;
using Host::Error::BadId;
using Host::Error::BadIndex;
using Host::Error::BadName;
using Host::Error::BadPars;
using Host::Error::General;
using Host::Error::NoError;
using Host::Error::RefusedCmd;

constexpr Host::API_ElemFilterFlags kIn3D = Host::ElemFilter::APIFilt_In3D;
constexpr Host::API_ElemFilterFlags kVisibleIn3D = kIn3D | Host::ElemFilter::APIFilt_OnVisLayer;

struct ModelTally {
    std::map<M::Element::Type, int> elements;
    std::map<M::Element::Type, long long> triangles;
    long long total = 0;
};

class SimProjectTest : public testing::Test {
protected:
    SimProjectTest() {
        std::string error;
        auto scene = Sim::LoadSampleScene(error);
        EXPECT_TRUE(scene) << error;
        project.Open(std::make_shared<Sim::Scene const>(std::move(*scene)));
    }

    std::vector<Host::API_Guid> List(Host::API_ElemFilterFlags filter,
                                     Host::API_ElemTypeID type = Host::API_ZombieElemID) {
        std::vector<Host::API_Guid> list;
        EXPECT_EQ(project.GetElemList(Host::API_ElemType{type, 0, {}}, &list, filter), NoError);
        return list;
    }
    Host::API_Guid GuidOf(std::string const& id) const {
        for (auto const& element : project.OpenScene()->elements)
            if (element.id == id)
                return element.guid;
        ADD_FAILURE() << "no element " << id;
        return {};
    }
    // Creates and selects a sight and generates the model of the visible 3D elements.
    M::Model GenerateVisible() {
        void* sight = nullptr;
        EXPECT_EQ(project.CreateSight(&sight), NoError);
        EXPECT_EQ(project.SelectSight(sight, nullptr), NoError);
        EXPECT_EQ(project.GenerateModelWithSeparateComponents(List(kVisibleIn3D)), NoError);
        M::Model model;
        EXPECT_EQ(project.GetSelectedSightModel(model), NoError);
        return model;
    }

    Sim::CallLog calls{std::this_thread::get_id()};
    Sim::AddOnLifecycle addOn{calls};
    Sim::SimProject project{calls, addOn};
};

// Fan-triangulates the whole model the way the walker does, checking what it relies on.
ModelTally Walk(M::Model const& model) {
    ModelTally tally;
    for (Host::Int32 e = 1; e <= model.GetElementCount(); ++e) {
        M::Element element;
        model.GetElement(e, &element);
        ++tally.elements[element.GetType()];
        for (Host::Int32 b = 1; b <= element.GetTessellatedBodyCount(); ++b) {
            M::MeshBody body;
            element.GetTessellatedBody(b, &body);
            for (Host::Int32 p = 1; p <= body.GetPolygonCount(); ++p) {
                M::Polygon polygon;
                body.GetPolygon(p, &polygon);
                for (Host::Int32 c = 1; c <= polygon.GetConvexPolygonCount(); ++c) {
                    M::ConvexPolygon convex;
                    polygon.GetConvexPolygon(c, &convex);
                    for (Host::Int32 v = 1; v <= convex.GetVertexCount(); ++v) {
                        M::Vector const n = convex.GetNormalVectorByVertex(v);
                        EXPECT_NEAR(n.x * n.x + n.y * n.y + n.z * n.z, 1.0, 1e-9);
                        Host::Int32 const index = convex.GetVertexIndex(v);
                        EXPECT_TRUE(index >= 1 && index <= body.GetVertexCount());
                    }
                    long long const tris = std::max(0, convex.GetVertexCount() - 2);
                    tally.triangles[element.GetType()] += tris;
                    tally.total += tris;
                }
            }
        }
    }
    return tally;
}

// Each row is a refusal the add-on's export has to survive; a simulator that allowed it
// would hide a missing step (create, select, generate) or a double delete.
TEST_F(SimProjectTest, SightsAndGenerationRefuseAsTheHostDoes) {
    std::vector<Host::API_Guid> const wall = {GuidOf("wall-inner-0")};
    M::Model model;
    EXPECT_EQ(project.GenerateModelWithSeparateComponents(wall), General)
        << "window sight selected";
    EXPECT_EQ(project.GetSelectedSightModel(model), RefusedCmd) << "window sight has no model here";
    void* sight = nullptr;
    ASSERT_EQ(project.CreateSight(&sight), NoError);
    EXPECT_NE(sight, nullptr);
    EXPECT_EQ(project.GenerateModelWithSeparateComponents(wall), General)
        << "created, not selected";
    void* old = &old;
    ASSERT_EQ(project.SelectSight(sight, &old), NoError);
    EXPECT_EQ(old, nullptr) << "the window's own sight was selected before";
    EXPECT_EQ(project.GetSelectedSightModel(model), RefusedCmd) << "nothing generated yet";
    Host::API_Guid unknown;
    unknown.bytes[0] = 0x42;
    EXPECT_EQ(project.GenerateModelWithSeparateComponents({wall[0], unknown}), BadId);
    EXPECT_EQ(project.GetSelectedSightModel(model), RefusedCmd) << "a refused call made a model";
    EXPECT_EQ(project.GenerateModelWithSeparateComponents(wall), NoError);
    EXPECT_EQ(project.GetSelectedSightModel(model), NoError);
    EXPECT_EQ(model.GetElementCount(), 1);

    EXPECT_EQ(project.DeleteSight(nullptr), BadPars) << "the window's sight is not deletable";
    EXPECT_EQ(project.DeleteSight(&old), BadPars) << "never created";
    EXPECT_EQ(project.DeleteSight(sight), RefusedCmd) << "still selected";
    ASSERT_EQ(project.SelectSight(nullptr, &old), NoError);
    EXPECT_EQ(old, sight);
    EXPECT_EQ(project.DeleteSight(sight), NoError);
    EXPECT_EQ(project.DeleteSight(sight), BadPars) << "deleted twice";
    EXPECT_EQ(project.SelectSight(sight, nullptr), BadPars) << "selected after deletion";
    void* next = nullptr;
    ASSERT_EQ(project.CreateSight(&next), NoError);
    EXPECT_NE(next, sight) << "a reused pointer would revive the deleted sight";
}

// Without a project the host has nothing to list, generate or name.
TEST(SimProjectWithoutScene, RefusesEveryProjectCall) {
    Sim::CallLog calls{std::this_thread::get_id()};
    Sim::AddOnLifecycle addOn{calls};
    Sim::SimProject project{calls, addOn};
    std::vector<Host::API_Guid> list;
    Host::API_ProjectInfo info;
    void* sight = nullptr;
    EXPECT_EQ(project.GetElemList({}, &list, 0), Host::Error::NoPlan);
    EXPECT_EQ(project.Project(&info), Host::Error::NoPlan);
    EXPECT_EQ(project.CreateSight(&sight), General);
}

// The walker counts "3D-capable" (filter 8) against "on a visible layer" (filter 10); the
// sample must make them differ, and only for the reasons the host has.
TEST_F(SimProjectTest, SampleListsDifferByLayerAndThreeDFilters) {
    auto const contains = [](std::vector<Host::API_Guid> const& list, Host::API_Guid guid) {
        return std::find(list.begin(), list.end(), guid) != list.end();
    };
    auto const all = List(0), in3D = List(kIn3D), visible = List(kVisibleIn3D);
    EXPECT_EQ(all.size(), 51u);
    EXPECT_EQ(List(Host::ElemFilter::APIFilt_OnVisLayer).size(), 50u);
    EXPECT_EQ(in3D.size(), 35u);
    EXPECT_EQ(visible.size(), 34u);
    EXPECT_TRUE(contains(in3D, GuidOf("ceiling-lamp")) &&
                !contains(visible, GuidOf("ceiling-lamp")))
        << "the lamp sits on a hidden layer";
    EXPECT_TRUE(contains(visible, GuidOf("window-s0-b"))) << "a window takes its wall's layer";
    EXPECT_FALSE(contains(all, GuidOf("hidden-morph")) && contains(in3D, GuidOf("hidden-morph")));
    for (char const* id : {"zone-ground", "stair", "cw-frame-1", "opening-west", "site-line"})
        EXPECT_FALSE(contains(in3D, GuidOf(id))) << id << " is not a type the 3D filter passes";
    EXPECT_EQ(List(0, Host::API_WallID).size(), 8u);
    EXPECT_EQ(List(kVisibleIn3D, Host::API_WindowID).size(), 4u);
}

// What the export will find in the sample: every skip counter of the walker has elements to
// count, and the triangle totals are pinned so a geometry change is noticed.
TEST_F(SimProjectTest, SampleModelHasEveryKindTheWalkerCounts) {
    ModelTally const tally = Walk(GenerateVisible());
    EXPECT_EQ(tally.elements.at(M::Element::RoomElement), 1) << "zone, with its slab";
    EXPECT_EQ(tally.elements.at(M::Element::Opening), 1);
    EXPECT_EQ(tally.elements.at(M::Element::Openingframeinfill), 1);
    EXPECT_EQ(tally.elements.at(M::Element::Openingpatchinfill), 1);
    EXPECT_EQ(tally.elements.at(M::Element::MeshElement), 1);
    EXPECT_EQ(tally.elements.at(M::Element::CWFrameElement), 5);
    EXPECT_EQ(tally.elements.at(M::Element::CWPanelElement), 3);
    EXPECT_EQ(tally.elements.at(M::Element::ObjectElement), 9) << "4 furniture, 5 trees";
    EXPECT_EQ(tally.elements.count(M::Element::LightElement), 0u) << "hidden lamp not listed";
    EXPECT_EQ(tally.elements.count(M::Element::FreeshapeElement), 0u) << "morph not in 3D";
    EXPECT_EQ(tally.triangles.at(M::Element::MeshElement), 20000);
    EXPECT_EQ(tally.total, 20788);
}

// More than five materials differ from their attribute (the walker logs only five), some
// have none; a simulator that mirrored the reader would never exercise the attribute path.
TEST_F(SimProjectTest, MaterialAttributesDifferFromTheReaderAndSomeAreMissing) {
    Sim::Scene const& scene = *project.OpenScene();
    int differing = 0, missing = 0;
    for (Sim::SceneMaterial const& material : scene.materials) {
        Host::API_Attr_Head head{Host::API_MaterialID, 0, material.name};
        Host::GSErrCode const found = project.Search(&head);
        if (!material.hasAttribute) {
            EXPECT_EQ(found, BadName) << material.name;
            ++missing;
            continue;
        }
        ASSERT_EQ(found, NoError) << material.name;
        Host::API_Attribute attribute;
        attribute.header = {Host::API_MaterialID, head.index, ""};
        ASSERT_EQ(project.Get(&attribute), NoError);
        EXPECT_EQ(attribute.header.name, material.name) << "index " << head.index;
        auto const& rgb = attribute.material.surfaceRGB;
        bool const differs =
            std::fabs(rgb.f_red - material.color.red) > 0.01 ||
            std::fabs(rgb.f_green - material.color.green) > 0.01 ||
            std::fabs(rgb.f_blue - material.color.blue) > 0.01 ||
            std::fabs(attribute.material.transpPc / 100.0 - material.transparency) > 0.01;
        differing += differs ? 1 : 0;
    }
    EXPECT_GT(differing, 5);
    EXPECT_GE(missing, 2);
    Host::API_Attribute byName;
    byName.header = {Host::API_MaterialID, 0, "Glass"};
    ASSERT_EQ(project.Get(&byName), NoError);
    EXPECT_EQ(byName.material.transpPc, 70);
    Host::API_Attribute beyond;
    beyond.header = {Host::API_MaterialID, 999, ""};
    EXPECT_EQ(project.Get(&beyond), BadIndex);
    Host::API_Attr_Head zombie{Host::API_ZombieAttrID, 0, "Brick"};
    EXPECT_EQ(project.Search(&zombie), BadPars);
}

// The texture rules of the walker (cut-out, bump, opaque alpha, no alpha, downscaling above
// 1024 pixels) all need a texture in the sample to act on.
TEST_F(SimProjectTest, SampleTexturesCoverEveryAlphaVerdictAndALargeMap) {
    M::Model const model = GenerateVisible();
    std::map<std::string, M::Texture> textures;
    for (Host::Int32 e = 1; e <= model.GetElementCount(); ++e) {
        M::Element element;
        model.GetElement(e, &element);
        M::MeshBody body;
        element.GetTessellatedBody(1, &body);
        for (Host::Int32 p = 1; p <= body.GetPolygonCount(); ++p) {
            M::Polygon polygon;
            body.GetPolygon(p, &polygon);
            if (!polygon.HasMaterialTexture())
                continue;
            M::Texture texture;
            polygon.GetMaterialTexture(&texture);
            textures[texture.GetName()] = texture;
        }
    }
    struct Share {
        double cut = 0, mid = 0;
    };
    auto const shares = [](M::Texture const& texture) {
        std::vector<M::ARGBPixel> pixels(static_cast<std::size_t>(texture.GetPixelMapXSize()) *
                                         texture.GetPixelMapYSize());
        texture.GetPixelMap(pixels.data());
        Share share;
        for (M::ARGBPixel const& pixel : pixels) {
            share.cut += pixel.alpha <= 16 ? 1 : 0;
            share.mid += pixel.alpha >= 17 && pixel.alpha <= 239 ? 1 : 0;
        }
        share.cut /= static_cast<double>(pixels.size());
        share.mid /= static_cast<double>(pixels.size());
        return share;
    };
    ASSERT_EQ(textures.size(), 6u);
    Share const leaf = shares(textures.at("leaf"));
    EXPECT_TRUE(textures.at("leaf").HasAlphaChannel());
    EXPECT_TRUE(leaf.cut > 0.001 && leaf.mid <= 0.1) << "cut-out";
    EXPECT_GT(shares(textures.at("stucco-bump")).mid, 0.1) << "bump map";
    Share const oak = shares(textures.at("oak"));
    EXPECT_TRUE(textures.at("oak").HasAlphaChannel());
    EXPECT_TRUE(oak.cut == 0 && oak.mid == 0) << "alpha channel, opaque";
    EXPECT_GT(textures.at("oak").GetPixelMapXSize(), 1024);
    EXPECT_FALSE(textures.at("grass").HasAlphaChannel());
    EXPECT_EQ(shares(textures.at("grass")).cut + shares(textures.at("grass")).mid, 0.0);
}

// Texture coordinates come from the polygon's own mapping at the asked world position: a
// billboard's corners span the texture once, a brick wall repeats per metre.
TEST_F(SimProjectTest, TextureCoordinatesFollowEachPolygonsMapping) {
    void* sight = nullptr;
    ASSERT_EQ(project.CreateSight(&sight), NoError);
    ASSERT_EQ(project.SelectSight(sight, nullptr), NoError);
    ASSERT_EQ(
        project.GenerateModelWithSeparateComponents({GuidOf("tree-5"), GuidOf("wall-inner-0")}),
        NoError);
    M::Model model;
    ASSERT_EQ(project.GetSelectedSightModel(model), NoError);
    ASSERT_EQ(model.GetElementCount(), 2);
    auto const uvAt = [&](Host::Int32 elementIndex, Host::Int32 polygonIndex, Host::Int32 corner) {
        M::Element element;
        model.GetElement(elementIndex, &element);
        M::MeshBody body;
        element.GetTessellatedBody(1, &body);
        M::Polygon polygon;
        body.GetPolygon(polygonIndex, &polygon);
        M::ConvexPolygon convex;
        polygon.GetConvexPolygon(1, &convex);
        M::Vertex position;
        body.GetVertex(convex.GetVertexIndex(corner), &position);
        M::TextureCoordinate uv;
        polygon.GetTextureCoordinate(&position, &uv);
        return std::make_pair(uv, position);
    };
    std::vector<std::pair<double, double>> const fit = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    for (Host::Int32 corner = 1; corner <= 4; ++corner) {
        M::TextureCoordinate const uv = uvAt(1, 1, corner).first;
        EXPECT_NEAR(uv.u, fit[static_cast<std::size_t>(corner - 1)].first, 1e-9) << corner;
        EXPECT_NEAR(uv.v, fit[static_cast<std::size_t>(corner - 1)].second, 1e-9) << corner;
    }
    // The wall's south face (third face of a box) in box mapping: u = x, v = z in metres.
    auto const [uv, position] = uvAt(2, 3, 3);
    EXPECT_NEAR(uv.u, position.x, 1e-9);
    EXPECT_NEAR(uv.v, position.z, 1e-9);
    EXPECT_GT(position.x, 1.0) << "a corner away from the origin";
    EXPECT_GT(position.z, 1.0);
}

// A pentagon stays one convex polygon of five corners; the walker's fan makes three triangles.
TEST_F(SimProjectTest, RawPolygonsKeepAllTheirCorners) {
    void* sight = nullptr;
    ASSERT_EQ(project.CreateSight(&sight), NoError);
    ASSERT_EQ(project.SelectSight(sight, nullptr), NoError);
    ASSERT_EQ(project.GenerateModelWithSeparateComponents({GuidOf("wall-west-1")}), NoError);
    M::Model model;
    ASSERT_EQ(project.GetSelectedSightModel(model), NoError);
    M::Element element;
    model.GetElement(1, &element);
    ASSERT_EQ(element.GetTessellatedBodyCount(), 2);
    M::MeshBody gable;
    element.GetTessellatedBody(2, &gable);
    M::Polygon polygon;
    gable.GetPolygon(1, &polygon);
    M::ConvexPolygon convex;
    polygon.GetConvexPolygon(1, &convex);
    EXPECT_EQ(convex.GetVertexCount(), 5);
    EXPECT_NEAR(std::fabs(convex.GetNormalVectorByVertex(1).x), 1.0, 1e-12);
    EXPECT_THROW(polygon.GetConvexPolygon(2, &convex), std::out_of_range) << "1-based, one only";
    EXPECT_THROW(model.GetElement(0, &element), std::out_of_range);
}

// Generating an owner brings its components (windows, door, opening parts) along; an element
// not shown in 3D yields nothing even when asked for by guid.
TEST_F(SimProjectTest, GenerationAddsComponentsAndSkipsElementsNotIn3D) {
    void* sight = nullptr;
    ASSERT_EQ(project.CreateSight(&sight), NoError);
    ASSERT_EQ(project.SelectSight(sight, nullptr), NoError);
    auto const count = [&](std::vector<Host::API_Guid> const& guids) {
        EXPECT_EQ(project.GenerateModelWithSeparateComponents(guids), NoError);
        M::Model model;
        EXPECT_EQ(project.GetSelectedSightModel(model), NoError);
        return model.GetElementCount();
    };
    EXPECT_EQ(count({GuidOf("wall-south-0")}), 4) << "two windows and the front door";
    EXPECT_EQ(count({GuidOf("wall-south-0"), GuidOf("door-front")}), 4) << "no duplicates";
    EXPECT_EQ(count({GuidOf("door-front")}), 1);
    EXPECT_EQ(count({GuidOf("curtain-wall")}), 8) << "frames and panels; no body of its own";
    EXPECT_EQ(count({GuidOf("hidden-morph")}), 0);
    EXPECT_EQ(count({}), 0);
}

// --throw on a model read makes exactly the n-th such read throw, counted across the run and
// without filling the call log; the reads around it still work.
TEST_F(SimProjectTest, ModelReadsThrowOnTheirPlannedFault) {
    calls.AddFault(*Sim::ParseFault("ModelerAPI::MeshBody::GetPolygon:3", true));
    calls.AddFault(*Sim::ParseFault("ModelerAPI::Polygon::GetTextureCoordinate:2", false));
    M::Model const model = GenerateVisible();
    std::size_t const recordsBefore = calls.Records().size();
    M::Element element;
    model.GetElement(2, &element);
    M::MeshBody body;
    element.GetTessellatedBody(1, &body);
    M::Polygon polygon;
    body.GetPolygon(1, &polygon);
    body.GetPolygon(2, &polygon);
    EXPECT_THROW(body.GetPolygon(3, &polygon), Sim::SimulatedHostException);
    body.GetPolygon(3, &polygon);
    M::Vertex const position;
    M::TextureCoordinate uv;
    polygon.GetTextureCoordinate(&position, &uv);
    EXPECT_THROW(polygon.GetTextureCoordinate(&position, &uv), Sim::SimulatedHostException)
        << "a --fail on a read throws too: reads have no error code";
    polygon.GetTextureCoordinate(&position, &uv);
    EXPECT_EQ(calls.ReadCount(Sim::ModelRead::MeshBodyGetPolygon), 4u);
    EXPECT_EQ(calls.Records().size(), recordsBefore);
}

// The walker names the file after the project and the view after the current window.
TEST_F(SimProjectTest, ProjectAndWindowDescribeTheSample) {
    Host::API_ProjectInfo info;
    ASSERT_EQ(project.Project(&info), NoError);
    EXPECT_FALSE(info.untitled);
    EXPECT_THAT(info.location, testing::EndsWith("/Sample House.pln"));
    EXPECT_EQ(info.projectName, "Sample House");
    Host::API_WindowInfo window;
    ASSERT_EQ(project.GetCurrentWindow(&window), NoError);
    EXPECT_EQ(window.typeID, Host::APIWind_3DModelID);
    EXPECT_EQ(window.name, "3D / All");
    EXPECT_EQ(project.Project(nullptr), BadPars);
}

} // namespace
} // namespace Velmora::Testing
