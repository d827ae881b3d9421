// velmora-sim with the panel's page in a real browser: the reference service's page hands its
// token to the add-on, starts a real extraction and shows its events, and signs out.
#include "browser/BrowserTestSupport.hpp"
#include "support/ImageFiles.hpp"
#include "support/SimProcess.hpp"
#include "support/TempHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

namespace Velmora::Testing {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char const* kEvalPrefix = "browser:eval: ";
constexpr char const* kPageReady = "browser:wait:window.__appReady === true && !!window.velmora";
constexpr char const* kAddOnHasToken =
    "browser:wait:window.velmora.getAuthToken().then(function (t) { return t.length > 0; })";

// The values printed by the run's browser:eval actions, parsed, in order.
std::vector<json> EvalResults(SimRun const& run) {
    std::vector<json> values;
    for (std::string const& line : run.OutLines()) {
        if (line.rfind(kEvalPrefix, 0) == 0)
            values.push_back(json::parse(line.substr(std::strlen(kEvalPrefix))));
    }
    return values;
}

std::vector<std::string> TokenLines(SimRun const& run) {
    std::vector<std::string> lines;
    for (std::string const& line : run.OutLines()) {
        if (line.rfind("auth token: ", 0) == 0)
            lines.push_back(line);
    }
    return lines;
}

std::uint64_t VersionIn(std::string const& tokenLine) {
    std::size_t const at = tokenLine.rfind("(version ");
    return at == std::string::npos ? 0 : std::stoull(tokenLine.substr(at + 9));
}

class BrowserPanelEndToEndTest : public testing::Test {
protected:
    void SetUp() override {
        std::string const missing = MissingBrowserTools();
        if (!missing.empty())
            GTEST_SKIP() << "skipped: " << missing;
        ASSERT_GT(service.port, 0);
        WriteFile(home.SupportFolder() / "settings.cfg",
                  "webAppUrl=" + service.Url("/app/?embed=archicad") +
                      "\napiBaseUrl=" + service.Url("") + "\n");
    }

    SimRun Run(std::vector<std::string> actions) {
        actions.insert(actions.begin(),
                       {"--home", home.Path().string(), "--browser", "--settle-timeout", "120",
                        "menu:32500:1", kPageReady, "browser:click:#sign-in", kAddOnHasToken});
        return RunVelmoraSim(actions);
    }

    // The upload requests the service received.
    std::vector<json> Uploads() {
        httplib::Client client("127.0.0.1", service.port);
        auto const answer = client.Get("/_control/log");
        std::vector<json> uploads;
        if (!answer)
            return uploads;
        json const log = json::parse(answer->body);
        for (json const& request : log["requests"]) {
            if (request["path"] == "/extractions-upload")
                uploads.push_back(request);
        }
        return uploads;
    }

    RunningDevServer service;
    TempHome home;
};

// Catches a token that never reaches the add-on through the pull script, an extraction the
// page's button does not start, events that arrive out of order or not at all, a screenshot
// that is not a PNG of the panel, and a sign-out that leaves the add-on signed in.
TEST_F(BrowserPanelEndToEndTest, ThePageSignsInExtractsWatchesProgressAndSignsOut) {
    std::string const screenshot = (home.Path() / "panel.png").string();
    SimRun const run = Run({
        "print:token",
        "browser:eval:window.getFirebaseToken()",
        "browser:click:#extract",
        "browser:wait:window.__events.some(function (e) { return e.action !== "
        "'extractionProgress'; })",
        "browser:eval:JSON.stringify(window.__events)",
        "browser:wait:!document.getElementById('result').classList.contains('empty')",
        "browser:screenshot:" + screenshot,
        "browser:click:#sign-out",
        "browser:wait:document.body.dataset.addonSession === 'signed-out'",
        "print:token",
    });
    ASSERT_EQ(run.exitStatus, 0) << run.err << run.out;

    std::vector<json> const values = EvalResults(run);
    ASSERT_EQ(values.size(), 2u);
    json const pageToken = json::parse(values[0].get<std::string>());
    ASSERT_EQ(pageToken["success"], true);
    std::vector<std::string> const tokens = TokenLines(run);
    ASSERT_EQ(tokens.size(), 2u);
    EXPECT_THAT(tokens[0],
                StartsWith("auth token: " + pageToken["token"].get<std::string>() + " (version "));

    std::vector<json> const uploads = Uploads();
    ASSERT_EQ(uploads.size(), 1u);
    EXPECT_EQ(uploads[0]["status"], 200);
    EXPECT_EQ(uploads[0]["authorization"], true);

    json const events = json::parse(values[1].get<std::string>());
    ASSERT_GE(events.size(), 3u) << events.dump();
    int lastPercent = 0;
    for (std::size_t i = 0; i + 1 < events.size(); ++i) {
        ASSERT_EQ(events[i]["action"], "extractionProgress") << events.dump();
        int const percent = events[i]["data"]["progress"].get<int>();
        EXPECT_GT(percent, lastPercent) << events.dump();
        lastPercent = percent;
    }
    EXPECT_EQ(events.back()["action"], "extractionComplete") << events.dump();
    EXPECT_EQ(events.back()["data"]["kind"], "view");

    DecodedImage panel;
    ASSERT_TRUE(DecodePngFile(screenshot, panel));
    EXPECT_EQ(std::make_pair(panel.width, panel.height), std::make_pair(440, 720));
    EXPECT_EQ(tokens[1].substr(0, 25), "auth token: (none) (versi");
    EXPECT_GT(VersionIn(tokens[1]), VersionIn(tokens[0]));
}

// Catches browser actions accepted without a browser to run them, or malformed ones.
TEST(BrowserActionsCommandLineTest, MalformedOrBrowserlessActionsAreRefusedUpFront) {
    struct Case {
        std::vector<std::string> args;
        std::string message;
    };
    for (Case const& c : std::vector<Case>{
             {{"browser:reload"}, "browser:reload needs --browser"},
             {{"--browser", "browser:click:"}, "bad browser action 'browser:click:'"},
             {{"--browser", "browser:reload:now"}, "bad browser action"},
             {{"--browser", "browser:look"}, "bad browser action"},
         }) {
        SimRun const run = RunVelmoraSim(c.args);
        EXPECT_EQ(run.exitStatus, 2) << c.args.back();
        EXPECT_THAT(run.err, HasSubstr(c.message));
    }
}

} // namespace
} // namespace Velmora::Testing
