#include "Sim/SimRunner.hpp"

#include "Panel/ProgressEvents.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"
#include "Sim/AddOnSession.hpp"
#include "Sim/ChromiumBrowserEngine.hpp"
#include "Sim/JsJson.hpp"
#include "Sim/SharedBrowserEngine.hpp"
#include "Sim/SimHost.hpp"
#include "SupportFolder.hpp"
#include "TriggerFilePoller.hpp"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace Velmora::Sim {

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

// The add-on's own folder under the HOME the session set.
fs::path SupportFolder() {
    return SupportFolderPath();
}

std::string MakeTempHome() {
    std::string pattern = (fs::temp_directory_path() / "velmora-sim-XXXXXX").string();
    return ::mkdtemp(pattern.data()) != nullptr ? pattern : std::string();
}

void PrintFile(std::ostream& out, std::string const& label, fs::path const& path) {
    out << label << ": " << path.string() << "\n";
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        out << "  (missing)\n";
        return;
    }
    for (std::string line; std::getline(in, line);)
        out << "  " << line << "\n";
}

// Prints every menu, or only the one given.
void PrintMenus(std::ostream& out, SimHost& host, short only) {
    for (auto const& [id, menu] : host.Menus().Menus()) {
        if (only != 0 && id != only)
            continue;
        out << "menu " << id << " \"" << menu.title << "\"\n";
        for (std::size_t i = 0; i < menu.items.size(); ++i) {
            bool const checked = (menu.items[i].flags & Host::MenuItemFlag::Checked) != 0;
            out << "  " << id << ":" << (i + 1) << " [" << (checked ? 'x' : ' ') << "] "
                << menu.items[i].text << "\n";
        }
    }
}

class Runner {
public:
    Runner(SimCommandLine const& line, std::ostream& out, std::ostream& err)
        : line_(line), out_(out), err_(err),
          settleTimeout_(static_cast<long>(line.settleTimeoutSeconds * 1000.0)) {}

    int Run();

private:
    bool PrepareHome();
    bool Perform(SimAction const& action, SimHost& host, AddOnSession& session);
    bool DropTrigger(std::string const& name, AddOnSession& session);
    bool ChooseCommand(SimHost& host, Host::Int32 item);
    bool LaunchBrowser();
    bool DriveBrowser(SimAction const& action, AddOnSession& session);
    bool CallFromPage(SimAction const& action, SimHost& host);
    void WriteCallLog(SimHost& host) const;

    SimCommandLine const& line_;
    std::ostream& out_;
    std::ostream& err_;
    milliseconds settleTimeout_;
    std::string home_;
    std::shared_ptr<ChromiumBrowserEngine> browser_; // with --browser, for the whole session
    bool usageError_ = false; // an action named something the add-on does not have
};

bool Runner::PrepareHome() {
    home_ = line_.home;
    if (home_.empty()) {
        home_ = MakeTempHome();
        if (home_.empty()) {
            err_ << "velmora-sim: cannot create a temporary home folder\n";
            return false;
        }
        out_ << "home: " << home_ << "\n";
    }
    std::error_code ec;
    fs::create_directories(home_, ec);
    if (ec) {
        err_ << "velmora-sim: cannot create " << home_ << ": " << ec.message() << "\n";
        return false;
    }
    ::setenv("HOME", home_.c_str(), 1);
    return true;
}

bool Runner::DropTrigger(std::string const& name, AddOnSession& session) {
    fs::path const file = SupportFolder() / name;
    std::error_code ec;
    fs::create_directories(file.parent_path(), ec);
    std::uint64_t const passesBefore = TriggerFilePoller::CompletedPasses();
    std::ofstream(file).close();
    // The file vanishes a moment before its command is posted; a pass that began after the
    // file was created has posted it by the time the pass completes.
    auto const handedOver = [&] {
        return !fs::exists(file, ec) && TriggerFilePoller::CompletedPasses() >= passesBefore + 2;
    };
    auto const deadline = std::chrono::steady_clock::now() + settleTimeout_;
    while (!handedOver() && std::chrono::steady_clock::now() < deadline)
        session.RunFor(milliseconds(20));
    if (fs::exists(file, ec)) {
        err_ << "velmora-sim: " << name << " was not picked up within "
             << line_.settleTimeoutSeconds << " s\n";
        return false;
    }
    return true;
}

bool Runner::LaunchBrowser() {
    if (!line_.browser)
        return true;
    std::string error;
    browser_ = ChromiumBrowserEngine::Launch(error);
    if (!browser_)
        err_ << "velmora-sim: --browser: " << error << "\n";
    return browser_ != nullptr;
}

bool Runner::DriveBrowser(SimAction const& action, AddOnSession& session) {
    std::string error;
    auto const pump = [&session] { session.RunFor(milliseconds(20)); };
    if (PerformBrowserAction(action.browser, *browser_, static_cast<int>(settleTimeout_.count()),
                             pump, out_, error))
        return true;
    err_ << "velmora-sim: " << action.text << ": " << error << "\n";
    return false;
}

// The page in the panel calls window.velmora.FUNCTION, as a user's click in it would.
bool Runner::CallFromPage(SimAction const& action, SimHost& host) {
    SimPaletteWindow* const palette = host.RegisteredPaletteWindow();
    SimBrowserItem* const browser =
        palette != nullptr ? host.Dialogs().BrowserOn(*palette) : nullptr;
    if (browser == nullptr) {
        err_ << "velmora-sim: " << action.text
             << ": the web app panel is not open (menu:32500:1 opens it)\n";
        return false;
    }
    std::string const argument =
        action.pageArgument ? JsonFromJs(std::make_shared<Host::JS::Value>(*action.pageArgument))
                            : std::string("null");
    std::optional<std::string> const result =
        browser->CallFromPage("velmora", action.pageFunction, argument);
    if (!result) {
        err_ << "velmora-sim: " << action.text << ": the page has no window.velmora."
             << action.pageFunction << "\n";
        return false;
    }
    out_ << "page: " << action.pageFunction << " -> " << *result << std::endl;
    return true;
}

bool Runner::ChooseCommand(SimHost& host, Host::Int32 item) {
    if (std::optional<std::string> greyed = host.Menus().GreyedReason(VELMORA_COMMAND_MENU, item)) {
        out_ << "menu " << VELMORA_COMMAND_MENU << ":" << item << ": " << *greyed << "; not run"
             << std::endl;
        return true;
    }
    std::string whyNot;
    if (host.Menus().Choose(VELMORA_COMMAND_MENU, item, whyNot))
        return true;
    err_ << "velmora-sim: " << whyNot << "\n";
    return false;
}

bool Runner::Perform(SimAction const& action, SimHost& host, AddOnSession& session) {
    switch (action.kind) {
    case SimAction::Kind::Menu: {
        // The user cannot choose a greyed item: nothing runs, and the run goes on.
        if (std::optional<std::string> greyed =
                host.Menus().GreyedReason(action.menu, action.item)) {
            out_ << "menu " << action.menu << ":" << action.item << ": " << *greyed << "; not run"
                 << std::endl;
            return true;
        }
        std::string whyNot;
        auto result = host.Menus().Choose(action.menu, action.item, whyNot);
        if (!result) {
            err_ << "velmora-sim: " << action.text << ": " << whyNot << "\n";
            usageError_ = true;
            return false;
        }
        if (*result != Host::Error::NoError)
            out_ << "menu " << action.menu << ":" << action.item << " returned "
                 << FormatError(*result) << "\n";
        return true;
    }
    case SimAction::Kind::Trigger:
        return DropTrigger(action.triggerName, session);
    case SimAction::Kind::Page:
        return CallFromPage(action, host);
    // The commands enter the add-on as Archicad would have them enter it, through its menu
    // handler or its trigger file, never by a direct call that no guard covers.
    case SimAction::Kind::Extract:
        return ChooseCommand(host, 2);
    case SimAction::Kind::Export:
        return DropTrigger("trigger_export_model", session);
    case SimAction::Kind::Send:
        return ChooseCommand(host, 3);
    case SimAction::Kind::Wait:
        session.RunFor(milliseconds(action.waitMs));
        return true;
    case SimAction::Kind::ShowMenus:
        PrintMenus(out_, host, action.menu);
        return true;
    case SimAction::Kind::ShowPaths:
        out_ << "settings.cfg: " << (SupportFolder() / "settings.cfg").string() << "\n"
             << "log: " << (SupportFolder() / "logs" / "velmora.log").string() << "\n";
        return true;
    case SimAction::Kind::PrintSettings:
        PrintFile(out_, "settings.cfg", SupportFolder() / "settings.cfg");
        return true;
    case SimAction::Kind::PrintLog:
        PrintFile(out_, "log", SupportFolder() / "logs" / "velmora.log");
        return true;
    case SimAction::Kind::PrintToken: {
        std::string const token = Settings::Get().AuthToken();
        out_ << "auth token: " << (token.empty() ? "(none)" : token) << " (version "
             << Settings::Get().AuthTokenVersion() << ")" << std::endl;
        return true;
    }
    case SimAction::Kind::Browser:
        return DriveBrowser(action, session);
    }
    return true;
}

// The command functions called straight from here, not by a host call; the add-on is loaded
// for them first if the host had unloaded it.
void Runner::WriteCallLog(SimHost& host) const {
    if (line_.callLogFile.empty())
        return;
    std::ofstream log(line_.callLogFile, std::ios::trunc);
    for (CallRecord const& record : host.Calls().Records()) {
        log << record.call;
        if (record.injected)
            log << " -> injected " << FormatError(*record.injected);
        if (record.offMainThread)
            log << " (off the main thread)";
        log << "\n";
    }
}

int Runner::Run() {
    if (!PrepareHome() || !LaunchBrowser())
        return 1;
    SimHostOptions options;
    options.hostFolder = line_.hostFolder.empty() ? home_ + "/.velmora-sim-host" : line_.hostFolder;
    options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    options.scenePath = line_.sceneFile;
    options.window = line_.window;
    if (browser_) {
        options.makeBrowserEngine = [engine = browser_] {
            return std::make_unique<SharedBrowserEngine>(engine);
        };
    }
    SimHost host(options);
    std::string error;
    if (!host.LoadScene(error)) {
        err_ << "velmora-sim: " << error << "\n";
        return 2;
    }
    if (!host.LoadResources(error)) {
        err_ << "velmora-sim: cannot read the add-on's resources: " << error << "\n";
        return 1;
    }
    for (Fault const& fault : line_.faults)
        host.Calls().AddFault(fault);
    host.OnReport([this](SimReport const& report) {
        out_ << (report.alert ? "alert: " : "report: ") << report.text << std::endl;
    });
    // There is no panel here: its progress bar becomes lines of output.
    SetProgressObserver([this](ExtractionKind, int percent, std::string const& status) {
        out_ << "progress: " << status << " " << percent << "%" << std::endl;
    });
    host.Dialogs().OnScript(
        [this](std::string const& script) { out_ << "panel: " << script << std::endl; });

    int status = 0;
    {
        AddOnSession session(host);
        if (!session.Load(error)) {
            err_ << "velmora-sim: " << error << "\n";
            status = 1;
        } else if (!line_.token.empty()) {
            Settings::Get().SetAuthToken(line_.token);
        }
        for (std::size_t i = 0; status == 0 && i < line_.actions.size(); ++i) {
            if (!Perform(line_.actions[i], host, session)) {
                status = 1;
            } else if (!session.Settle(settleTimeout_)) {
                err_ << "velmora-sim: work did not settle within " << line_.settleTimeoutSeconds
                     << " s after " << line_.actions[i].text << "\n";
                status = 1;
            }
        }
        session.Unload();
    }
    SetProgressObserver({});
    WriteCallLog(host);
    if (usageError_)
        status = 2;
    // The add-on runs its trigger poller and delayed work from start-up: an unload between
    // calls takes them with it.
    if (int const unloads = host.AddOn().RuleUnloads(); unloads > 0) {
        err_ << "velmora-sim: the host unloaded the add-on " << unloads
             << " time(s) between calls: it did not ask to stay in memory (see --call-log)\n";
        status = 1;
    }
    for (std::string const& left : host.AddOn().LeftBehind()) {
        err_ << "velmora-sim: FreeData left behind " << left << "\n";
        status = 1;
    }
    if (int const offMain = host.Calls().OffMainThreadCalls(); offMain > 0) {
        err_ << "velmora-sim: " << offMain << " host call(s) made off the main thread\n";
        status = 1;
    }
    return status;
}

} // namespace

int RunSimulation(SimCommandLine const& line, std::ostream& out, std::ostream& err) {
    return Runner(line, out, err).Run();
}

} // namespace Velmora::Sim
