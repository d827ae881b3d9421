// The model export in the simulated host: the sample building read back by an independent
// reader, compared with the model the host generated, validated by the Khronos validator,
// and the sight left as it was whatever the host throws.
#include "Export/ModelExport.hpp"
#include "ResourceIds.hpp"
#include "Sim/SimHost.hpp"
#include "support/GlbReadBack.hpp"
#include "support/GlbValidator.hpp"
#include "support/SimProcess.hpp"
#include "support/TempHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <set>

namespace Velmora::Testing {
namespace {

namespace MAPI = Host::ModelerAPI;
namespace fs = std::filesystem;
using testing::HasSubstr;

using TriangleKey = std::array<long, 9>; // corners in millimetres, in order

long Mm(double metres) {
    return std::lround(metres * 1000.0);
}

// What the host generated, triangulated independently: every convex polygon fanned,
// grouped by the model reader's element type.
std::multimap<TriangleKey, int> HostTriangles() {
    void* sight = nullptr;
    void* previous = nullptr;
    EXPECT_EQ(Host::Get().Sight().CreateSight(&sight), 0);
    EXPECT_EQ(Host::Get().Sight().SelectSight(sight, &previous), 0);
    std::vector<Host::API_Guid> visible;
    Host::Get().Element().GetElemList({}, &visible, 10);
    EXPECT_EQ(Host::Get().ModelAccess().GenerateModelWithSeparateComponents(visible), 0);
    MAPI::Model model;
    EXPECT_EQ(Host::Get().Sight().GetSelectedSightModel(model), 0);
    std::multimap<TriangleKey, int> tris;
    for (int e = 1; e <= model.GetElementCount(); ++e) {
        MAPI::Element element;
        model.GetElement(e, &element);
        for (int b = 1; b <= element.GetTessellatedBodyCount(); ++b) {
            MAPI::MeshBody body;
            element.GetTessellatedBody(b, &body);
            for (int p = 1; p <= body.GetPolygonCount(); ++p) {
                MAPI::Polygon polygon;
                body.GetPolygon(p, &polygon);
                for (int c = 1; c <= polygon.GetConvexPolygonCount(); ++c) {
                    MAPI::ConvexPolygon convex;
                    polygon.GetConvexPolygon(c, &convex);
                    std::vector<MAPI::Vertex> corners(std::size_t(convex.GetVertexCount()));
                    for (std::size_t k = 0; k < corners.size(); ++k)
                        body.GetVertex(convex.GetVertexIndex(int(k) + 1), &corners[k]);
                    for (std::size_t k = 1; k + 1 < corners.size(); ++k) {
                        TriangleKey key;
                        MAPI::Vertex const* fan[3] = {&corners[0], &corners[k], &corners[k + 1]};
                        for (std::size_t i = 0; i < 3; ++i) {
                            key[i * 3] = Mm(fan[i]->x);
                            key[i * 3 + 1] = Mm(fan[i]->y);
                            key[i * 3 + 2] = Mm(fan[i]->z);
                        }
                        tris.emplace(key, element.GetType());
                    }
                }
            }
        }
    }
    Host::Get().Sight().SelectSight(previous, &sight);
    Host::Get().Sight().DeleteSight(sight);
    return tris;
}

// The file's triangles back in host coordinates (Z up, not re-centred).
std::vector<TriangleKey> FileTriangles(GlbReadBack const& file, GlbBuildStats const& stats) {
    std::vector<TriangleKey> keys;
    for (ReadBackTriangle const& t : file.triangles) {
        TriangleKey key;
        for (std::size_t i = 0; i < 3; ++i) {
            key[i * 3] = Mm(t.positions[i][0] + stats.originalOffset[0]);
            key[i * 3 + 1] = Mm(-t.positions[i][2] + stats.originalOffset[1]);
            key[i * 3 + 2] = Mm(t.positions[i][1] + stats.originalOffset[2]);
        }
        keys.push_back(key);
    }
    return keys;
}

class ModelExportEndToEndTest : public testing::Test {
protected:
    ModelExportEndToEndTest() : host(Options()) {
        std::string error;
        EXPECT_TRUE(host.LoadResources(error)) << error;
        EXPECT_TRUE(host.LoadScene(error)) << error;
        Host::Install(&host);
    }
    ~ModelExportEndToEndTest() override { Host::Install(nullptr); }

    Sim::SimHostOptions Options() const {
        Sim::SimHostOptions options;
        options.hostFolder = home.Path().string();
        options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
        return options;
    }

    std::string Save(ModelExportResult const& result, std::string const& name) const {
        std::string const path = (home.Path() / name).string();
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<char const*>(result.glb.data()),
                   std::streamsize(result.glb.size()));
        return path;
    }

    TempHome home;
    Sim::SimHost host;
};

// Catches triangles lost, invented, moved or re-wound between the host's model and the file,
// buildings not scoped, and skipped types leaking into the file.
TEST_F(ModelExportEndToEndTest, TheSampleBuildingReadsBackAsTheHostGeneratedIt) {
    ModelExportResult const result = ExportVisible3DModelToGlb({});
    ASSERT_EQ(result.status, 0) << result.error;
    GlbReadBack file;
    std::string problem;
    ASSERT_TRUE(ReadBackGlb(result.glb, file, problem)) << problem;
    ASSERT_EQ(file.triangles.size(), result.stats.triangleCount);

    std::multimap<TriangleKey, int> const generated = HostTriangles();
    std::map<int, std::size_t> fileByType;
    for (TriangleKey const& key : FileTriangles(file, result.stats)) {
        auto const found = generated.find(key);
        ASSERT_NE(found, generated.end()) << "a triangle the host never generated";
        ++fileByType[found->second];
    }
    std::map<int, std::size_t> hostByType;
    for (auto const& [key, type] : generated)
        ++hostByType[type];
    // Every wall, roof and window triangle is in; zones, openings and the terrain never are.
    for (int type :
         {MAPI::Element::WallElement, MAPI::Element::RoofElement, MAPI::Element::WindowElement})
        EXPECT_EQ(fileByType[type], hostByType[type]) << type;
    for (int type : {MAPI::Element::RoomElement, MAPI::Element::MeshElement})
        EXPECT_EQ(fileByType.count(type), 0u) << type;
    EXPECT_GT(result.outsideBuildingSkipped, 0u);
    EXPECT_GT(result.vegetationPolysSkipped, 0u);
    EXPECT_EQ(result.zonesSkipped, 1u);
    EXPECT_EQ(result.siteSkipped, 1u);
    EXPECT_EQ(result.fileName, "Sample House.glb") << "scene's project name changed?";
}

// Catches any structural fault the independent reader lets through: the validator checks
// the sample building as exported and with everything in, cut-out trees and terrain included.
TEST_F(ModelExportEndToEndTest, TheKhronosValidatorFindsNoErrorOrWarning) {
    if (!GltfValidatorInstalled())
        GTEST_SKIP() << "tools/js has no node_modules (tools/setup.sh installs them)";
    ModelExportOptions everything;
    everything.includeSiteMesh = true;
    everything.buildingOnly = false;
    everything.excludeVegetation = false;
    ModelExportResult const building = ExportVisible3DModelToGlb({});
    ModelExportResult const all = ExportVisible3DModelToGlb(everything);
    ASSERT_EQ(all.status, 0) << all.error;
    EXPECT_GT(all.stats.textureCount, building.stats.textureCount - 1);
    GlbReadBack file;
    std::string problem;
    ASSERT_TRUE(ReadBackGlb(all.glb, file, problem)) << problem;
    EXPECT_TRUE(std::any_of(file.materials.begin(), file.materials.end(),
                            [](ReadBackMaterial const& m) { return m.alphaMode == "MASK"; }));
    std::string report;
    EXPECT_TRUE(ValidateGlbFiles({Save(building, "building.glb"), Save(all, "all.glb")}, report))
        << report;
}

// Catches what only a large, generated model shows: index and accessor limits, float
// conversion of far coordinates, buffer views past 16 MiB. The plain build runs it; under the
// sanitizers a million triangles take minutes and find nothing the sample building does not.
TEST(ModelExportStressTest, AMillionTriangleSceneIsValidToo) {
#ifdef VELMORA_SANITIZED
    GTEST_SKIP() << "the stress scene is validated in the plain build";
#endif
    if (!GltfValidatorInstalled())
        GTEST_SKIP() << "tools/js has no node_modules (tools/setup.sh installs them)";
    TempHome home;
    Sim::SimHostOptions options;
    options.hostFolder = home.Path().string();
    options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    options.scenePath = std::string(VELMORA_SCENES_DIR) + "/stress-1m.json";
    Sim::SimHost host(options);
    std::string error;
    ASSERT_TRUE(host.LoadResources(error) && host.LoadScene(error)) << error;
    Host::Install(&host);
    ModelExportResult const result = ExportVisible3DModelToGlb({});
    Host::Install(nullptr);
    ASSERT_EQ(result.status, 0) << result.error;
    EXPECT_GE(result.stats.triangleCount, 1000000u);
    std::string const path = (home.Path() / "stress.glb").string();
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<char const*>(result.glb.data()),
               std::streamsize(result.glb.size()));
    std::string report;
    EXPECT_TRUE(ValidateGlbFiles({path}, report)) << report;
}

// Catches a guard that forgets the restore or the delete when the host throws anywhere in
// the export, and a throw that reaches the user as more (or less) than one message.
TEST(ModelExportThrowSweep, TheSightIsAlwaysRestoredAndDeletedAndOneMessageReported) {
#ifdef VELMORA_THREAD_SANITIZED
    GTEST_SKIP() << "the export runs on the main thread: swept in the other builds";
#endif
    struct Case {
        std::string fault;
        int selects; // SelectSight calls expected: select and restore, or fewer
        bool deleted;
    };
    std::vector<Case> const cases = {
        {"ACAPI_Sight_CreateSight", 0, false},
        {"ACAPI_Sight_SelectSight", 1, true},
        {"ACAPI_Sight_SelectSight:2", 2, true},
        {"ACAPI_Sight_DeleteSight", 2, true},
        {"ACAPI_Element_GetElemList", 2, true},
        {"ACAPI_Element_GetElemList:2", 2, true},
        {"ACAPI_ModelAccess_GenerateModelWithSeparateComponents", 2, true},
        {"ACAPI_Sight_GetSelectedSightModel", 2, true},
        {"ModelerAPI::Model::GetElement:5", 2, true},
        {"ModelerAPI::Element::GetTessellatedBodyCount:3", 2, true},
        {"ModelerAPI::Element::GetTessellatedBody:4", 2, true},
        {"ModelerAPI::MeshBody::GetPolygonCount:2", 2, true},
        {"ModelerAPI::MeshBody::GetPolygon:7", 2, true},
        {"ModelerAPI::MeshBody::GetVertex:30", 2, true},
        {"ModelerAPI::Polygon::GetMaterial:1", 2, true},
        {"ModelerAPI::Polygon::GetConvexPolygon:9", 2, true},
        {"ModelerAPI::Polygon::GetTextureCoordinate:11", 2, true},
        {"ModelerAPI::Texture::GetPixelMap:1", 2, true},
    };
    for (Case const& c : cases) {
        TempHome home;
        fs::path const calls = home.Path() / "calls.txt";
        SimRun const run =
            RunVelmoraSim({"--home", home.Path().string(), "--settle-timeout", "20", "--call-log",
                           calls.string(), "--throw", c.fault, "export"});
        EXPECT_EQ(run.exitStatus, 0) << c.fault << "\n" << run.err;
        std::vector<std::string> const out = run.OutLines();
        std::size_t const messages = std::count_if(out.begin(), out.end(), [](auto const& l) {
            return l.rfind("report: ", 0) == 0 || l.rfind("alert: ", 0) == 0;
        });
        EXPECT_EQ(messages, 1u) << c.fault << "\n" << run.out;
        std::string const log = ReadFile(calls);
        auto const count = [&](std::string const& name) {
            std::size_t n = 0;
            for (std::size_t at = log.find(name); at != std::string::npos;
                 at = log.find(name, at + 1))
                ++n;
            return n;
        };
        EXPECT_EQ(count("ACAPI_Sight_SelectSight"), std::size_t(c.selects)) << c.fault;
        EXPECT_EQ(count("ACAPI_Sight_DeleteSight"), c.deleted ? 1u : 0u) << c.fault;
        // The restore is the export's last selection, after everything else it asked for.
        if (c.selects == 2) {
            EXPECT_GT(log.rfind("ACAPI_Sight_SelectSight"), log.rfind("ACAPI_Element_GetElemList"))
                << c.fault;
        }
    }
}

} // namespace
} // namespace Velmora::Testing
