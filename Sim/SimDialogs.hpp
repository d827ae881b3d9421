// The simulated host's dialog toolkit: palettes made from the add-on's dialog resources and
// the browser items on them, each driving a browser engine.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/AddOnLifecycle.hpp"
#include "Sim/BrowserEngine.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/EventLoop.hpp"
#include "Sim/SimBrowserItem.hpp"
#include "Sim/SimPaletteWindow.hpp"
#include "Sim/SimResources.hpp"

#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace Velmora::Sim {

// Makes the engine behind a new browser item.
using BrowserEngineFactory = std::function<std::unique_ptr<BrowserEngine>()>;

class SimDialogs : public Host::DialogApi {
public:
    SimDialogs(CallLog& calls, EventLoop& loop, AddOnLifecycle& addOn,
               SimResources const& resources, Host::GSResModule ownResModule);
    ~SimDialogs() override;
    SimDialogs(SimDialogs const&) = delete;
    SimDialogs& operator=(SimDialogs const&) = delete;

    // Empty: the headless engine.
    void SetEngineFactory(BrowserEngineFactory factory) { engineFactory_ = std::move(factory); }
    void SetCefDebugPort(std::uint16_t port) { cefDebugPort_ = port; }
    // Called on the main thread with every script a page received.
    void OnScript(std::function<void(std::string const&)> listener);

    Host::GSErrCode CreatePalette(Host::GSResModule resModule, short resId,
                                  Host::GSResModule dialIconResModule, Host::API_Guid const& guid,
                                  std::unique_ptr<Host::DG::Palette>* palette) override;
    Host::GSErrCode CreateBrowser(Host::DG::Palette& panel, short item,
                                  std::unique_ptr<Host::DG::Browser>* browser) override;
    std::uint16_t GetCefDebugPort() override;

    // The live palettes and browser items (the add-on owns and deletes them).
    SimPaletteWindow* FindPalette(Host::API_Guid const& guid) const;
    // An open palette keeps the add-on loaded.
    bool HasOpenPalette() const { return !palettes_.empty(); }
    SimBrowserItem* BrowserOn(Host::DG::Palette const& palette) const;

private:
    CallLog& calls_;
    EventLoop& loop_;
    AddOnLifecycle& addOn_;
    SimResources const& resources_;
    Host::GSResModule ownResModule_;
    std::thread::id mainThread_;
    BrowserEngineFactory engineFactory_;
    std::uint16_t cefDebugPort_ = 0;
    std::function<void(std::string const&)> scriptListener_;
    std::vector<SimPaletteWindow*> palettes_;
    std::vector<SimBrowserItem*> browsers_;
};

} // namespace Velmora::Sim
