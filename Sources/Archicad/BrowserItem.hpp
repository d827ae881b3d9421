// The port's browser over a DG::Browser on a palette's item. The host's loading-state
// notification and item hooks reach the port's observers with the port's events.
#pragma once

#include "Host/DialogPort.hpp"

#include "APIEnvir.h"

#include "DGBrowser.hpp"
#include "DGModule.hpp"
#include "JSValues.hpp"

#include <memory>

namespace Velmora::Archicad {

class BrowserItem final : public Host::DG::Browser {
public:
    BrowserItem(::DG::Panel const& panel, short item);

    short GetId() const override;
    void LoadURL(std::string const& url) override;
    bool ExecuteJS(std::string const& jsCode) override;
    bool RegisterAsynchJSObject(std::shared_ptr<Host::JS::Object> obj) override;
    void DisableZooming() override;
    void Resize(short hGrow, short vGrow) override;
    void Attach(Host::DG::ItemObserver& observer) override;
    void Detach(Host::DG::ItemObserver& observer) override;
    void Attach(Host::DG::BrowserObserver& observer) override;
    void Detach(Host::DG::BrowserObserver& observer) override;

private:
    class Item final : public ::DG::Browser, public ::DG::ItemObserver {
    public:
        Item(::DG::Panel const& panel, short item);
        ~Item() override;

        Host::DG::ItemObserver* itemObserver = nullptr;
        Host::DG::BrowserObserver* browserObserver = nullptr;

    protected:
        void OnLoadingStateChange(const ::DG::BrowserLoadingStateChangeArg& arg) override;
        void ItemWheelTrackEntered(const ::DG::ItemWheelEvent& ev, bool* processed) override;
        void ItemWheelTracked(const ::DG::ItemWheelTrackEvent& ev, bool* processed) override;
        void ItemWheelTrackExited(const ::DG::ItemWheelEvent& ev, bool* processed) override;
        void ItemDoubleClicked(const ::DG::ItemDoubleClickEvent& ev) override;
        void ItemMouseDown(const ::DG::ItemMouseDownEvent& ev, bool* processed) override;
        void ItemMouseUp(const ::DG::ItemMouseUpEvent& ev, bool* processed) override;
    };

    Item item_;
    // The page's object as last registered: the port registers the same object again after
    // every load, and the host then gets the same object again too.
    std::shared_ptr<Host::JS::Object> registeredPortObject_;
    GS::Ref<::JS::Object> registeredHostObject_;
};

} // namespace Velmora::Archicad
