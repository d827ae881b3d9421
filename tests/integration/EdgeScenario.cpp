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
#include "support/WaitUntil.hpp"

#include <chrono>
#include <csignal>
#include <fstream>

namespace Velmora::Testing {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::milliseconds kSettleTimeout{15000};

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

enum class Action { Load, Menu, Toggle, SignIn, ClosePanel, Export, Quit };

struct Step {
    char const* name;
    bool userStarted;
    Action action;
    short menu = 0;
    Host::Int32 item = 0;
    char const* key = nullptr; // a toggle's settings.cfg key and its flag
    bool ExtractOptions::*flag = nullptr;
};

constexpr short kCommands = VELMORA_COMMAND_MENU;
constexpr short kSettings = VELMORA_SETTINGS_MENU;

constexpr Step kSteps[] = {
    {"load", false, Action::Load},
    {"toggle Semantic Mask", true, Action::Toggle, kSettings, 1, "includeMask",
     &ExtractOptions::includeMask},
    {"toggle Save Debug Capture", true, Action::Toggle, kSettings, 2, "debugDump",
     &ExtractOptions::debugDump},
    {"toggle per-element colours", true, Action::Toggle, kSettings, 3, "maskSplitInstances",
     &ExtractOptions::maskSplitInstances},
    {"View Logs", true, Action::Menu, kCommands, 4},
    {"open the panel", true, Action::Menu, kCommands, 1},
    {"sign in from the page", false, Action::SignIn},
    {"close the panel", true, Action::ClosePanel},
    {"extract", true, Action::Menu, kCommands, 2},
    {"export (trigger file)", true, Action::Export},
    {"send", true, Action::Menu, kCommands, 3},
    {"quit", false, Action::Quit},
};

class ScenarioRunner {
public:
    ScenarioRunner(ScenarioService const& service, FaultPlan const& plan);
    ScenarioRun Run();

private:
    bool Perform(Step const& step, StepRecord& record); // false when it could not be taken
    bool Choose(short menu, Host::Int32 item);
    bool Toggle(Step const& step, StepRecord& record);
    bool SignInFromPage();
    bool ClosePanel();
    bool Export();
    std::uint64_t CallsSoFar(std::string const& call);
    std::optional<Sim::Fault> Arm(std::optional<StepFault> const& fault);
    void TakeStep(Step const& step, std::optional<StepFault> const& fault, ScenarioRun& run);
    void Finish(ScenarioRun& run);

    FaultPlan plan_;
    TempHome home_;
    std::optional<Sim::SimHost> host_;
    std::optional<Sim::AddOnSession> session_;
    bool loaded_ = false;
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

bool ScenarioRunner::Perform(Step const& step, StepRecord& record) {
    std::string error;
    switch (step.action) {
    case Action::Load:
        loaded_ = session_->Load(error);
        return true;
    case Action::Menu:
        return Choose(step.menu, step.item);
    case Action::Toggle:
        return Toggle(step, record);
    case Action::SignIn:
        return SignInFromPage();
    case Action::ClosePanel:
        return ClosePanel();
    case Action::Export:
        return Export();
    case Action::Quit:
        session_->Unload();
        return true;
    }
    return false;
}

bool ScenarioRunner::Choose(short menu, Host::Int32 item) {
    std::string whyNot;
    return loaded_ && host_->Menus().Choose(menu, item, whyNot);
}

bool ScenarioRunner::Toggle(Step const& step, StepRecord& record) {
    ExtractOptions const& options = Settings::Get().extractOptions;
    record.flagBefore = options.*step.flag;
    bool const chosen = Choose(step.menu, step.item);
    record.flagAfter = options.*step.flag;
    record.flagInFile = FlagInFile(home_.SupportFolder() / "settings.cfg", step.key);
    return chosen;
}

bool ScenarioRunner::SignInFromPage() {
    Sim::SimPaletteWindow* const palette = host_->RegisteredPaletteWindow();
    Sim::SimBrowserItem* const browser =
        palette != nullptr ? host_->Dialogs().BrowserOn(*palette) : nullptr;
    if (browser == nullptr)
        return false;
    browser->CallFromPage("velmora", "onAuthToken", std::string("\"") + kScenarioToken + "\"");
    return true;
}

bool ScenarioRunner::ClosePanel() {
    Sim::SimPaletteWindow* const palette = host_->RegisteredPaletteWindow();
    if (palette != nullptr)
        palette->ClickCloseBox();
    return palette != nullptr;
}

// As an outside tool does it: the file appears, the poller consumes it and posts the command.
bool ScenarioRunner::Export() {
    if (!loaded_ || !TriggerFilePoller::IsRunning())
        return false;
    fs::path const file = home_.SupportFolder() / "trigger_export_model";
    std::ofstream(file).close();
    std::error_code ec;
    WaitUntil([&] { return !fs::exists(file, ec); });
    // The pass that took the file posts the command before it completes.
    std::uint64_t const passes = TriggerFilePoller::CompletedPasses();
    WaitUntil([passes] {
        return !MainThreadDispatcher::IsIdle() || TriggerFilePoller::CompletedPasses() > passes;
    });
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

void ScenarioRunner::TakeStep(Step const& step, std::optional<StepFault> const& fault,
                              ScenarioRun& run) {
    StepRecord record;
    record.name = step.name;
    record.userStarted = step.userStarted;
    std::size_t const reportsBefore = host_->Reports().size();
    std::optional<Sim::Fault> const armed = Arm(fault);
    try {
        record.ran = Perform(step, record);
        if (record.ran && loaded_ && step.action != Action::Quit)
            record.settled = session_->Settle(kSettleTimeout);
    } catch (std::exception const& error) {
        record.escaped = error.what();
    } catch (...) {
        record.escaped = "an exception of unknown type";
    }
    std::vector<Sim::SimReport> const reports = host_->Reports();
    record.reports.assign(reports.begin() + static_cast<std::ptrdiff_t>(reportsBefore),
                          reports.end());
    record.callsAtEnd = host_->Calls().Records().size();
    // The armed call is the nth of its name: it threw if the count got there.
    record.faultFired =
        armed && CallsSoFar(armed->call) >= static_cast<std::uint64_t>(armed->nthCall);
    for (std::size_t read = 0; read < Sim::kModelReadCount; ++read)
        record.readsAtEnd[read] = host_->Calls().ReadCount(static_cast<Sim::ModelRead>(read));
    run.steps.push_back(std::move(record));
}

void ScenarioRunner::Finish(ScenarioRun& run) {
    run.windowAfter = StateOf(*host_);
    run.calls = host_->Calls().Records();
    std::string const log = ReadFile(home_.LogFolder() / "velmora.log");
    std::size_t const initialize = log.rfind("] Velmora: Initialize\n");
    std::size_t const freeData = log.rfind("] Velmora: FreeData\n");
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
    DevServer::DevServerOptions options;
    options.token = kScenarioToken;
    options.storeFolder = (home_.Path() / "store").string();
    fs::create_directories(options.storeFolder);
    server_ = std::make_unique<DevServer::DevServer>(options);
    port_ = server_->Start();
}

ScenarioRun RunEdgeScenario(ScenarioService const& service, FaultPlan const& plan) {
    return ScenarioRunner(service, plan).Run();
}

} // namespace Velmora::Testing
