#include "TriggerFilePoller.hpp"

#include "BackgroundWork.hpp"
#include "Commands.hpp"
#include "HostEntry.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Settings.hpp"

#include <atomic>
#include <chrono>
#include <exception>
#include <filesystem>
#include <string>
#include <system_error>

namespace Velmora {

namespace {

namespace fs = std::filesystem;

struct Trigger {
    char const* fileName;
    char const* label;
    Host::GSErrCode (*command)();
};

// Checked in this order, so triggers seen in one pass run extract, send, export.
constexpr Trigger kTriggers[] = {
    {"trigger_extract", "DoExtractView", DoExtractView},
    {"trigger_send_model", "DoSendModel", DoSendModel},
    {"trigger_export_model", "DoExportModel", DoExportModel},
};

constexpr std::chrono::milliseconds kPollPeriod{200};

// A tool dropped the file for the user, who hears of a failure as from the menu command. The
// dispatcher's own call already asked the host to keep the add-on loaded.
constexpr HostEntry kTriggerCommandEntry{"trigger command", true, false};

bool gRunning = false;              // main thread only
BackgroundWork::WorkId gThread = 0; // main thread only
std::atomic<std::uint64_t> gCompletedPasses{0};

enum class Removal { Removed, AlreadyGone, Failed };

// Any kind of entry counts; a status query that fails counts as nothing there.
bool EntryExists(fs::path const& path) {
    std::error_code error;
    fs::file_status const status = fs::symlink_status(path, error);
    return !error && fs::exists(status);
}

// Only a removal this process made counts as consuming the trigger: if another process took
// the file first, it fires there and not here.
Removal RemoveEntry(fs::path const& path) {
    std::error_code error;
    bool const removed = fs::remove(path, error);
    if (error)
        return Removal::Failed;
    return removed ? Removal::Removed : Removal::AlreadyGone;
}

// Files left behind while the host was not running must not fire a command at start-up.
void RemoveStaleTriggers(fs::path const& folder) {
    for (Trigger const& trigger : kTriggers) {
        fs::path const path = folder / trigger.fileName;
        if (EntryExists(path) && RemoveEntry(path) == Removal::Removed)
            Logger::Get().Log(LogLevel::Info, std::string("TriggerFilePoller: stale ") +
                                                  trigger.fileName +
                                                  " from a previous session removed");
    }
}

void PostCommand(Trigger const& trigger) {
    Logger::Get().Log(LogLevel::Info, std::string("TriggerFilePoller: ") + trigger.fileName +
                                          " consumed -> " + trigger.label + " on the main thread");
    auto const command = trigger.command;
    MainThreadDispatcher::Post(
        [command] { GuardHostEntry(kTriggerCommandEntry, Host::Error::General, command); });
}

// Consume first, then post: a trigger fires at most once per file creation, and a file that
// cannot be deleted never fires.
void CheckTrigger(fs::path const& folder, Trigger const& trigger) {
    fs::path const path = folder / trigger.fileName;
    if (!EntryExists(path))
        return;
    switch (RemoveEntry(path)) {
    case Removal::Removed:
        PostCommand(trigger);
        break;
    case Removal::Failed:
        Logger::Get().Log(LogLevel::Warn, std::string("TriggerFilePoller: ") + trigger.fileName +
                                              " seen but could not be removed; skipping");
        break;
    case Removal::AlreadyGone:
        break;
    }
}

void PollLoop(fs::path folder) {
    Logger::Get().Log(LogLevel::Info,
                      "TriggerFilePoller: watching " + folder.string() +
                          " for trigger_extract / trigger_send_model / trigger_export_model");
    // A stop (Stop, or FreeData stopping every thread) cuts the sleep short.
    while (BackgroundWork::SleepFor(kPollPeriod)) {
        for (Trigger const& trigger : kTriggers)
            CheckTrigger(folder, trigger);
        gCompletedPasses.fetch_add(1);
    }
    Logger::Get().Log(LogLevel::Info, "TriggerFilePoller: stopped");
}

} // namespace

void TriggerFilePoller::Start() {
    if (gRunning)
        return;
    std::string const configPath = Settings::Get().LocalConfigPath();
    if (configPath.empty()) {
        Logger::Get().Log(LogLevel::Warn,
                          "TriggerFilePoller: no settings folder; poller not started");
        return;
    }
    fs::path const folder = fs::path(configPath).parent_path();
    RemoveStaleTriggers(folder);
    try {
        gThread = BackgroundWork::Start("TriggerFilePoller", [folder] { PollLoop(folder); });
    } catch (std::exception const& e) {
        Logger::Get().Log(LogLevel::Error,
                          std::string("TriggerFilePoller: thread not started: ") + e.what());
        return;
    }
    gRunning = true;
}

void TriggerFilePoller::Stop() {
    if (!gRunning)
        return;
    BackgroundWork::StopAndJoin(gThread);
    gRunning = false;
}

bool TriggerFilePoller::IsRunning() {
    return gRunning;
}

std::uint64_t TriggerFilePoller::CompletedPasses() {
    return gCompletedPasses.load();
}

} // namespace Velmora
