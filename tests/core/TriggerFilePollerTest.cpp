// Trigger files dropped into the settings folder start commands on the main thread.
#include "TriggerFilePoller.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "support/AddOnTest.hpp"

#include <chrono>
#include <fstream>
#include <thread>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// What each command tells the user while its real work is not in this build.
constexpr char kExtractRan[] = "Velmora: extracting the view is not available in this build yet.";
constexpr char kSendRan[] = "Velmora: sending the model is not available in this build yet.";
constexpr char kExportRan[] = "Velmora: exporting the model is not available in this build yet.";

bool WaitUntil(std::function<bool()> const& condition) {
    auto const deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(10ms);
    }
    return true;
}

std::size_t Count(std::string const& text, std::string const& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

bool Exists(fs::path const& path) {
    std::error_code ignored;
    return fs::exists(fs::symlink_status(path, ignored));
}

class PollerTest : public AddOnTest {
protected:
    PollerTest() {
        MainThreadDispatcher::InstallHandler();
        Logger::Get().Init();
    }

    fs::path Folder() const { return home.SupportFolder(); }
    static void Touch(fs::path const& path) { std::ofstream{path}; }

    // Drops a trigger and waits until the poller has consumed it: proof of a full pass.
    void FireAndWait(std::string const& name) {
        int const before = host.PendingEventLoopCalls();
        Touch(Folder() / name);
        ASSERT_TRUE(WaitUntil(
            [&] { return !Exists(Folder() / name) && host.PendingEventLoopCalls() > before; }));
    }
};

TEST_F(PollerTest, ATriggerRunsItsCommandOnceOnTheMainThreadAndStopEndsThePollerOnce) {
    TriggerFilePoller::Start();
    Touch(Folder() / "trigger_extract");
    TriggerFilePoller::Start(); // no-op: neither a second thread nor a second stale sweep
    EXPECT_TRUE(TriggerFilePoller::IsRunning());
    ASSERT_TRUE(WaitUntil([&] { return host.PendingEventLoopCalls() == 1; }));
    EXPECT_FALSE(Exists(Folder() / "trigger_extract"));
    EXPECT_TRUE(host.Reports().empty()); // posted, not run on the poller's thread

    TriggerFilePoller::Stop();
    TriggerFilePoller::Stop();
    EXPECT_FALSE(TriggerFilePoller::IsRunning());
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), std::vector<std::string>{kExtractRan});

    std::string const log = LogText();
    EXPECT_EQ(Count(log, "[INFO ] TriggerFilePoller: watching " + Folder().string() +
                             " for trigger_extract / trigger_send_model / trigger_export_model\n"),
              1u);
    EXPECT_EQ(Count(log, "[INFO ] TriggerFilePoller: trigger_extract consumed -> DoExtractView "
                         "on the main thread\n"),
              1u);
    EXPECT_EQ(Count(log, "[INFO ] TriggerFilePoller: stopped\n"), 1u);
    EXPECT_EQ(Count(log, "stale"), 0u);

    TriggerFilePoller::Start(); // a stopped poller starts afresh
    FireAndWait("trigger_export_model");
    TriggerFilePoller::Stop();
    EXPECT_EQ(Count(LogText(), "TriggerFilePoller: stopped"), 2u);
}

TEST_F(PollerTest, WithoutAHomeFolderThePollerStaysStopped) {
    {
        NoHome noHome;
        TriggerFilePoller::Start();
        EXPECT_FALSE(TriggerFilePoller::IsRunning());
        TriggerFilePoller::Stop();
    }
    std::string const log = LogText();
    EXPECT_EQ(Count(log, "[WARN ] TriggerFilePoller: no settings folder; poller not started"), 1u);
    EXPECT_EQ(Count(log, "watching"), 0u);
    EXPECT_EQ(Count(log, "stopped"), 0u);
}

TEST_F(PollerTest, TriggersLeftFromAnEarlierSessionAreRemovedWithoutRunning) {
    Touch(Folder() / "trigger_extract");
    fs::create_directory(Folder() / "trigger_send_model");
    fs::create_symlink(Folder() / "nowhere", Folder() / "trigger_export_model");
    TriggerFilePoller::Start();
    for (char const* name : {"trigger_extract", "trigger_send_model", "trigger_export_model"})
        EXPECT_FALSE(Exists(Folder() / name)) << name;
    FireAndWait("trigger_export_model");
    TriggerFilePoller::Stop();
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), std::vector<std::string>{kExportRan});

    std::string const log = LogText();
    std::size_t const extract = log.find(
        "[INFO ] TriggerFilePoller: stale trigger_extract from a previous session removed\n");
    std::size_t const send = log.find("stale trigger_send_model from a previous session removed");
    std::size_t const exportModel =
        log.find("stale trigger_export_model from a previous session removed");
    EXPECT_LT(extract, send);
    EXPECT_LT(send, exportModel);
    EXPECT_NE(exportModel, std::string::npos);
}

TEST_F(PollerTest, TriggersSeenInOnePassRunInTableOrderAsSeparatePosts) {
    TriggerFilePoller::Start();
    // Swap in a folder that already holds all three, so that one pass sees them together.
    fs::path const staging = home.Path() / "staging";
    fs::create_directory(staging);
    for (char const* name : {"trigger_export_model", "trigger_send_model", "trigger_extract"})
        Touch(staging / name);
    fs::path const previous = home.Path() / "previous";
    fs::rename(Folder(), previous);
    fs::rename(staging, Folder());
    ASSERT_TRUE(WaitUntil([&] { return host.PendingEventLoopCalls() == 3; }));
    TriggerFilePoller::Stop();
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), (std::vector<std::string>{kExtractRan, kSendRan, kExportRan}));
    for (char const* name : {"trigger_extract", "trigger_send_model", "trigger_export_model"})
        EXPECT_FALSE(Exists(Folder() / name)) << name;

    std::string const log = ReadFile(previous / "logs" / "velmora.log"); // the open log moved
    std::size_t const extract = log.find("trigger_extract consumed -> DoExtractView");
    std::size_t const send = log.find("trigger_send_model consumed -> DoSendModel");
    std::size_t const exportModel = log.find("trigger_export_model consumed -> DoExportModel");
    EXPECT_LT(extract, send);
    EXPECT_LT(send, exportModel);
    EXPECT_NE(exportModel, std::string::npos);
}

TEST_F(PollerTest, AnUndeletableTriggerIsReportedAtEveryPassAndNeverRuns) {
    WriteFile(Folder() / "trigger_send_model" / "keep", "x");
    TriggerFilePoller::Start();
    FireAndWait("trigger_export_model");
    FireAndWait("trigger_export_model");
    TriggerFilePoller::Stop();
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), (std::vector<std::string>{kExportRan, kExportRan}));
    EXPECT_TRUE(Exists(Folder() / "trigger_send_model" / "keep"));

    std::string const log = LogText();
    EXPECT_GE(Count(log, "[WARN ] TriggerFilePoller: trigger_send_model seen but could not be "
                         "removed; skipping\n"),
              2u);
    EXPECT_EQ(Count(log, "stale trigger_send_model"), 0u);
    EXPECT_EQ(Count(log, "DoSendModel"), 0u);
}

TEST_F(PollerTest, AFailedStatusQueryCountsAsNoFile) {
    TriggerFilePoller::Start();
    // A folder that resolves to itself makes every query inside it fail.
    fs::path const aside = home.Path() / "aside";
    fs::rename(Folder(), aside);
    fs::create_directory_symlink(Folder().filename(), Folder());
    std::this_thread::sleep_for(1s); // several passes over the broken folder
    fs::remove(Folder());
    fs::rename(aside, Folder());
    FireAndWait("trigger_extract");
    TriggerFilePoller::Stop();
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), std::vector<std::string>{kExtractRan});
    EXPECT_EQ(Count(LogText(), "could not be removed"), 0u);
}

} // namespace
} // namespace Velmora::Testing
