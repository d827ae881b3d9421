#include "EdgeScenario.hpp"

#include "Export/ModelCommands.hpp"
#include "Extract/ExtractCommand.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Panel/WebAppPalette.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"
#include "Sim/AddOnSession.hpp"
#include "TriggerFilePoller.hpp"
#include "support/AddOnTest.hpp"
#include "support/TempHome.hpp"

#include <chrono>
#include <csignal>
#include <fstream>
#include <thread>

namespace Velmora::Testing {

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

constexpr milliseconds kSettleTimeout{15000};

WindowState StateOf(Sim::SimHost& host) {
    Sim::SimWindow3D const& w = host.Window3D();
    return {w.AppliedWindowSets(), w.HasPendingWindowSets(), w.Current3DStyle(),
            w.IsHighlightShown()};
}

// The value settings.cfg holds for key, if the file has it.
std::optional<bool> FlagInFile(fs::path const& file, std::string const& key) {
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        if (line.rfind(key + "=", 0) == 0)
            return line.substr(key.size() + 1) == "true";
    }
    return std::nullopt;
}

class ScenarioRunner;
using Perform = bool (ScenarioRunner::*)(StepRecord&);

struct Step {
    char const* name;
    bool userStarted;
    Perform perform; // false when the step could not be taken
};

class ScenarioRunner {
public:
    ScenarioRunner(ScenarioService const& service, FaultPlan const& plan);
    ScenarioRun Run();

    // The steps, as the table below lists them.
    bool Load(StepRecord& record);
    bool ToggleMask(StepRecord& record) { return Toggle(1, "includeMask", record); }
    bool ToggleDebugDump(StepRecord& record) { return Toggle(2, "debugDump", record); }
    bool ToggleInstances(StepRecord& record) { return Toggle(3, "maskSplitInstances", record); }
    bool ViewLogs(StepRecord&) { return Choose(VELMORA_COMMAND_MENU, 4); }
    bool OpenPanel(StepRecord&) { return Choose(VELMORA_COMMAND_MENU, 1); }
    bool SignInFromPage(StepRecord& record);
    bool ClosePanel(StepRecord& record);
    bool Extract(StepRecord&) { return Choose(VELMORA_COMMAND_MENU, 2); }
    bool Export(StepRecord& record);
    bool Send(StepRecord&) { return Choose(VELMORA_COMMAND_MENU, 3); }
    bool Quit(StepRecord&);

private:
    bool Toggle(Host::Int32 item, char const* key, StepRecord& record);
    bool Choose(short menu, Host::Int32 item);
    bool Settle() { return session_->Settle(kSettleTimeout); }
    std::uint64_t CallsSoFar(std::string const& call);
    std::optional<Sim::Fault> Arm(std::optional<StepFault> const& fault);
    bool Fired(Sim::Fault const& armed, std::size_t callsBefore);
    void TakeStep(Step const& step, std::optional<StepFault> const& fault, ScenarioRun& run);
    void Finish(ScenarioRun& run);

    FaultPlan plan_;
    TempHome home_;
    std::optional<Sim::SimHost> host_;
    std::optional<Sim::AddOnSession> session_;
    bool loaded_ = false;
};

constexpr Step kSteps[] = {
    {"load", false, &ScenarioRunner::Load},
    {"toggle Semantic Mask", true, &ScenarioRunner::ToggleMask},
    {"toggle Save Debug Capture", true, &ScenarioRunner::ToggleDebugDump},
    {"toggle per-element colours", true, &ScenarioRunner::ToggleInstances},
    {"View Logs", true, &ScenarioRunner::ViewLogs},
    {"open the panel", true, &ScenarioRunner::OpenPanel},
    {"sign in from the page", false, &ScenarioRunner::SignInFromPage},
    {"close the panel", true, &ScenarioRunner::ClosePanel},
    {"extract", true, &ScenarioRunner::Extract},
    {"export (trigger file)", true, &ScenarioRunner::Export},
    {"send", true, &ScenarioRunner::Send},
    {"quit", false, &ScenarioRunner::Quit},
};

ScenarioRunner::ScenarioRunner(ScenarioService const& service, FaultPlan const& plan)
    : plan_(plan) {
    ResetSettingsToDefaults();
    fs::create_directories(home_.SupportFolder());
    // Off at the start, so that the toggles turn the mask, the debug copy and per-element
    // colours on for the extraction.
    std::ofstream(home_.SupportFolder() / "settings.cfg")
        << "apiBaseUrl=http://127.0.0.1:" << service.Port() << "\n"
        << "includeMask=false\ndebugDump=false\nmaskSplitInstances=false\n"
        << "highResLongEdge=256\n";
    Sim::SimHostOptions options;
    options.hostFolder = (home_.Path() / "host").string();
    options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    options.window.width = 480; // small pictures keep the many runs quick
    options.window.height = 270;
    host_.emplace(options);
    std::string error;
    if (!host_->LoadResources(error) || !host_->LoadScene(error))
        throw std::runtime_error("the simulated host could not start: " + error);
    session_.emplace(*host_);
}

bool ScenarioRunner::Load(StepRecord&) {
    std::string error;
    loaded_ = session_->Load(error);
    return true;
}

bool ScenarioRunner::Choose(short menu, Host::Int32 item) {
    std::string whyNot;
    if (!loaded_ || !host_->Menus().Choose(menu, item, whyNot))
        return false;
    return true;
}

bool ScenarioRunner::Toggle(Host::Int32 item, char const* key, StepRecord& record) {
    auto const flag = [key]() -> bool {
        ExtractOptions const& options = Settings::Get().extractOptions;
        std::string const name = key;
        return name == "includeMask" ? options.includeMask
               : name == "debugDump" ? options.debugDump
                                     : options.maskSplitInstances;
    };
    record.flagBefore = flag();
    bool const chosen = Choose(VELMORA_SETTINGS_MENU, item);
    record.flagAfter = flag();
    record.flagInFile = FlagInFile(home_.SupportFolder() / "settings.cfg", key);
    return chosen;
}

bool ScenarioRunner::SignInFromPage(StepRecord&) {
    Sim::SimPaletteWindow* const palette = host_->RegisteredPaletteWindow();
    Sim::SimBrowserItem* const browser =
        palette != nullptr ? host_->Dialogs().BrowserOn(*palette) : nullptr;
    if (browser == nullptr)
        return false;
    browser->CallFromPage("velmora", "onAuthToken", std::string("\"") + kScenarioToken + "\"");
    return true;
}

bool ScenarioRunner::ClosePanel(StepRecord&) {
    Sim::SimPaletteWindow* const palette = host_->RegisteredPaletteWindow();
    if (palette == nullptr)
        return false;
    palette->ClickCloseBox();
    return true;
}

// As an outside tool does it: the file appears, the poller consumes it and posts the command.
bool ScenarioRunner::Export(StepRecord&) {
    if (!loaded_ || !TriggerFilePoller::IsRunning())
        return false;
    fs::path const file = home_.SupportFolder() / "trigger_export_model";
    std::ofstream(file).close();
    std::error_code ec;
    auto const deadline = std::chrono::steady_clock::now() + kSettleTimeout;
    auto const waitFor = [&deadline](auto const& done) {
        while (!done() && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(milliseconds(2));
    };
    waitFor([&] { return !fs::exists(file, ec); });
    // The pass that took the file posts the command before it completes.
    std::uint64_t const passes = TriggerFilePoller::CompletedPasses();
    waitFor([passes] {
        return !MainThreadDispatcher::IsIdle() || TriggerFilePoller::CompletedPasses() > passes;
    });
    return true;
}

bool ScenarioRunner::Quit(StepRecord&) {
    session_->Unload();
    return true;
}

std::uint64_t ScenarioRunner::CallsSoFar(std::string const& call) {
    if (std::optional<Sim::ModelRead> const read = Sim::ModelReadFromName(call))
        return host_->Calls().ReadCount(*read);
    std::uint64_t count = 0;
    for (Sim::CallRecord const& record : host_->Calls().Records())
        count += record.call == call ? 1 : 0;
    return count;
}

// The fault counted from here on, as the host's call log counts it (from the host's start).
std::optional<Sim::Fault> ScenarioRunner::Arm(std::optional<StepFault> const& fault) {
    if (!fault)
        return std::nullopt;
    Sim::Fault armed;
    armed.call = fault->call;
    armed.nthCall = static_cast<int>(CallsSoFar(fault->call)) + fault->nthInStep;
    armed.raise = true;
    host_->Calls().AddFault(armed);
    return armed;
}

bool ScenarioRunner::Fired(Sim::Fault const& armed, std::size_t callsBefore) {
    if (Sim::ModelReadFromName(armed.call))
        return CallsSoFar(armed.call) >= static_cast<std::uint64_t>(armed.nthCall);
    std::vector<Sim::CallRecord> const records = host_->Calls().Records();
    for (std::size_t i = callsBefore; i < records.size(); ++i) {
        if (records[i].call == armed.call && records[i].injected)
            return true;
    }
    return false;
}

void ScenarioRunner::TakeStep(Step const& step, std::optional<StepFault> const& fault,
                              ScenarioRun& run) {
    StepRecord record;
    record.name = step.name;
    record.userStarted = step.userStarted;
    record.fault = fault;
    std::size_t const reportsBefore = host_->Reports().size();
    std::size_t const callsBefore = host_->Calls().Records().size();
    std::optional<Sim::Fault> const armed = Arm(fault);
    try {
        record.ran = (this->*step.perform)(record);
        if (record.ran && loaded_ && step.perform != &ScenarioRunner::Quit)
            record.settled = Settle();
    } catch (std::exception const& error) {
        record.escaped = error.what();
    } catch (...) {
        record.escaped = "an exception of unknown type";
    }
    std::vector<Sim::SimReport> const reports = host_->Reports();
    record.reports.assign(reports.begin() + static_cast<std::ptrdiff_t>(reportsBefore),
                          reports.end());
    record.callsAtEnd = host_->Calls().Records().size();
    record.faultFired = armed && Fired(*armed, callsBefore);
    for (std::size_t read = 0; read < Sim::kModelReadCount; ++read)
        record.readsAtEnd[read] = host_->Calls().ReadCount(static_cast<Sim::ModelRead>(read));
    run.steps.push_back(std::move(record));
}

void ScenarioRunner::Finish(ScenarioRun& run) {
    run.windowAfter = StateOf(*host_);
    run.calls = host_->Calls().Records();
    run.log = ReadFile(home_.LogFolder() / "velmora.log");
    std::size_t const initialize = run.log.rfind("] Velmora: Initialize\n");
    std::size_t const freeData = run.log.rfind("] Velmora: FreeData\n");
    run.initializeRan = initialize != std::string::npos;
    run.freeDataRanLast =
        run.initializeRan && freeData != std::string::npos && freeData > initialize;
    run.pollerStopped = !TriggerFilePoller::IsRunning();
    run.paletteGone = !WebAppPalette::HasInstance();
    // Whatever a faulty run left behind must not reach the next one.
    WebAppPalette::DestroyInstance();
    TriggerFilePoller::Stop();
    session_.reset();
    host_.reset();
    Logger::Get().Shutdown();
    ResetSettingsToDefaults();
}

ScenarioRun ScenarioRunner::Run() {
    ScenarioRun run;
    run.windowBefore = StateOf(*host_);
    for (std::size_t index = 0; index < std::size(kSteps); ++index) {
        auto const planned = plan_.find(index);
        TakeStep(kSteps[index],
                 planned != plan_.end() ? std::optional<StepFault>(planned->second) : std::nullopt,
                 run);
    }
    Finish(run);
    return run;
}

} // namespace

ScenarioService::ScenarioService() {
    std::signal(SIGPIPE, SIG_IGN);
    storeFolder_ = (home_.Path() / "store").string();
    fs::create_directories(storeFolder_);
    DevServer::DevServerOptions options;
    options.token = kScenarioToken;
    options.storeFolder = storeFolder_;
    server_ = std::make_unique<DevServer::DevServer>(options);
    port_ = server_->Start();
}

ScenarioRun RunEdgeScenario(ScenarioService const& service, FaultPlan const& plan) {
    return ScenarioRunner(service, plan).Run();
}

} // namespace Velmora::Testing
