// The browser engine velmora-sim uses unless told otherwise: no page at all. A loaded URL
// counts as loaded at once, scripts and registered objects are only recorded.
#pragma once

#include "Sim/BrowserEngine.hpp"

#include <mutex>
#include <string>
#include <vector>

namespace Velmora::Sim {

class HeadlessBrowserEngine : public BrowserEngine {
public:
    void Connect(BrowserEngineEvents events) override;
    void LoadURL(std::string const& url) override;
    bool ExecuteJS(std::string const& script) override;
    bool RegisterObject(std::string const& name,
                        std::vector<std::string> const& functionNames) override;
    void DisableZooming() override;

    std::vector<std::string> Urls() const;
    std::vector<std::string> Scripts() const;
    std::vector<std::string> ObjectNames() const;
    bool ZoomingDisabled() const;

private:
    mutable std::mutex mutex_;
    BrowserEngineEvents events_;
    std::vector<std::string> urls_;
    std::vector<std::string> scripts_;
    std::vector<std::string> objectNames_;
    bool zoomingDisabled_ = false;
};

} // namespace Velmora::Sim
