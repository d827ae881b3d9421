// The browser item of a simulated palette. It drives a BrowserEngine (headless by default, a
// real browser when velmora-sim is asked for one): loading notifications and the page's calls
// into registered objects reach the add-on on the host's main thread, as in the host.
#pragma once

#include "Host/DialogPort.hpp"
#include "Sim/AddOnLifecycle.hpp"
#include "Sim/BrowserEngine.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/EventLoop.hpp"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Velmora::Sim {

class SimBrowserItem : public Host::DG::Browser {
public:
    struct Context {
        CallLog& calls;
        EventLoop& loop;
        AddOnLifecycle& addOn; // each notification and page call is a call into the add-on
        std::thread::id mainThread;
        std::function<void(std::string const&)> onScript; // every script a document received
        std::function<void(SimBrowserItem*)> onGone;      // when the add-on deletes the item
    };

    SimBrowserItem(Context context, Host::DG::Palette const& palette, short item, int width,
                   int height, std::unique_ptr<BrowserEngine> engine);
    ~SimBrowserItem() override;
    // The host is gone first: nobody is left to tell.
    void Orphan();

    short GetId() const override { return item_; }
    void LoadURL(std::string const& url) override;
    bool ExecuteJS(std::string const& jsCode) override;
    bool RegisterAsynchJSObject(std::shared_ptr<Host::JS::Object> obj) override;
    void DisableZooming() override;
    void Resize(short hGrow, short vGrow) override;
    void Attach(Host::DG::ItemObserver& observer) override { itemObserver_ = &observer; }
    void Detach(Host::DG::ItemObserver& observer) override;
    void Attach(Host::DG::BrowserObserver& observer) override { browserObserver_ = &observer; }
    void Detach(Host::DG::BrowserObserver& observer) override;

    // The page calls window.OBJECT.FUNCTION(argument): main thread only. nullopt when the
    // page has no such function; else the result as JSON.
    std::optional<std::string> CallFromPage(std::string const& object, std::string const& function,
                                            std::string const& argumentJson);

    // The user's gestures over the item.
    void DoubleClick();
    void Click();
    void Wheel(short yTrackValue, bool command);

    Host::DG::Palette const& Palette() const { return palette_; }
    bool DocumentLoaded() const { return documentLoaded_; }
    std::vector<std::string> const& Scripts() const { return scripts_; }
    std::vector<std::string> const& Urls() const { return urls_; }
    bool ZoomingDisabled() const { return zoomingDisabled_; }
    int Width() const { return width_; }
    int Height() const { return height_; }

private:
    void OnLoadingState(bool loading);
    std::string OnEngineCall(std::string const& object, std::string const& function,
                             std::string const& argumentJson);

    Context context_;
    Host::DG::Palette const& palette_;
    short item_;
    int width_;
    int height_;
    std::unique_ptr<BrowserEngine> engine_;
    // Queued notifications and calls check it: the add-on may delete the item first.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    Host::DG::ItemObserver* itemObserver_ = nullptr;
    Host::DG::BrowserObserver* browserObserver_ = nullptr;
    std::map<std::string, std::shared_ptr<Host::JS::Object>> objects_;
    std::vector<std::string> scripts_;
    std::vector<std::string> urls_;
    bool loading_ = false;
    bool documentLoaded_ = false;
    bool zoomingDisabled_ = false;
};

} // namespace Velmora::Sim
