// The extract-and-upload command against the scripted window and a loopback service: the
// in-flight rule, the blank-mask rule and the checks before a capture.
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

// Accepts every extraction upload and keeps the bodies.
class ExtractionService {
public:
    explicit ExtractionService(std::shared_future<void> release = {}) {
        server_.Http().Post("/extractions-upload",
                            [this, release](httplib::Request const& req, httplib::Response& res) {
                                if (release.valid())
                                    release.wait();
                                std::lock_guard<std::mutex> lock(mutex_);
                                bodies_.push_back(nlohmann::json::parse(req.body));
                                res.set_content("{}", "application/json");
                            });
        server_.Start();
    }
    std::string Base() const { return server_.Url(""); }
    std::vector<nlohmann::json> Bodies() {
        std::lock_guard<std::mutex> lock(mutex_);
        return bodies_;
    }

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

    // Runs the host's event loop until the extraction has delivered its outcome.
    void RunUntilSettled() {
        for (int i = 0; i < 2000 && (IsExtractActive() || !MainThreadDispatcher::IsIdle()); ++i) {
            host.RunEventLoop();
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
