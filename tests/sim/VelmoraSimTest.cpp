// velmora-sim end to end: the add-on loaded as the host loads it, driven like a user.
#include "HostEntry.hpp"
#include "support/SimProcess.hpp"
#include "support/TempHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace Velmora::Testing {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;

namespace fs = std::filesystem;

class VelmoraSimTest : public testing::Test {
protected:
    SimRun Run(std::vector<std::string> args) {
        args.insert(args.begin(), {"--home", home.Path().string(), "--settle-timeout", "20"});
        return RunVelmoraSim(args);
    }
    fs::path SettingsFile() const { return home.SupportFolder() / "settings.cfg"; }
    std::string Log() const { return ReadFile(home.LogFolder() / "velmora.log"); }

    TempHome home;
};

TEST_F(VelmoraSimTest, BadCommandLinesExitWithTwoAndSayWhy) {
    struct Case {
        std::vector<std::string> args;
        std::string message;
    };
    for (Case const& c : std::vector<Case>{
             {{"--frobnicate"}, "unknown option '--frobnicate'"},
             {{"menu:32501"}, "expected menu:MENU:ITEM"},
             {{"jump"}, "unknown action 'jump'"},
             {{"trigger:trigger_everything"}, "unknown trigger 'trigger_everything'"},
             {{"--settle-timeout", "0"}, "positive number of seconds"},
             {{"--fail", "ACAPI_WriteReport:x"}, "--fail takes CALL[:N[:CODE]]"},
             // A misspelt call would never fire and the run would look clean.
             {{"--fail", "ACAPI_MenuItem_RegistrMenu"},
              "no call named 'ACAPI_MenuItem_RegistrMenu'; did you mean "
              "ACAPI_MenuItem_RegisterMenu? (velmora-sim --list-calls lists them all)"},
             {{"--throw", "ModelerAPI::MeshBody::GetPolygons:2"},
              "did you mean ModelerAPI::MeshBody::GetPolygon?"},
             {{"--home"}, "--home needs a value"},
         }) {
        SimRun const run = RunVelmoraSim(c.args);
        EXPECT_EQ(run.exitStatus, 2) << c.args[0];
        EXPECT_THAT(run.err, HasSubstr(c.message));
    }
    EXPECT_THAT(RunVelmoraSim({"--help"}).out, HasSubstr("trigger:NAME"));
    SimRun const missingItem = Run({"menu:32501:9"});
    EXPECT_EQ(missingItem.exitStatus, 2);
    EXPECT_THAT(missingItem.err, HasSubstr("there is no menu item 32501:9"));
}

TEST_F(VelmoraSimTest, TogglingTheMaskTwiceReportsBothStatesAndKeepsTheCheckMarkInStep) {
    SimRun const run = Run({"menu:32501:1", "menus", "menu:32501:1", "menus"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_THAT(run.OutLines(),
                IsSupersetOf({"report: Velmora: Semantic Mask is OFF (uploads the 3D view only).",
                              "  32501:1 [ ] Semantic Mask", "  32501:1 [x] Semantic Mask"}));
    std::string const out = run.out;
    EXPECT_LT(out.find("Semantic Mask is OFF"), out.find("[ ] Semantic Mask"));
    EXPECT_LT(out.find("[ ] Semantic Mask"), out.find("Semantic Mask is ON"));
    EXPECT_LT(out.find("Semantic Mask is ON"), out.find("[x] Semantic Mask"));
    EXPECT_THAT(ReadFile(SettingsFile()), HasSubstr("\nincludeMask=true\n"));
}

TEST_F(VelmoraSimTest, SettingsPersistAcrossRunsThroughSettingsCfg) {
    ASSERT_EQ(Run({"menu:32501:3"}).exitStatus, 0);
    SimRun const second = Run({"menus"});
    EXPECT_THAT(second.out, HasSubstr("  32501:3 [x] Per-Element Mask Colors"));
    EXPECT_THAT(second.out, HasSubstr("  32501:1 [x] Semantic Mask"));
    EXPECT_THAT(second.out, HasSubstr("  32501:2 [ ] Save Debug Capture"));
}

TEST_F(VelmoraSimTest, FailuresWhileLoadingStopTheLoadWithTheHostsErrorCode) {
    SimRun const registration = Run({"--fail", "ACAPI_MenuItem_RegisterMenu:2"});
    EXPECT_EQ(registration.exitStatus, 1);
    EXPECT_THAT(registration.err, HasSubstr("RegisterInterface failed with error 0x81060001"));

    SimRun const palette = Run({"--fail", "ACAPI_RegisterModelessWindow:1:0x81060065"});
    EXPECT_EQ(palette.exitStatus, 1);
    EXPECT_THAT(palette.err, HasSubstr("Initialize failed with error 0x81060065"));
    // The host still calls FreeData once Initialize ran; the poller never started.
    EXPECT_THAT(Log(), HasSubstr("Velmora: FreeData"));
    EXPECT_THAT(Log(), testing::Not(HasSubstr("TriggerFilePoller: watching")));
}

// Catches a host call whose exception still ends the process (in Archicad: Archicad itself)
// while the add-on loads, in a command the user chose, or in one velmora-sim starts for the
// user: each ends only its load or command, with one alert for the command.
TEST_F(VelmoraSimTest, AThrowingHostCallEndsTheCommandNotTheProcess) {
    std::string const alert = std::string("alert: ") + kUnexpectedErrorMessage;
    struct Case {
        std::vector<std::string> args;
        int exitStatus;
        std::string said;
    };
    for (Case const& c : std::vector<Case>{
             {{"--throw", "ACAPI_MenuItem_RegisterMenu:2"}, 1, "RegisterInterface failed"},
             {{"--throw", "ACAPI_RegisterModelessWindow"}, 1, "Initialize failed"},
             {{"--throw", "ACAPI_WriteReport", "menu:32501:1"}, 0, alert},
             {{"--throw", "ACAPI_WriteReport", "extract"}, 0, alert},
         }) {
        SimRun const run = Run(c.args);
        EXPECT_EQ(run.exitStatus, c.exitStatus) << c.args[1] << "\n" << run.err;
        EXPECT_THAT(run.out + run.err, HasSubstr(c.said)) << c.args[1];
    }
}

TEST_F(VelmoraSimTest, ATriggerFileRunsItsCommandOnceAndIsConsumed) {
    SimRun const run = Run({"trigger:trigger_export_model"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    fs::path const copy = home.LogFolder() / "last_model.glb";
    EXPECT_THAT(run.OutLines(),
                ElementsAre(testing::MatchesRegex("report: Velmora: model exported\\. [0-9]+ "
                                                  "triangles, [0-9]+ KB\\."),
                            "Saved to " + copy.string()));
    EXPECT_TRUE(fs::exists(copy));
    EXPECT_FALSE(fs::exists(home.SupportFolder() / "trigger_export_model"));
    EXPECT_THAT(Log(), HasSubstr("TriggerFilePoller: trigger_export_model consumed -> "
                                 "DoExportModel on the main thread"));
}

TEST_F(VelmoraSimTest, TriggersLeftFromAnEarlierSessionNeverFire) {
    WriteFile(home.SupportFolder() / "trigger_extract", "");
    SimRun const run = Run({"wait:400"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(Log(), HasSubstr("TriggerFilePoller: stale trigger_extract from a previous "
                                 "session removed"));
}

TEST_F(VelmoraSimTest, EveryHostCallIsMadeOnTheMainThread) {
    fs::path const callLog = home.Path() / "calls.txt";
    SimRun const run = Run({"--call-log", callLog.string(), "trigger:trigger_extract",
                            "trigger:trigger_send_model", "menu:32501:2"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    std::string const calls = ReadFile(callLog);
    EXPECT_THAT(calls, HasSubstr("ACAPI_AddOnAddOnCommunication_CallFromEventLoop\n"));
    EXPECT_THAT(calls, testing::Not(HasSubstr("off the main thread")));
}

} // namespace
// The panel end to end: a page call before sign-in gets the error event and an alert; once
// signed in, a failed capture reaches the page as an event and the report window without an
// alert; the menu item hides the panel again and the quit releases it before FreeData.
TEST_F(VelmoraSimTest, PanelShowsEventsOfPageStartedWorkAndHidesFromTheMenu) {
    SimRun const run = Run({"--fail", "ACAPI_Window_GetCurrentWindow:1:0x8106006B", "menu:32500:1",
                            "page:requestExtract", "page:onAuthToken:T", "page:getAuthToken",
                            "page:requestExtract:{\"includeMask\":false}", "menu:32500:1",
                            "menus:32500", "page:nosuch"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_THAT(run.err, HasSubstr("page:nosuch: the page has no window.velmora.nosuch"));
    std::string const signIn = "Velmora: please sign in via the Velmora panel before extracting.";
    std::string const noView = "Velmora: please open a 3D view before extracting.";
    auto const event = [](std::string const& action, std::string const& fields) {
        return "panel: window.postMessage({\"action\":\"" + action + "\",\"data\":{" + fields +
               "\"kind\":\"view\",\"source\":\"ArchiCAD\"}},\"*\");";
    };
    std::vector<std::string> const lines = run.OutLines();
    EXPECT_THAT(
        lines,
        IsSupersetOf(std::vector<std::string>{
            "alert: " + signIn, "page: requestExtract -> false",
            event("extractionError", "\"error\":\"" + signIn + "\","), "page: onAuthToken -> true",
            "page: getAuthToken -> \"T\"", "page: requestExtract -> true",
            event("extractionProgress", "\"progress\":5,\"status\":\"Capturing 3D view\","),
            event("extractionError", "\"error\":\"" + noView + "\","), "report: " + noView,
            "  32500:1 [ ] Velmora Panel"}));
    auto const pulls = std::count_if(lines.begin(), lines.end(), [](std::string const& line) {
        return line.rfind("panel: (function pull(n)", 0) == 0;
    });
    EXPECT_EQ(pulls, 1); // once on load; getAuthToken had the token
    EXPECT_THAT(Log(), HasSubstr("WebAppPalette: window.velmora bridge re-sent"));
}

} // namespace Velmora::Testing
