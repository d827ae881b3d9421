// The scene loader: every malformed scene is refused with the file, the place (line or JSON
// pointer) and what is wrong, and valid scenes keep what they say.
#include "Sim/SceneLoader.hpp"
#include "Host/Guid.hpp"
#include "Sim/SampleScene.hpp"
#include "Sim/SceneGeometry.hpp"
#include "support/SimProcess.hpp"
#include "support/TempHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace Velmora::Testing {
namespace {

using testing::HasSubstr;

// A scene with one element whose JSON text is given.
std::string WithElement(std::string const& element) {
    return R"({"project": {"file": "/p/House.pln"},
  "textures": [{"name": "t", "size": [4, 4], "pattern": "checker", "colors": [[0,0,0],[1,1,1]]}],
  "materials": [{"name": "Brick", "color": [0.5, 0.2, 0.1], "texture": "t"}],
  "elements": [)" +
           element + "]}";
}

std::string WithBox(std::string const& box) {
    return WithElement(R"({"type": "wall", "shapes": [)" + box + "]}");
}

TEST(SceneLoaderTest, MalformedScenesNameTheFilePlaceAndFault) {
    struct Case {
        char const* fault; // what the loader would miss
        std::string text;
        std::string message;
    };
    std::vector<Case> const cases = {
        {"parse error without its line", "{\n \"project\": {},\n \"materials\": [,]\n}",
         "bad.json:3: not valid JSON: syntax error"},
        {"empty file accepted", "", "bad.json:1: not valid JSON"},
        {"number overflow escapes as an exception", "{\"project\": 2e410}",
         "bad.json: not valid JSON"},
        {"wrong type not located", WithElement(R"({"type": "wall", "in3D": "yes"})"),
         "bad.json: /elements/0/in3D: expected true or false, found string"},
        {"colour of wrong type",
         R"({"project": {"untitled": true}, "materials": [{"name": "m", "color": "red"}], "elements": []})",
         "bad.json: /materials/0/color: expected an array, found string"},
        {"unknown type name taken", WithElement(R"({"type": "wal"})"),
         "/elements/0/type: unknown element type 'wal'"},
        {"unknown model type taken", WithElement(R"({"type": "wall", "modelType": "Wall"})"),
         "/elements/0/modelType: unknown model type 'Wall'"},
        {"missing field defaulted", WithElement(R"({"id": "w"})"),
         "/elements/0: missing required key 'type'"},
        {"missing project", R"({"materials": [], "elements": []})",
         "/: missing required key 'project'"},
        {"typo in a key ignored", WithElement(R"({"type": "wall", "layervisible": false})"),
         "/elements/0/layervisible: unknown key 'layervisible'"},
        {"unknown material taken",
         WithBox(R"({"shape": "box", "material": "Gold", "min": [0,0,0], "max": [1,1,1]})"),
         "/elements/0/shapes/0/material: unknown material 'Gold'"},
        {"flat box accepted",
         WithBox(R"({"shape": "box", "material": "Brick", "min": [0,0,0], "max": [1,0,1]})"),
         "/elements/0/shapes/0: box has no volume"},
        {"concave footprint accepted",
         WithBox(
             R"({"shape": "prism", "material": "Brick", "points": [[0,0],[4,0],[1,1],[0,4]], "bottom": 0, "top": 1})"),
         "/elements/0/shapes/0/points: footprint is not a convex polygon"},
        {"bent polygon accepted",
         WithBox(
             R"({"shape": "polygon", "material": "Brick", "points": [[0,0,0],[1,0,0],[1,1,0.5],[0,1,0]]})"),
         "/elements/0/shapes/0/points: points do not form a flat convex polygon"},
        {"two-corner polygon accepted",
         WithBox(R"({"shape": "polygon", "material": "Brick", "points": [[0,0,0],[1,0,0]]})"),
         "/elements/0/shapes/0/points: expected 3 to 64 entries, found 2"},
        {"unknown shape taken", WithBox(R"({"shape": "sphere", "material": "Brick"})"),
         "/elements/0/shapes/0/shape: unknown value 'sphere'"},
        {"unknown owner taken", WithElement(R"({"type": "window", "owner": "nowhere"})"),
         "/elements/0/owner: unknown owner 'nowhere'"},
        {"bad guid taken", WithElement(R"({"type": "wall", "guid": "not-a-guid"})"),
         "/elements/0/guid: not a guid: 'not-a-guid'"},
        {"oversized texture taken",
         R"({"project": {"untitled": true}, "textures": [{"name": "t", "size": [8193, 1], "pattern": "solid", "colors": [[0,0,0],[0,0,0]]}], "materials": [], "elements": []})",
         "/textures/0/size/0: expected an integer from 1 to 8192, found 8193"},
        {"colour out of range taken",
         R"({"project": {"untitled": true}, "materials": [{"name": "m", "color": [0, 2, 0]}], "elements": []})",
         "/materials/0/color/1: expected a number from 0 to 1, found 2"},
        {"huge scene accepted",
         WithBox(
             R"({"shape": "heightfield", "material": "Brick", "origin": [0,0], "size": [1,1], "cells": [4096, 4096]},
                   {"shape": "heightfield", "material": "Brick", "origin": [0,0], "size": [1,1], "cells": [4096, 4096]})"),
         "/: scene too large: 67108864 triangles"},
    };
    for (Case const& c : cases) {
        std::string error;
        EXPECT_FALSE(Sim::ParseScene(c.text, "bad.json", error)) << c.fault;
        EXPECT_THAT(error, HasSubstr(c.message)) << c.fault;
    }
}

// Two elements sharing an id or a guid would make owners and element lists ambiguous.
TEST(SceneLoaderTest, DuplicateIdsAndGuidsAreRefused) {
    std::string error;
    EXPECT_FALSE(Sim::ParseScene(
        WithElement(R"({"id": "a", "type": "wall"}, {"id": "a", "type": "slab"})"), "s", error));
    EXPECT_THAT(error, HasSubstr("/elements/1/id: duplicate id 'a'"));
    std::string const guid = R"("guid": "{11111111-2222-3333-4444-555555555555}")";
    EXPECT_FALSE(Sim::ParseScene(
        WithElement("{\"type\": \"wall\", " + guid + "}, {\"type\": \"slab\", " + guid + "}"), "s",
        error));
    EXPECT_THAT(error, HasSubstr("/elements/1: duplicate guid"));
}

// Generated guids must be stable across runs (tests and call logs compare them) and given
// ones must be kept; the model type follows the database type unless overridden.
TEST(SceneLoaderTest, ElementsKeepGivenValuesAndGetStableDefaults) {
    std::string const text = WithElement(R"({"id": "w", "type": "wall"},
        {"type": "zone", "guid": "{11111111-2222-3333-4444-555555555555}"},
        {"type": "opening", "modelType": "Openingpatchinfill", "owner": "w", "in3D": false})");
    std::string error;
    auto const first = Sim::ParseScene(text, "s", error);
    auto const second = Sim::ParseScene(text, "s", error);
    ASSERT_TRUE(first && second) << error;
    EXPECT_EQ(first->elements[0].guid, second->elements[0].guid);
    EXPECT_NE(first->elements[0].guid, first->elements[2].guid);
    EXPECT_EQ(Host::GuidToString(first->elements[1].guid),
              "{11111111-2222-3333-4444-555555555555}");
    EXPECT_EQ(first->elements[0].modelType, Host::ModelerAPI::Element::WallElement);
    EXPECT_EQ(first->elements[1].modelType, Host::ModelerAPI::Element::RoomElement);
    EXPECT_EQ(first->elements[2].modelType, Host::ModelerAPI::Element::Openingpatchinfill);
    EXPECT_EQ(first->elements[2].owner, 0);
    EXPECT_FALSE(first->elements[2].in3D);
}

// A material without "attribute" mirrors the model reader; false means the project has no
// attribute of that name at all.
TEST(SceneLoaderTest, MaterialAttributesDefaultToTheReadersValuesOrAreAbsent) {
    std::string error;
    auto const scene =
        Sim::ParseScene(R"({"project": {"untitled": true}, "elements": [], "materials": [
        {"name": "a", "color": [0.2, 0.4, 0.6], "transparency": 0.25},
        {"name": "b", "color": [0, 0, 0], "attribute": false},
        {"name": "c", "color": [0, 0, 0], "attribute": {"transparency": 40}}]})",
                        "s", error);
    ASSERT_TRUE(scene) << error;
    EXPECT_TRUE(scene->materials[0].hasAttribute);
    EXPECT_DOUBLE_EQ(scene->materials[0].attributeColor.green, 0.4);
    EXPECT_EQ(scene->materials[0].attributeTranspPc, 25);
    EXPECT_FALSE(scene->materials[1].hasAttribute);
    EXPECT_EQ(scene->materials[2].attributeTranspPc, 40);
}

// The two scenes in the tree load, and the stress scene is as large as its name says.
TEST(SceneLoaderTest, ShippedScenesLoad) {
    std::string error;
    ASSERT_TRUE(Sim::LoadSampleScene(error)) << error;
    auto const stress =
        Sim::LoadSceneFile(std::string(VELMORA_SCENES_DIR) + "/stress-1m.json", error);
    ASSERT_TRUE(stress) << error;
    long long triangles = 0;
    for (auto const& element : stress->elements)
        for (auto const& body : element.bodies)
            for (auto const& shape : body)
                triangles += Sim::ShapeTriangleCount(shape);
    EXPECT_GE(triangles, 1'000'000);
    EXPECT_FALSE(Sim::LoadSceneFile("/nonexistent/scene.json", error));
    EXPECT_THAT(error, HasSubstr("/nonexistent/scene.json: cannot open the scene file"));
}

// velmora-sim must stop before loading the add-on when the scene is wrong.
TEST(SceneLoaderTest, VelmoraSimExitsWithTwoOnABadScene) {
    TempHome home;
    std::string const path = (home.Path() / "bad.json").string();
    std::ofstream(path) << WithElement(R"({"type": "wal"})");
    SimRun const run = RunVelmoraSim({"--home", home.Path().string(), "--scene", path});
    EXPECT_EQ(run.exitStatus, 2);
    EXPECT_THAT(run.err, HasSubstr(path + ": /elements/0/type: unknown element type 'wal'"));
}

} // namespace
} // namespace Velmora::Testing
