#include "Sim/SimCommandLine.hpp"

#include "Sim/PortCalls.hpp"
#include "Sim/SimWindowCommandLine.hpp"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>

namespace Velmora::Sim {

namespace {

char const* const kTriggerNames[] = {"trigger_extract", "trigger_send_model",
                                     "trigger_export_model"};

bool ParseInt(std::string const& text, long min, long max, long& value) {
    char* end = nullptr;
    value = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && value >= min && value <= max;
}

std::optional<SimAction> ParseMenuAction(std::string const& text, std::string& error) {
    SimAction action;
    action.kind = SimAction::Kind::Menu;
    std::size_t const colon = text.find(':', 5);
    long menu = 0;
    long item = 0;
    if (colon == std::string::npos || !ParseInt(text.substr(5, colon - 5), 1, 32767, menu) ||
        !ParseInt(text.substr(colon + 1), 1, 999, item)) {
        error = "bad menu action '" + text + "': expected menu:MENU:ITEM, e.g. menu:32501:1";
        return std::nullopt;
    }
    action.menu = static_cast<short>(menu);
    action.item = static_cast<int>(item);
    return action;
}

std::optional<SimAction> ParseTriggerAction(std::string const& text, std::string& error) {
    SimAction action;
    action.kind = SimAction::Kind::Trigger;
    action.triggerName = text.substr(8);
    for (char const* name : kTriggerNames) {
        if (action.triggerName == name)
            return action;
    }
    error = "unknown trigger '" + action.triggerName +
            "': expected trigger_extract, trigger_send_model or trigger_export_model";
    return std::nullopt;
}

// page:FUNCTION[:ARG]: ARG is everything after the second colon, colons included.
std::optional<SimAction> ParsePageAction(std::string const& text, std::string& error) {
    SimAction action;
    action.kind = SimAction::Kind::Page;
    std::size_t const colon = text.find(':', 5);
    action.pageFunction =
        text.substr(5, colon == std::string::npos ? std::string::npos : colon - 5);
    if (colon != std::string::npos)
        action.pageArgument = text.substr(colon + 1);
    bool const nameOk =
        !action.pageFunction.empty() &&
        std::all_of(action.pageFunction.begin(), action.pageFunction.end(),
                    [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; });
    if (!nameOk) {
        error = "bad page action '" + text + "': expected page:FUNCTION[:ARG], e.g. page:log:hello";
        return std::nullopt;
    }
    return action;
}

// Actions that are a single word.
std::map<std::string, SimAction::Kind> const kWordActions = {
    {"extract", SimAction::Kind::Extract},
    {"export", SimAction::Kind::Export},
    {"send", SimAction::Kind::Send},
    {"paths", SimAction::Kind::ShowPaths},
    {"print:settings", SimAction::Kind::PrintSettings},
    {"print:log", SimAction::Kind::PrintLog},
    {"print:token", SimAction::Kind::PrintToken},
};

std::optional<SimAction> ParseAction(std::string const& text, std::string& error) {
    std::optional<SimAction> action;
    if (text.rfind("menu:", 0) == 0) {
        action = ParseMenuAction(text, error);
    } else if (text.rfind("page:", 0) == 0) {
        action = ParsePageAction(text, error);
    } else if (text.rfind("trigger:", 0) == 0) {
        action = ParseTriggerAction(text, error);
    } else if (text.rfind("wait:", 0) == 0) {
        long ms = 0;
        if (ParseInt(text.substr(5), 0, 3600000, ms)) {
            action = SimAction{};
            action->kind = SimAction::Kind::Wait;
            action->waitMs = static_cast<int>(ms);
        } else {
            error = "bad wait action '" + text + "': expected wait:MILLISECONDS";
        }
    } else if (text == "menus" || text.rfind("menus:", 0) == 0) {
        long menu = 0;
        if (text == "menus" || ParseInt(text.substr(6), 1, 32767, menu)) {
            action = SimAction{};
            action->kind = SimAction::Kind::ShowMenus;
            action->menu = static_cast<short>(menu);
        } else {
            error = "bad menus action '" + text + "': expected menus or menus:MENU";
        }
    } else if (auto const word = kWordActions.find(text); word != kWordActions.end()) {
        action = SimAction{};
        action->kind = word->second;
    } else if (text.rfind("browser:", 0) == 0) {
        if (std::optional<BrowserAction> browser = ParseBrowserAction(text, error)) {
            action = SimAction{};
            action->kind = SimAction::Kind::Browser;
            action->browser = *browser;
        }
    } else {
        error = "unknown action '" + text + "' (see --help)";
    }
    if (action)
        action->text = text;
    return action;
}

// Options that take a value; returns false with error set when the value is missing or bad.
bool ParseOption(std::string const& option, std::string const& value, SimCommandLine& line,
                 std::string& error) {
    if (option == "--home") {
        line.home = value;
    } else if (option == "--host-folder") {
        line.hostFolder = value;
    } else if (option == "--call-log") {
        line.callLogFile = value;
    } else if (option == "--scene") {
        line.sceneFile = value;
    } else if (option == "--token") {
        line.token = value;
    } else if (option == "--settle-timeout") {
        char* end = nullptr;
        line.settleTimeoutSeconds = std::strtod(value.c_str(), &end);
        if (value.empty() || *end != '\0' || !(line.settleTimeoutSeconds > 0)) {
            error = "--settle-timeout takes a positive number of seconds";
            return false;
        }
    } else {
        bool const raise = option == "--throw";
        std::optional<Fault> fault = ParseFault(value, raise);
        bool const hasCode = fault && fault->code != Host::Error::General;
        if (!fault || (raise && hasCode)) {
            error = option + " takes CALL[:N" + (option == "--fail" ? "[:CODE]]" : "]") +
                    ", e.g. ACAPI_MenuItem_RegisterMenu:2";
            return false;
        }
        if (!IsPortCall(fault->call)) {
            // A misspelt call would otherwise never fire, and the run would look clean.
            error = option + ": the host has no call named '" + fault->call + "'; did you mean " +
                    NearestPortCall(fault->call) + "? (velmora-sim --list-calls lists them all)";
            return false;
        }
        line.faults.push_back(*fault);
    }
    return true;
}

bool TakesValue(std::string const& option) {
    return option == "--home" || option == "--host-folder" || option == "--call-log" ||
           option == "--scene" || option == "--token" || option == "--settle-timeout" ||
           option == "--fail" || option == "--throw";
}

} // namespace

std::optional<SimCommandLine> ParseSimCommandLine(std::vector<std::string> const& args,
                                                  std::string& error) {
    SimCommandLine line;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string const& arg = args[i];
        bool windowOptionOk = true;
        if (arg == "-h" || arg == "--help") {
            line.help = true;
        } else if (arg == "--list-calls") {
            line.listCalls = true;
        } else if (arg == "--browser") {
            line.browser = true;
        } else if (TakeWindowOption(args, i, line.window, windowOptionOk, error)) {
            if (!windowOptionOk)
                return std::nullopt;
        } else if (TakesValue(arg)) {
            if (i + 1 >= args.size()) {
                error = arg + " needs a value";
                return std::nullopt;
            }
            if (!ParseOption(arg, args[++i], line, error))
                return std::nullopt;
        } else if (arg.rfind("-", 0) == 0) {
            error = "unknown option '" + arg + "' (see --help)";
            return std::nullopt;
        } else {
            std::optional<SimAction> action = ParseAction(arg, error);
            if (!action)
                return std::nullopt;
            line.actions.push_back(*action);
        }
    }
    for (SimAction const& action : line.actions) {
        if (action.kind == SimAction::Kind::Browser && !line.browser) {
            error = action.text + " needs --browser";
            return std::nullopt;
        }
    }
    return line;
}

std::string SimUsage() {
    return R"(Usage: velmora-sim [OPTIONS] [ACTIONS...]

Loads the Velmora add-on into a simulated Archicad (environment check, interface
registration, initialisation), performs the actions in order and lets the work settle
after each, unloads the add-on, and prints what the user would have seen.

Actions:
  menu:MENU:ITEM          choose a menu item, e.g. menu:32501:1 toggles the semantic mask
                          (32500: 1 panel, 2 extract view, 3 send model, 4 view logs;
                           32501: 1 semantic mask, 2 save debug capture, 3 per-element colours);
                          menu:32500:1 shows the web app panel, and hides it the next time
  page:FUNCTION[:ARG]     the panel's page calls window.velmora.FUNCTION(ARG), ARG being the
                          rest of the action as a JS string (none: no argument), and the
                          result is printed, e.g. page:onAuthToken:TOKEN,
                          page:requestExtract:{"includeMask":false}, page:log:hello,
                          page:getAuthToken
  trigger:NAME            drop the trigger file NAME (trigger_extract, trigger_send_model,
                          trigger_export_model) into the settings folder and let the add-on
                          find it
  extract                 run the extract-view command (DoExtractView, as menu 32500:2 does):
                          capture, mask and upload; it settles once the upload has answered
  export                  export the visible model to last_model.glb in the log folder by
                          dropping the trigger file trigger_export_model (the command has no
                          menu item)
  send                    send the visible model to the web service (DoSendModel, as menu
                          32500:3 does): export, begin, PUT of the .glb, confirm; needs
                          --token; it settles once the service has answered
  wait:MS                 run the event loop for MS milliseconds
  menus, menus:MENU       print the add-on's menus (or one of them) with their check marks
  paths                   print where settings.cfg and the log are
  print:settings          print the path and content of settings.cfg
  print:log               print the path and content of the add-on's log
  print:token             print the add-on's auth token and its version
                          (auth token: TOKEN (version N), or (none) when signed out)
)" + BrowserActionsUsage() +
           R"(
Options:
  --home DIR              the HOME the add-on sees (default: a fresh temporary folder,
                          whose path is printed)
  --host-folder DIR       the simulated host's own folder, which keeps the preferences
                          (default: HOME/.velmora-sim-host)
  --settle-timeout SECS   the longest wait for work to settle after an action (default 120)
  --fail CALL[:N[:CODE]]  make the host call CALL fail on its N-th call (default 1) with
                          error CODE (default 0x81060001), e.g.
                          --fail ACAPI_MenuItem_InstallMenuHandler:2:0x81060068
  --throw CALL[:N]        make the host call CALL throw on its N-th call; CALL may also
                          be one of the model reader's reads, counted over the whole run
                          (any fault on a read throws): ModelerAPI::Model::GetElement,
                          ModelerAPI::Element::GetTessellatedBodyCount,
                          ModelerAPI::Element::GetTessellatedBody,
                          ModelerAPI::Element::GetMeshBody, ModelerAPI::MeshBody::GetVertex,
                          ModelerAPI::MeshBody::GetPolygonCount,
                          ModelerAPI::MeshBody::GetPolygon, ModelerAPI::Polygon::GetMaterial,
                          ModelerAPI::Polygon::GetConvexPolygon,
                          ModelerAPI::Polygon::GetTextureCoordinate,
                          ModelerAPI::Texture::GetPixelMap
  --scene FILE            open the scene FILE as the project (see Sim/SceneFormat.md;
                          default: the built-in sample house)
  --token TOKEN           start signed in, as if the panel's page had handed TOKEN over
  --browser               show the panel's page in Debian's Chromium, headless (needs
                          node and tools/js/node_modules; see tools/setup.sh)
  --call-log FILE         write every host call, in order, to FILE (with the host's own
                          loads and unloads of the add-on, as "[host] Initialize: ..." and
                          "[host] FreeData: ..." lines)
  --list-calls            print the names of the host calls --fail and --throw accept
  -h, --help              show this help

The simulated 3D window:
)" + std::string(WindowOptionsUsage()) +
           R"(
Output: one line per report-window message, "report: TEXT" or "alert: TEXT"; one line
"panel: SCRIPT" per script the add-on runs in the panel's page (its events among them); one
line "page: FUNCTION -> RESULT" per page action, RESULT as JSON; one line per progress event
of a model send, "progress: STATUS PERCENT%".
Between calls the host unloads an add-on that did not ask to stay in memory during the call
and has no palette open and no notification handler installed; the next call loads it again.
A menu item greyed out above the window in front (see the resource file's ^E codes) is not
run: a line "menu MENU:ITEM: ... greyed out ..." says so.
Exit status: 0 on success; 1 when the add-on fails to load, work does not settle, a host
call is made off the main thread, the host unloads the add-on between calls or FreeData
leaves something of the add-on behind; 2 for a bad command line or scene file.
)";
}

} // namespace Velmora::Sim
