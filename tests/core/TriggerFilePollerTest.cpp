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

// Signed out, the extract command stops at its first check.
constexpr char kExtractRan[] = "Velmora: please sign in via the Velmora panel before extracting.";
// Without a scripted project the fake host refuses the export's first sight call.
constexpr char kExportRan[] =
    "Velmora: could not read the 3D model. could not create a 3D sight (err -2130313215)";

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
    Lines Session(Lines const& passes) const {
        return Lines{Info("watching " + Folder().string() +
                          " for trigger_extract / trigger_send_model / trigger_export_model")} +
               passes + Lines{Info("stopped")};
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
        for (int tries = 0; TriggerFilePoller::CompletedPasses() < target && tries < 1000; ++tries)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        ASSERT_GE(TriggerFilePoller::CompletedPasses(), target) << "the poller made no progress";
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
    host.RunEventLoop();
    EXPECT_EQ(ReportTexts(), (Lines{kExtractRan, kExportRan}));

    Lines log = PollerLog();
    log.erase(std::unique(log.begin(), log.end()), log.end()); // the warning comes every pass
    std::string const skipped =
        "[WARN ] TriggerFilePoller: trigger_send_model seen but could not be removed; skipping";
    EXPECT_EQ(log, Lines{Info("stale trigger_extract from a previous session removed")} +
                       Session({Consumed("trigger_extract", "DoExtractView"), skipped,
                                Consumed("trigger_export_model", "DoExportModel"), skipped}));
}

} // namespace
} // namespace Velmora::Testing
