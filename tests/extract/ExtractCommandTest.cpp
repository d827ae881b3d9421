// The extract-and-upload command end to end against the scripted window and a loopback
// service: the in-flight rule, the blank-mask rule and the message for every outcome.
#include "ExtractTest.hpp"

#include "Extract/ExtractCommand.hpp"
#include "MainThreadDispatcher.hpp"
#include "upload/LoopbackServers.hpp"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <future>
#include <mutex>
#include <thread>

namespace Velmora::Testing {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// Answers every extraction upload with the scripted status and body, and keeps the bodies.
class ExtractionService {
public:
    explicit ExtractionService(std::shared_future<void> release = {}) {
        server_.Http().Post("/extractions-upload",
                            [this, release](httplib::Request const& req, httplib::Response& res) {
                                if (release.valid())
                                    release.wait();
                                std::lock_guard<std::mutex> lock(mutex_);
                                bodies_.push_back(nlohmann::json::parse(req.body));
                                res.status = status;
                                res.set_content(body, "application/json");
                            });
        server_.Start();
    }
    std::string Base() const { return server_.Url(""); }
    std::vector<nlohmann::json> Bodies() {
        std::lock_guard<std::mutex> lock(mutex_);
        return bodies_;
    }

    int status = 200;
    std::string body = "{}";

private:
    LoopbackServer server_;
    std::mutex mutex_;
    std::vector<nlohmann::json> bodies_;
};

class ExtractCommandTest : public ExtractTest {
protected:
    ExtractCommandTest() {
        MainThreadDispatcher::InstallHandler();
        window.info.hSize = 100;
        window.info.vSize = 100;
        window.AddElements(Host::API_WallID, 1);
        Settings::Get().SetAuthToken("token");
        options.highResLongEdge = 0;
        options.includeMask = true;
        options.tempFolder = temp.string();
    }
    ~ExtractCommandTest() override { RunUntilSettled(); }

    // Runs the host's event loop until the extraction has delivered its outcome. While
    // `refreshToken` holds, the page keeps handing over the same token after a 401.
    void RunUntilSettled(bool refreshToken = false) {
        for (int i = 0; i < 2000 && (IsExtractActive() || !MainThreadDispatcher::IsIdle()); ++i) {
            host.RunEventLoop();
            if (refreshToken)
                Settings::Get().SetAuthToken("token");
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        host.RunEventLoop();
        ASSERT_FALSE(IsExtractActive());
    }

    ExtractOptions options;
};

// Catches a mask kept below 0.4 % foreground or dropped at it (< against <=), a dropped
// mask whose file is left behind, and the debug dumps written without the setting.
TEST_F(ExtractCommandTest, AMaskBelowTheBlankThresholdIsDropped) {
    ExtractionService service;
    Settings::Get().apiBaseUrl = service.Base();
    struct Case {
        int pixels; // of 10000
        bool hasMask;
    } const cases[] = {{39, false}, {40, true}};
    for (Case const& c : cases) {
        window.foregroundPixels = c.pixels;
        ASSERT_EQ(RunExtractAndUpload(options), 0);
        RunUntilSettled();
    }
    std::vector<nlohmann::json> const bodies = service.Bodies();
    ASSERT_EQ(bodies.size(), 2u);
    EXPECT_EQ(bodies[0]["metadata"]["hasMask"], false);
    EXPECT_TRUE(bodies[0]["mask"].is_null());
    EXPECT_EQ(bodies[1]["metadata"]["hasMask"], true);
    EXPECT_THAT(bodies[1]["mask"].get<std::string>(), HasSubstr("data:image/png;base64,iVBORw0"));
    EXPECT_THAT(TempFiles(), ElementsAre());
    EXPECT_FALSE(std::filesystem::exists(home.LogFolder() / "last_extract.jpg"));
}

// Catches a second extraction that starts anyway (during the delay or the upload), one that
// disturbs the first, and an in-flight flag that is never cleared.
TEST_F(ExtractCommandTest, ASecondExtractIsRefusedWhileOneIsInFlight) {
    std::promise<void> release;
    ExtractionService service(release.get_future().share());
    Settings::Get().apiBaseUrl = service.Base();
    options.debugDump = true;
    ASSERT_EQ(RunExtractAndUpload(options), 0);
    EXPECT_TRUE(IsExtractInProgress());
    EXPECT_EQ(RunExtractAndUpload(options), Host::Error::General); // during the 250 ms delay
    while (LogLinesWith("starting upload").empty()) {
        host.RunEventLoop();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(RunExtractAndUpload(options), Host::Error::General); // during the upload
    release.set_value();
    RunUntilSettled();
    EXPECT_EQ(service.Bodies().size(), 1u);
    std::string const busy = "Velmora: an extraction is already in progress.";
    EXPECT_EQ(ReportTexts(), (std::vector<std::string>{
                                 busy, busy,
                                 "Velmora: upload complete. The new scene will appear in the "
                                 "panel."}));
    EXPECT_TRUE(std::filesystem::exists(home.LogFolder() / "last_extract.jpg"));
    EXPECT_TRUE(std::filesystem::exists(home.LogFolder() / "last_mask.png"));

    ASSERT_EQ(RunExtractAndUpload(options), 0); // free again
    RunUntilSettled();
    EXPECT_EQ(service.Bodies().size(), 2u);
}

struct OutcomeCase {
    char const* name;
    int status; // 0: nobody listens
    char const* body;
    char const* message;
};

// Catches a message mapped to the wrong outcome, a 400 about the aspect that is not told
// apart, the status missing from the generic message, and an outcome that is never reported.
TEST_F(ExtractCommandTest, EveryUploadOutcomeGetsItsMessage) {
    OutcomeCase const cases[] = {
        {"Ok", 200, "{}", "Velmora: upload complete. The new scene will appear in the panel."},
        {"Auth", 401, "denied",
         "Velmora: upload rejected - you are not signed in. Sign in via the Velmora panel and "
         "try again."},
        {"Forbidden", 403, "no", "Velmora: upload forbidden (403). Please contact support."},
        {"AspectRatio", 400, "{\"error\":\"aspect ratio\"}",
         "Velmora: the captured image aspect ratio is out of range. Try a different 3D view."},
        {"Network", 0, "",
         "Velmora: network error during upload. Check your connection and try again."},
        {"Other", 500, "oops", "Velmora: upload failed (HTTP 500)."},
        {"Other for a 400 without aspect", 400, "{\"error\":\"Aspect\"}",
         "Velmora: upload failed (HTTP 400)."},
    };
    ExtractionService service;
    options.includeMask = false;
    for (OutcomeCase const& c : cases) {
        SCOPED_TRACE(c.name);
        service.status = c.status;
        service.body = c.body;
        Settings::Get().apiBaseUrl =
            c.status == 0 ? "http://127.0.0.1:" + std::to_string(ClosedLoopbackPort())
                          : service.Base();
        std::size_t const reportsBefore = host.Reports().size();
        ASSERT_EQ(RunExtractAndUpload(options), 0);
        RunUntilSettled(c.status == 401);
        std::vector<Report> const reports = host.Reports();
        ASSERT_EQ(reports.size(), reportsBefore + 1);
        EXPECT_EQ(reports.back().text, c.message);
        EXPECT_TRUE(reports.back().alert); // no panel is up to show it
    }
    EXPECT_THAT(LogLinesWith("401 retry picked up"), testing::SizeIs(1));
}

// Catches a capture attempted without a sign-in token or a 3D window, and an in-flight flag
// left set.
TEST_F(ExtractCommandTest, SignedOutOrWithoutA3DWindowTheCommandReportsAndEnds) {
    Settings::Get().ClearAuthToken();
    EXPECT_EQ(RunExtractAndUpload(options), Host::Error::General);
    EXPECT_FALSE(IsExtractInProgress());
    Settings::Get().SetAuthToken("token");
    ON_CALL(host.window, GetCurrentWindow(testing::_))
        .WillByDefault(testing::Return(Host::Error::NoError)); // a plan window
    ASSERT_EQ(RunExtractAndUpload(options), 0);
    RunUntilSettled();
    std::vector<Report> const reports = host.Reports();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].text, "Velmora: please sign in via the Velmora panel before extracting.");
    EXPECT_EQ(reports[1].text, "Velmora: please open a 3D view before extracting.");
    EXPECT_TRUE(reports[0].alert && reports[1].alert);
}

} // namespace
} // namespace Velmora::Testing
