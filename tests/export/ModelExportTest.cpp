// The walk, the export and the disk command against a scripted model in the fake host.
#include "Export/ModelExport.hpp"
#include "Export/ModelCommands.hpp"
#include "Logger.hpp"
#include "export/ScriptedModel.hpp"
#include "support/AddOnTest.hpp"

#include <gmock/gmock.h>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::DoAll;
using testing::Invoke;
using testing::Return;
using testing::SetArgPointee;

namespace fs = std::filesystem;

class ModelExportTest : public AddOnTest {
protected:
    ModelExportTest() { Logger::Get().Init(); } // the log folder holds the disk copy

    // A host with a project file, a sight pair and a model of the given elements.
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
        ON_CALL(host.sight, SelectSight(_, _)).WillByDefault(Invoke([this](void* s, void** old) {
            sightCalls.push_back(std::string("select ") + (s == kCreated ? "created" : "user's"));
            *old = selected;
            selected = s;
            return Host::Error::NoError;
        }));
        ON_CALL(host.sight, DeleteSight(_)).WillByDefault(Invoke([this](void* s) {
            sightCalls.push_back(s == kCreated ? "delete created" : "delete other");
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
        ON_CALL(host.sight, GetSelectedSightModel(_)).WillByDefault(Invoke([this](MAPI::Model& m) {
            m = model;
            return Host::Error::NoError;
        }));
    }

    static inline int createdSight = 0, usersSight = 0;
    void* const kCreated = &createdSight;
    void* const kUsers = &usersSight;
    void* selected = kUsers;
    std::vector<std::string> sightCalls;
    std::string projectFile = "/Projects/Tower:A?.pln";
    std::string windowTitle = "3D / All";
    MAPI::Model model;
};

// Walls around [0, 10] x [0, 10] in two bodies of one element.
ScriptElement WallEnvelope() {
    ScriptElement wall = ElementOf(MAPI::Element::WallElement, Upright(0, 0, 10, 0));
    wall.bodies.push_back(Upright(10, 10, 0, 10));
    return wall;
}

// Catches the 50 % rule moved or inverted, measured on the wrong axis, the zero-area centre
// rule missing or loosened, dropped triangles not counted, skipped types counted twice or
// read, and an export without anchors that scopes to an envelope it does not have.
TEST_F(ModelExportTest, ElementsOutsideTheEnvelopeAndSkippedTypesAreDropped) {
    std::vector<ScriptElement> const elements = {
        WallEnvelope(),
        ElementOf(MAPI::Element::SlabElement, FlatQuad(4, 2, 14, 4)),       // 60 % inside
        ElementOf(MAPI::Element::SlabElement, FlatQuad(5.5, 2, 15.5, 4)),   // 45 % inside
        ElementOf(MAPI::Element::SlabElement, FlatQuad(2, 5.5, 4, 15.5)),   // 45 % along y
        ElementOf(MAPI::Element::ObjectElement, Upright(5, 5, 5, 12)),      // centre in
        ElementOf(MAPI::Element::ObjectElement, Upright(10.5, 0, 10.5, 2)), // centre just out
        ElementOf(MAPI::Element::SlabElement, FlatQuad(0, 10, 2, 12)),      // edge: 0 %
        ElementOf(MAPI::Element::RoomElement, FlatQuad(0, 0, 1, 1)),
        ElementOf(MAPI::Element::Opening, FlatQuad(0, 0, 1, 1)),
        ElementOf(MAPI::Element::Openingpatchinfill, FlatQuad(0, 0, 1, 1)),
        ElementOf(MAPI::Element::MeshElement, FlatQuad(-50, -50, 50, 50))};
    GlbBuilder builder;
    ModelExportResult result;
    EXPECT_EQ(CollectTriangles(MakeModel(elements), {}, builder, result), 3u);
    EXPECT_EQ(result.outsideBuildingSkipped, 4u);
    EXPECT_EQ(result.outsideBuildingTris, 8u);
    EXPECT_EQ(std::make_tuple(result.zonesSkipped, result.openingsSkipped, result.siteSkipped),
              std::make_tuple(1u, 2u, 1u));

    ModelExportOptions everything;
    everything.includeSiteMesh = true;
    everything.buildingOnly = false;
    GlbBuilder second;
    ModelExportResult all;
    EXPECT_EQ(CollectTriangles(MakeModel(elements), everything, second, all), 8u);
    EXPECT_EQ(all.siteSkipped, 0u);
    GlbBuilder third;
    ModelExportResult noAnchor;
    EXPECT_EQ(
        CollectTriangles(MakeModel({elements.begin() + 1, elements.end()}), {}, third, noAnchor),
        6u);
    EXPECT_EQ(noAnchor.outsideBuildingSkipped, 0u);
}

// Catches names taken from the wrong field, extensions stripped in the middle or case
// blind, trimming that misses dots, and a stem longer than 80 bytes.
TEST(FileStemTest, ProjectAndViewNamesBecomeSafeFileStems) {
    std::pair<std::string, std::string> const stems[] = {
        {"Tower:A?", "Tower_A_"},
        {" . . ", ""},
        {"\t.x.\t", "_.x._"},
        {"a\"*/<>\\|\x01\x7f", "a_________"},
        {"..Haus Müller.", "Haus Müller"},
        {std::string(90, 'x'), std::string(80, 'x')}};
    for (auto const& [in, out] : stems)
        EXPECT_EQ(SanitizeFileStem(in), out) << in;
    std::pair<std::string, std::string> const projects[] = {{"Tower.pln", "Tower"},
                                                            {"a.tpl", "a"},
                                                            {"b.pln.mod", "b.pln"},
                                                            {"c.PLN", "c.PLN"},
                                                            {"d.pln.txt", "d.pln.txt"}};
    for (auto const& [in, out] : projects)
        EXPECT_EQ(StripProjectExtension(in), out) << in;
}

// Catches the fallbacks out of order.
TEST_F(ModelExportTest, FileNameFallsBackFromProjectToViewToDefault) {
    ScriptHost({WallEnvelope()});
    EXPECT_EQ(ExportVisible3DModelToGlb({}).fileName, "Tower_A_.glb");
    projectFile = "/Projects/. ..pln";
    EXPECT_EQ(ExportVisible3DModelToGlb({}).fileName, "3D _ All.glb");
    windowTitle = "...";
    EXPECT_EQ(ExportVisible3DModelToGlb({}).fileName, "archicad-model.glb");
}

// Catches a guard that skips the restore or the delete on some path, restores after
// deleting, and "nothing visible" reported as a failure. Host exceptions at every call are
// swept with the simulated host.
TEST_F(ModelExportTest, TheUsersSightIsRestoredAndTheCreatedOneDeletedOnEveryPath) {
    struct Case {
        std::function<void()> breakIt;
        std::string error;
        bool failed;
        std::vector<std::string> sightCalls;
    };
    std::vector<std::string> const full = {"select created", "select user's", "delete created"};
    std::vector<Case> const cases = {
        {[] {}, "", false, full},
        {[this] {
             ON_CALL(host.sight, SelectSight(_, _)).WillByDefault(Return(Host::Error::BadPars));
         },
         "could not select the 3D sight (err -2130313112)",
         true,
         {"delete created"}},
        {[this] {
             ON_CALL(host.element, GetElemList(_, _, 10))
                 .WillByDefault(Return(Host::Error::NoPlan));
         },
         "could not list the 3D-visible elements (err -2130313013)", true, full},
        {[this] {
             ON_CALL(host.element, GetElemList(_, _, 10))
                 .WillByDefault(Return(Host::Error::NoError));
         },
         "nothing is visible in 3D", false, full},
        {[this] {
             ON_CALL(host.sight, GetSelectedSightModel(_))
                 .WillByDefault(Return(Host::Error::RefusedCmd));
         },
         "could not read the generated 3D model (err -2130312312)", true, full},
        {[this] { model = MakeModel({}); }, "the generated 3D model is empty", true, full},
    };
    for (Case const& c : cases) {
        ScriptHost({WallEnvelope()});
        selected = kUsers;
        sightCalls.clear();
        c.breakIt();
        ModelExportResult const r = ExportVisible3DModelToGlb({});
        EXPECT_EQ(r.error, c.error);
        EXPECT_EQ(r.status != 0, c.failed) << c.error;
        EXPECT_EQ(sightCalls, c.sightCalls) << c.error;
    }
    ON_CALL(host.sight, CreateSight(_)).WillByDefault(Return(Host::Error::General));
    sightCalls.clear();
    EXPECT_EQ(ExportVisible3DModelToGlb({}).error, "could not create a 3D sight (err -2130313215)");
    EXPECT_TRUE(sightCalls.empty());
}

// Catches the size format switching a byte early or late, and the wrong rounding.
TEST(ModelSizeTest, BelowOneMebibyteIsKilobytesAboveIsMegabytes) {
    EXPECT_EQ(FormatModelSize(1048575), "1024 KB");
    EXPECT_EQ(FormatModelSize(1048576), "1.0 MB");
    EXPECT_EQ(FormatModelSize(1535), "1 KB");
    EXPECT_EQ(FormatModelSize(1048576 + 104858), "1.1 MB");
}

// Catches a second export that runs or releases the first one's claim, a "Saved to" line
// for a copy that was never written, and failures reported without an alert.
TEST_F(ModelExportTest, DiskExportReportsEveryOutcome) {
    ScriptHost({WallEnvelope()});
    ASSERT_TRUE(TryClaimModelJob());
    EXPECT_EQ(RunExportModelToDisk(), Host::Error::General);
    EXPECT_TRUE(IsSendModelInProgress());
    ReleaseModelJob();
    EXPECT_EQ(RunExportModelToDisk(), Host::Error::NoError);
    fs::path const copy = home.LogFolder() / "last_model.glb";
    fs::remove(copy);
    fs::create_directories(copy / "blocked"); // a folder in the copy's place
    RunExportModelToDisk();
    fs::remove_all(copy);
    model = MakeModel({ElementOf(MAPI::Element::RoomElement, FlatQuad(0, 0, 1, 1))});
    RunExportModelToDisk();
    ON_CALL(host.sight, CreateSight(_)).WillByDefault(Return(Host::Error::General));
    RunExportModelToDisk();

    std::vector<Report> const reports = host.Reports();
    ASSERT_EQ(reports.size(), 5u);
    EXPECT_EQ(reports[0].text, "Velmora: a model is already being prepared.");
    EXPECT_THAT(reports[2].text, testing::MatchesRegex("Velmora: model exported\\. 4 triangles, "
                                                       "[0-9]+ KB\\."));
    EXPECT_EQ(reports[1].text, reports[2].text + "\nSaved to " + copy.string());
    EXPECT_EQ(reports[3].text, "Velmora: nothing to send. There is no visible 3D geometry in this "
                               "project. Show the layers you want to place, then try again.");
    EXPECT_EQ(reports[4].text, "Velmora: could not read the 3D model. could not create a 3D sight "
                               "(err -2130313215)");
    for (std::size_t i = 0; i < reports.size(); ++i)
        EXPECT_EQ(reports[i].alert, i != 1 && i != 2) << i;
}

} // namespace
} // namespace Velmora::Testing
