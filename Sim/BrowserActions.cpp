#include "Sim/BrowserActions.hpp"

namespace Velmora::Sim {

namespace {

struct OpName {
    char const* prefix;
    BrowserAction::Op op;
    bool takesArgument;
};

OpName const kOps[] = {
    {"browser:click:", BrowserAction::Op::Click, true},
    {"browser:eval:", BrowserAction::Op::Eval, true},
    {"browser:wait:", BrowserAction::Op::Wait, true},
    {"browser:screenshot:", BrowserAction::Op::Screenshot, true},
    {"browser:reload", BrowserAction::Op::Reload, false},
};

std::future<BrowserDriverReply> Start(BrowserAction const& action, ChromiumBrowserEngine& engine,
                                      int timeoutMs) {
    switch (action.op) {
    case BrowserAction::Op::Click:
        return engine.Click(action.argument, timeoutMs);
    case BrowserAction::Op::Eval:
        return engine.Evaluate(action.argument);
    case BrowserAction::Op::Wait:
        return engine.WaitUntil(action.argument, timeoutMs);
    case BrowserAction::Op::Reload:
        return engine.Reload();
    case BrowserAction::Op::Screenshot:
        return engine.Screenshot(action.argument);
    }
    return engine.Evaluate("null");
}

} // namespace

std::optional<BrowserAction> ParseBrowserAction(std::string const& text, std::string& error) {
    for (OpName const& name : kOps) {
        std::string const prefix = name.prefix;
        if (!name.takesArgument && text == prefix)
            return BrowserAction{name.op, ""};
        if (name.takesArgument && text.rfind(prefix, 0) == 0 && text.size() > prefix.size())
            return BrowserAction{name.op, text.substr(prefix.size())};
    }
    error = "bad browser action '" + text +
            "': expected browser:click:SELECTOR, browser:eval:JS, browser:wait:JS, "
            "browser:screenshot:PATH or browser:reload";
    return std::nullopt;
}

bool PerformBrowserAction(BrowserAction const& action, ChromiumBrowserEngine& engine, int timeoutMs,
                          std::function<void()> const& pump, std::ostream& out,
                          std::string& error) {
    std::future<BrowserDriverReply> pending = Start(action, engine, timeoutMs);
    while (pending.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        pump();
    BrowserDriverReply const reply = pending.get();
    if (!reply.ok) {
        error = reply.error;
        return false;
    }
    if (action.op == BrowserAction::Op::Eval)
        out << "browser:eval: " << reply.value << std::endl;
    if (action.op == BrowserAction::Op::Screenshot)
        out << "browser:screenshot: " << action.argument << std::endl;
    return true;
}

std::string BrowserActionsUsage() {
    return R"(  browser:click:SELECTOR  (with --browser) click the page's element as a user would
  browser:eval:JS         (with --browser) run JS in the page and print its value (awaited)
                          as "browser:eval: JSON"
  browser:wait:JS         (with --browser) wait until JS is true in the page, at most the
                          settle timeout
  browser:screenshot:PATH (with --browser) save the panel's page as a PNG
  browser:reload          (with --browser) reload the page
)";
}

} // namespace Velmora::Sim
