// velmora-sim's actions on the real browser's page (with --browser): click, evaluate, wait,
// reload and screenshot, as a user or a test would drive the panel.
#pragma once

#include "Sim/ChromiumBrowserEngine.hpp"

#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace Velmora::Sim {

struct BrowserAction {
    enum class Op { Click, Eval, Wait, Reload, Screenshot };
    Op op = Op::Eval;
    std::string argument; // selector, script or path
};

// text begins with "browser:". nullopt with a message in error when it is malformed.
std::optional<BrowserAction> ParseBrowserAction(std::string const& text, std::string& error);

// Performs the action; pump runs the host's event loop for a moment and is called until the
// browser has answered, so that page calls reach the add-on meanwhile. An evaluation prints
// "browser:eval: VALUE" (JSON) to out. False with error set when the browser refused.
bool PerformBrowserAction(BrowserAction const& action, ChromiumBrowserEngine& engine, int timeoutMs,
                          std::function<void()> const& pump, std::ostream& out, std::string& error);

std::string BrowserActionsUsage();

} // namespace Velmora::Sim
