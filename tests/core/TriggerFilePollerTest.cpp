// Trigger files dropped into the settings folder start commands on the main thread.
#include "TriggerFilePoller.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "support/AddOnTest.hpp"

#include <algorithm>
#include <chrono>
#include <sstream>
#include <thread>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

// What each command tells the user while its real work is not in this build.
constexpr char kExtractRan[] = "Velmora: extracting the view is not available in this build yet.";
constexpr char kExportRan[] = "Velmora: exporting the model is not available in this build yet.";

Lines operator+(Lines lines, Lines const& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

class PollerTest : public AddOnTest {
protected:
    PollerTest() {
        MainThreadDispatcher::InstallHandler();
        Logger::Get().Init();
    }

    fs::path Folder() const { return home.SupportFolder(); }
    static std::string Info(std::string const& s) { return "[INFO ] TriggerFilePoller: " + s; }
    static std::string Consumed(std::string const& name, std::string const& command) {
        return Info(name + " consumed -> " + command + " on the main thread");
    }
    // A poller's whole life in the log, around what its passes logged.
    Lines Session(Lines const& passes) const {
        std::string const names = "trigger_extract / trigger_send_model / trigger_export_model";
        return Lines{Info("watching " + Folder().string() + " for " + names)} + passes +
               Lines{Info("stopped")};
    }
    // The poller's log lines without their timestamps, in order.
    Lines PollerLog() const {
        Lines lines;
        std::istringstream log(LogText());
        for (std::string line; std::getline(log, line);)
            if (line.find(" TriggerFilePoller: ") != std::string::npos)
                lines.push_back(line.substr(line.find(' ') + 1));
        return lines;
    }
    // Two full passes after now: whatever was in the folder by now has been dealt with.
    static void WaitTwoPasses() {
        auto const target = TriggerFilePoller::CompletedPasses() + 2;
        for (int tries = 0; TriggerFilePoller::CompletedPasses() < target; ++tries) {
            ASSERT_LT(tries, 1000) << "the poller made no progress";
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
};

TEST_F(PollerTest, ATriggerRunsItsCommandOnceOnTheMainThreadAcrossStopsAndRestarts) {
    {
        NoHome noHome;
        TriggerFilePoller::Start();
    }
    TriggerFilePoller::Start();
    WriteFile(Folder() / "trigger_extract", "");
    TriggerFilePoller::Start(); // no-op: neither a second thread nor a second stale sweep
    WaitTwoPasses();
    EXPECT_TRUE(host.Reports().empty()); // posted, not run on the poller's thread
    TriggerFilePoller::Stop();
    TriggerFilePoller::Stop();

    TriggerFilePoller::Start(); // afresh, and it outlives a folder where every query fails
    fs::rename(Folder(), home.Path() / "aside");
    fs::create_directory_symlink(Folder().filename(), Folder()); // resolves to itself
    WaitTwoPasses();
    fs::remove(Folder());
    fs::rename(home.Path() / "aside", Folder());
    WriteFile(Folder() / "trigger_extract", "");
    WaitTwoPasses();
    TriggerFilePoller::Stop();
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), (Lines{kExtractRan, kExtractRan}));
    Lines const session = Session({Consumed("trigger_extract", "DoExtractView")});
    EXPECT_EQ(PollerLog(),
              Lines{"[WARN ] TriggerFilePoller: no settings folder; poller not started"} + session +
                  session);
}

TEST_F(PollerTest, StaleEntriesNeverRunAndEachPassHandlesItsTriggersInTableOrder) {
    WriteFile(Folder() / "trigger_extract", "");
    fs::create_symlink(Folder() / "nowhere", Folder() / "trigger_export_model");
    TriggerFilePoller::Start();
    // Swap in, right after a pass, a folder holding triggers that the next pass sees together.
    fs::path const staging = home.Path() / "staging";
    WriteFile(staging / "trigger_export_model", "");
    WriteFile(staging / "trigger_send_model" / "keep", ""); // a folder that cannot be removed
    WriteFile(staging / "trigger_extract", "");
    fs::rename(Folder() / "logs", staging / "logs"); // the open log moves along
    WaitTwoPasses();
    fs::rename(Folder(), home.Path() / "previous");
    fs::rename(staging, Folder());
    WaitTwoPasses();
    TriggerFilePoller::Stop();
    EXPECT_EQ(host.PendingEventLoopCalls(), 2);
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), (Lines{kExtractRan, kExportRan}));

    Lines log = PollerLog();
    log.erase(std::unique(log.begin(), log.end()), log.end()); // the warning comes every pass
    std::string const skipped =
        "[WARN ] TriggerFilePoller: trigger_send_model seen but could not be removed; skipping";
    Lines const stale{Info("stale trigger_extract from a previous session removed"),
                      Info("stale trigger_export_model from a previous session removed")};
    EXPECT_EQ(log, stale + Session({Consumed("trigger_extract", "DoExtractView"), skipped,
                                    Consumed("trigger_export_model", "DoExportModel"), skipped}));
}

} // namespace
} // namespace Velmora::Testing
