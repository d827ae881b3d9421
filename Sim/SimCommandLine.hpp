// velmora-sim's command line: options and the user actions to perform, checked up front so
// that a typo fails before anything is loaded.
#pragma once

#include "Sim/BrowserActions.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/SimWindowOptions.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Velmora::Sim {

struct SimAction {
    enum class Kind {
        Menu,
        Trigger,
        Extract,
        Export,
        Send,
        Wait,
        Page,
        ShowMenus,
        ShowPaths,
        PrintSettings,
        PrintLog,
        PrintToken,
        Browser
    };
    Kind kind = Kind::Wait;
    std::string text; // as given, for messages
    short menu = 0;
    int item = 0;
    std::string triggerName;
    int waitMs = 0;
    std::string pageFunction;                // page:FUNCTION[:ARG]
    std::optional<std::string> pageArgument; // passed as a JS string; none: no argument
    BrowserAction browser;
};

struct SimCommandLine {
    bool help = false;
    bool listCalls = false; // print the host calls --fail and --throw accept
    std::string home;       // empty: a fresh temporary folder
    std::string hostFolder; // empty: a folder under home
    double settleTimeoutSeconds = 120.0;
    std::vector<Fault> faults;
    std::string callLogFile;
    std::string token;     // empty: signed out
    std::string sceneFile; // empty: the built-in sample building
    SimWindowOptions window;
    bool browser = false; // the panel shows its page in a real (headless) Chromium
    std::vector<SimAction> actions;
};

// nullopt with a message in error when the command line is wrong.
std::optional<SimCommandLine> ParseSimCommandLine(std::vector<std::string> const& args,
                                                  std::string& error);

std::string SimUsage();

} // namespace Velmora::Sim
