#include "Sim/HeadlessBrowserEngine.hpp"

#include <algorithm>

namespace Velmora::Sim {

void HeadlessBrowserEngine::Connect(BrowserEngineEvents events) {
    std::lock_guard<std::mutex> lock(mutex_);
    events_ = std::move(events);
}

void HeadlessBrowserEngine::LoadURL(std::string const& url) {
    std::function<void(bool)> onLoadingState;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        urls_.push_back(url);
        onLoadingState = events_.onLoadingState;
    }
    // An empty page loads instantly: both notifications go out at once, as a real engine
    // would send them a moment later.
    if (onLoadingState) {
        onLoadingState(true);
        onLoadingState(false);
    }
}

bool HeadlessBrowserEngine::ExecuteJS(std::string const& script) {
    std::lock_guard<std::mutex> lock(mutex_);
    scripts_.push_back(script);
    return true;
}

bool HeadlessBrowserEngine::RegisterObject(std::string const& name,
                                           std::vector<std::string> const& /*functionNames*/) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (std::find(objectNames_.begin(), objectNames_.end(), name) == objectNames_.end())
        objectNames_.push_back(name);
    return true;
}

void HeadlessBrowserEngine::DisableZooming() {
    std::lock_guard<std::mutex> lock(mutex_);
    zoomingDisabled_ = true;
}

std::vector<std::string> HeadlessBrowserEngine::Urls() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return urls_;
}

std::vector<std::string> HeadlessBrowserEngine::Scripts() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return scripts_;
}

std::vector<std::string> HeadlessBrowserEngine::ObjectNames() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return objectNames_;
}

bool HeadlessBrowserEngine::ZoomingDisabled() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return zoomingDisabled_;
}

} // namespace Velmora::Sim
