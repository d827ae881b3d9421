// A browser item's handle on an engine that outlives it (velmora-sim keeps the real browser
// for the whole session, to drive its page). Letting go of the handle disconnects the item.
#pragma once

#include "Sim/BrowserEngine.hpp"

#include <memory>

namespace Velmora::Sim {

class SharedBrowserEngine final : public BrowserEngine {
public:
    explicit SharedBrowserEngine(std::shared_ptr<BrowserEngine> engine)
        : engine_(std::move(engine)) {}
    ~SharedBrowserEngine() override { engine_->Connect({}); }
    SharedBrowserEngine(SharedBrowserEngine const&) = delete;
    SharedBrowserEngine& operator=(SharedBrowserEngine const&) = delete;

    void Connect(BrowserEngineEvents events) override { engine_->Connect(std::move(events)); }
    void LoadURL(std::string const& url) override { engine_->LoadURL(url); }
    bool ExecuteJS(std::string const& script) override { return engine_->ExecuteJS(script); }
    bool RegisterObject(std::string const& name,
                        std::vector<std::string> const& functionNames) override {
        return engine_->RegisterObject(name, functionNames);
    }
    void DisableZooming() override { engine_->DisableZooming(); }

private:
    std::shared_ptr<BrowserEngine> engine_;
};

} // namespace Velmora::Sim
