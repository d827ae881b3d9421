// What the simulated browser item drives: a headless stand-in by default, or a real browser.
// Values cross as JSON text (a JS string arrives as "\"text\"", a missing argument as "null"),
// so an engine needs no knowledge of the host's JavaScript value classes.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Velmora::Sim {

struct BrowserEngineEvents {
    // The page started (true) or finished (false) loading. May be called on any thread; the
    // browser item hands it to the host's main thread.
    std::function<void(bool loading)> onLoadingState;
    // The page called window.OBJECT.FUNCTION(argument). Runs the add-on's function on the
    // host's main thread and returns its result as JSON text; the page's promise resolves
    // with it. May be called on any thread and blocks until the result is there.
    std::function<std::string(std::string const& object, std::string const& function,
                              std::string const& argumentJson)>
        onCall;
};

class BrowserEngine {
public:
    virtual ~BrowserEngine() = default;

    // Called once, before anything else.
    virtual void Connect(BrowserEngineEvents events) = 0;
    virtual void LoadURL(std::string const& url) = 0;
    virtual bool ExecuteJS(std::string const& script) = 0;
    // Makes window.NAME hold one asynchronous function per name, in every later document too.
    virtual bool RegisterObject(std::string const& name,
                                std::vector<std::string> const& functionNames) = 0;
    virtual void DisableZooming() = 0;
};

} // namespace Velmora::Sim
