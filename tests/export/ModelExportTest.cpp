// The walk, the export and the disk command against a scripted model in the fake host.
#include "Export/ModelExport.hpp"
#include "Export/ModelCommands.hpp"
#include "Logger.hpp"
#include "Settings.hpp"
#include "export/ScriptedModel.hpp"
#include "support/AddOnTest.hpp"

#include <gmock/gmock.h>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::DoAll;
using testing::HasSubstr;
using testing::Invoke;
using testing::Not;
using testing::Return;
using testing::SetArgPointee;

namespace fs = std::filesystem;

class ModelExportTest : public AddOnTest {
protected:
    ModelExportTest() { Logger::Get().Init(); }

    std::uint32_t Collect(std::vector<ScriptElement> elements, ModelExportOptions options = {}) {
        MAPI::Model const scripted = MakeModel(std::move(elements));
        return CollectTriangles(scripted, options, builder, result);
    }

    // A host with a project file, a sight pair and a model of the given elements; each step
    // can be told to fail.
    void ScriptHost(std::vector<ScriptElement> elements) {
        model = MakeModel(std::move(elements));
        ON_CALL(host.projectOperation, Project(_))
            .WillByDefault(Invoke([this](Host::API_ProjectInfo* info) {
                info->untitled = projectFile.empty();
                info->location = projectFile;
                return Host::Error::NoError;
            }));
        ON_CALL(host.window, GetCurrentWindow(_))
            .WillByDefault(Invoke([this](Host::API_WindowInfo* info) {
                info->title = windowTitle;
                return Host::Error::NoError;
            }));
        ON_CALL(host.sight, CreateSight(_))
            .WillByDefault(DoAll(SetArgPointee<0>(kCreated), Return(Host::Error::NoError)));
        ON_CALL(host.sight, SelectSight(_, _))
            .WillByDefault(Invoke([this](void* sight, void** old) {
                sightCalls.push_back("select " + Name(sight));
                *old = selected;
                selected = sight;
                return Host::Error::NoError;
            }));
        ON_CALL(host.sight, DeleteSight(_)).WillByDefault(Invoke([this](void* sight) {
            sightCalls.push_back("delete " + Name(sight));
            return Host::Error::NoError;
        }));
        ON_CALL(host.element, GetElemList(_, _, _))
            .WillByDefault(Invoke([](const Host::API_ElemType&, std::vector<Host::API_Guid>* list,
                                     Host::API_ElemFilterFlags) {
                list->assign(3, Host::API_Guid{});
                return Host::Error::NoError;
            }));
        ON_CALL(host.modelAccess, GenerateModelWithSeparateComponents(_))
            .WillByDefault(Return(Host::Error::NoError));
        ON_CALL(host.sight, GetSelectedSightModel(_))
            .WillByDefault(Invoke([this](MAPI::Model& out) {
                out = model;
                return Host::Error::NoError;
            }));
    }
    std::string Name(void* sight) const {
        return sight == kCreated ? "created" : sight == kUsers ? "user's" : "other";
    }

    static inline int createdSight = 0, usersSight = 0;
    void* const kCreated = &createdSight;
    void* const kUsers = &usersSight;
    void* selected = kUsers;
    std::vector<std::string> sightCalls;
    std::string projectFile = "/Projects/Tower:A?.pln";
    std::string windowTitle = "3D / All";
    MAPI::Model model;
    GlbBuilder builder;
    ModelExportResult result;
};

ScriptElement WallEnvelope() {
    // Walls around [0, 10] x [0, 10] in two bodies of one element.
    ScriptElement wall = ElementOf(MAPI::Element::WallElement, Upright(0, 0, 10, 0));
    wall.bodies.push_back(Upright(10, 10, 0, 10));
    return wall;
}

// Catches the 50 % rule inverted or measured on the wrong axis, the zero-area centre rule
// missing, and dropped triangles not counted.
TEST_F(ModelExportTest, ElementsOutsideTheBuildingEnvelopeAreDroppedByTheirPlanBox) {
    std::uint32_t const contributed =
        Collect({WallEnvelope(),
                 ElementOf(MAPI::Element::SlabElement, FlatQuad(4, 2, 14, 4)),    // 60 % inside
                 ElementOf(MAPI::Element::SlabElement, FlatQuad(6, 2, 16, 4)),    // 40 % inside
                 ElementOf(MAPI::Element::ObjectElement, Upright(5, 5, 5, 12)),   // centre in
                 ElementOf(MAPI::Element::ObjectElement, Upright(11, 0, 11, 2)),  // centre out
                 ElementOf(MAPI::Element::SlabElement, FlatQuad(0, 10, 2, 12))}); // edge: 0 %
    EXPECT_EQ(contributed, 3u);
    EXPECT_EQ(result.outsideBuildingSkipped, 3u);
    EXPECT_EQ(result.outsideBuildingTris, 6u);
    std::string const log = LogText();
    EXPECT_THAT(log, HasSubstr("ModelExport: building envelope from anchor elements: 10.0 x "
                               "10.0 m"));
    EXPECT_THAT(log, HasSubstr("ModelExport:   Wall                       4 tris (50.0%) from "
                               "    1 elem, span 10.0 x 10.0 x 3.0 m"));
    EXPECT_THAT(log, HasSubstr("ModelExport:   Slab                       2 tris (25.0%)"));
    EXPECT_LT(log.find("   Wall  "), log.find("   Slab  "));
}

// Catches skip counters bumped twice, zones or openings read, site meshes kept, and an
// export that scopes to an envelope it does not have.
TEST_F(ModelExportTest, SkippedTypesAreCountedOnceAndNoAnchorMeansEverythingVisible) {
    std::vector<ScriptElement> const elements = {
        ElementOf(MAPI::Element::RoomElement, FlatQuad(0, 0, 1, 1)),
        ElementOf(MAPI::Element::Opening, FlatQuad(0, 0, 1, 1)),
        ElementOf(MAPI::Element::Openingpatchinfill, FlatQuad(0, 0, 1, 1)),
        ElementOf(MAPI::Element::MeshElement, FlatQuad(-50, -50, 50, 50)),
        ElementOf(MAPI::Element::SlabElement, FlatQuad(0, 0, 1, 1)),
        ElementOf(MAPI::Element::ObjectElement, FlatQuad(90, 90, 91, 91))};
    EXPECT_EQ(Collect(elements), 2u);
    EXPECT_EQ(result.zonesSkipped, 1u);
    EXPECT_EQ(result.openingsSkipped, 2u);
    EXPECT_EQ(result.siteSkipped, 1u);
    EXPECT_EQ(result.outsideBuildingSkipped, 0u);
    EXPECT_THAT(LogText(), HasSubstr("[WARN ] ModelExport: no wall/roof/column-class elements "
                                     "found; cannot scope to a building - exporting all visible "
                                     "geometry"));
    EXPECT_THAT(LogText(), Not(HasSubstr("Zone ")));

    ModelExportResult withSite;
    ModelExportOptions options;
    options.includeSiteMesh = true;
    options.buildingOnly = false;
    GlbBuilder second;
    EXPECT_EQ(CollectTriangles(MakeModel(elements), options, second, withSite), 3u);
    EXPECT_EQ(withSite.siteSkipped, 0u);
}

// Catches names taken from the wrong field, extensions stripped in the middle, trimming
// that misses dots or tabs, the fallbacks out of order, and a stem longer than 80 bytes.
TEST(FileStemTest, ProjectAndViewNamesBecomeSafeFileStems) {
    struct Case {
        std::string in, out;
    };
    for (Case const& c :
         std::vector<Case>{{"Tower:A?", "Tower_A_"},
                           {" . . ", ""},
                           {"\t.x.\t", "_.x._"}, // control bytes are replaced before trimming
                           {"a\"*/<>\\|\x01\x7f"
                            "b",
                            "a_________b"},
                           {"..Haus Müller.", "Haus Müller"},
                           {std::string(90, 'x'), std::string(80, 'x')}})
        EXPECT_EQ(SanitizeFileStem(c.in), c.out) << c.in;
    for (Case const& c : std::vector<Case>{{"Tower.pln", "Tower"},
                                           {"a.tpl", "a"},
                                           {"b.pln.mod", "b.pln"},
                                           {"c.PLN", "c.PLN"},
                                           {"d.pln.txt", "d.pln.txt"}})
        EXPECT_EQ(StripProjectExtension(c.in), c.out) << c.in;
}

TEST_F(ModelExportTest, FileNameFallsBackFromProjectToViewToDefault) {
    ScriptHost({WallEnvelope()});
    EXPECT_EQ(ExportVisible3DModelToGlb({}).fileName, "Tower_A_.glb");
    projectFile = "/Projects/. ..pln";
    EXPECT_EQ(ExportVisible3DModelToGlb({}).fileName, "3D _ All.glb");
    windowTitle = "...";
    ModelExportResult const fallback = ExportVisible3DModelToGlb({});
    EXPECT_EQ(fallback.fileName, "archicad-model.glb");
    EXPECT_EQ(fallback.appVersion, "Archicad 28");
    EXPECT_EQ(fallback.status, 0);
    EXPECT_EQ(fallback.stats.triangleCount, 4u);
}

// Catches a guard that skips the restore or the delete on some path, restores before
// deleting in the wrong order, or lets a host exception escape.
TEST_F(ModelExportTest, TheUsersSightIsRestoredAndTheCreatedOneDeletedOnEveryPath) {
    struct Case {
        std::function<void()> breakIt;
        std::string error;
        std::vector<std::string> sightCalls;
    };
    std::vector<std::string> const full = {"select created", "select user's", "delete created"};
    std::vector<Case> const cases = {
        {[] {}, "", full},
        {[this] {
             ON_CALL(host.sight, SelectSight(_, _)).WillByDefault(Return(Host::Error::BadPars));
         },
         "could not select the 3D sight (err -2130313112)",
         {"delete created"}},
        {[this] {
             ON_CALL(host.element, GetElemList(_, _, 10))
                 .WillByDefault(Return(Host::Error::NoPlan));
         },
         "could not list the 3D-visible elements (err -2130313013)", full},
        {[this] {
             ON_CALL(host.modelAccess, GenerateModelWithSeparateComponents(_))
                 .WillByDefault(Return(Host::Error::General));
         },
         "could not generate the 3D model (err -2130313215)", full},
        {[this] {
             ON_CALL(host.sight, GetSelectedSightModel(_))
                 .WillByDefault(Return(Host::Error::RefusedCmd));
         },
         "could not read the generated 3D model (err -2130312312)", full},
        {[this] {
             ON_CALL(host.modelAccess, GenerateModelWithSeparateComponents(_))
                 .WillByDefault(Invoke([](const std::vector<Host::API_Guid>&) -> Host::GSErrCode {
                     throw std::runtime_error("host failure");
                 }));
         },
         "an unexpected error occurred while reading the 3D model", full},
        {[this] { model = MakeModel({}); }, "the generated 3D model is empty", full},
    };
    for (Case const& c : cases) {
        ScriptHost({WallEnvelope()});
        selected = kUsers;
        sightCalls.clear();
        c.breakIt();
        ModelExportResult const r = ExportVisible3DModelToGlb({});
        EXPECT_EQ(r.error, c.error);
        EXPECT_EQ(r.status == 0, c.error.empty()) << c.error;
        EXPECT_EQ(sightCalls, c.sightCalls) << c.error;
    }
    ON_CALL(host.sight, CreateSight(_)).WillByDefault(Return(Host::Error::General));
    sightCalls.clear();
    EXPECT_EQ(ExportVisible3DModelToGlb({}).error, "could not create a 3D sight (err -2130313215)");
    EXPECT_TRUE(sightCalls.empty());
    EXPECT_THAT(LogText(), HasSubstr("[ERROR] ModelExport: exception during export"));
}

// Catches "nothing visible" reported as a failure, and the second list's count swapped in.
TEST_F(ModelExportTest, NothingVisibleIsAnEmptyResultNotAFailure) {
    ScriptHost({WallEnvelope()});
    ON_CALL(host.element, GetElemList(_, _, 10)).WillByDefault(Return(Host::Error::NoError));
    ModelExportResult const r = ExportVisible3DModelToGlb({});
    EXPECT_TRUE(r.empty);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.error, "nothing is visible in 3D");
    EXPECT_THAT(LogText(), HasSubstr("ModelExport: 3D-capable elements=3, on a visible layer=0"));
}

// Catches the size format switching a byte early or late, and the wrong rounding.
TEST(ModelSizeTest, BelowOneMebibyteIsKilobytesAboveIsMegabytes) {
    EXPECT_EQ(FormatModelSize(1048575), "1024 KB");
    EXPECT_EQ(FormatModelSize(1048576), "1.0 MB");
    EXPECT_EQ(FormatModelSize(1535), "1 KB");
    EXPECT_EQ(FormatModelSize(1048576 + 104858), "1.1 MB");
}

// Catches a second export that runs, releases the first one's claim, or reports silently;
// and a "Saved to" line for a copy that was never written.
TEST_F(ModelExportTest, DiskExportReportsSizeAndPathAndRefusesASecondOne) {
    ScriptHost({WallEnvelope()});
    ASSERT_TRUE(TryClaimModelJob());
    EXPECT_EQ(RunExportModelToDisk(), Host::Error::General);
    EXPECT_TRUE(IsSendModelInProgress());
    ReleaseModelJob();
    EXPECT_EQ(RunExportModelToDisk(), Host::Error::NoError);
    EXPECT_FALSE(IsSendModelInProgress());
    fs::path const copy = home.LogFolder() / "last_model.glb";
    fs::remove(copy);
    fs::create_directories(copy / "blocked"); // a folder in the copy's place
    RunExportModelToDisk();
    fs::remove_all(copy);

    std::vector<Report> const reports = host.Reports();
    ASSERT_EQ(reports.size(), 3u);
    EXPECT_EQ(reports[0].text, "Velmora: a model is already being prepared.");
    EXPECT_TRUE(reports[0].alert);
    EXPECT_THAT(reports[1].text, testing::MatchesRegex("Velmora: model exported\\. 4 triangles, "
                                                       "[0-9]+ KB\\.\nSaved to .*"));
    EXPECT_THAT(reports[1].text, testing::EndsWith("\nSaved to " + copy.string()));
    EXPECT_FALSE(reports[1].alert);
    EXPECT_THAT(reports[2].text, testing::MatchesRegex("Velmora: model exported\\. 4 triangles, "
                                                       "[0-9]+ KB\\."));
    EXPECT_THAT(LogText(), HasSubstr("[WARN ] SendModel: could not write the .glb copy to the "
                                     "log folder"));
}

// Catches failures reported without an alert, or with the wrong text, to the report window.
TEST_F(ModelExportTest, FailedAndEmptyExportsAlertTheUser) {
    ScriptHost({ElementOf(MAPI::Element::RoomElement, FlatQuad(0, 0, 1, 1))});
    RunExportModelToDisk();
    ON_CALL(host.sight, CreateSight(_)).WillByDefault(Return(Host::Error::General));
    ModelExportResult out;
    std::string saved = "stale";
    EXPECT_FALSE(ExportAndReport(out, saved, Audience::WebPanel));
    EXPECT_EQ(saved, "");
    std::vector<Report> const reports = host.Reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].text, "Velmora: nothing to send. There is no visible 3D geometry in this "
                               "project. Show the layers you want to place, then try again.");
    EXPECT_EQ(reports[1].text, "Velmora: could not read the 3D model. could not create a 3D sight "
                               "(err -2130313215)");
    EXPECT_TRUE(reports[0].alert && reports[1].alert);
    EXPECT_THAT(LogText(), HasSubstr("[WARN ] SendModel: empty model (no triangles were "
                                     "produced)"));
    EXPECT_THAT(LogText(), HasSubstr("[ERROR] SendModel: export failed: could not create"));
}

} // namespace
} // namespace Velmora::Testing
