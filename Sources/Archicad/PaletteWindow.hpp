// The port's palette over a DG::Palette made from the add-on's dialog resource. The host calls
// the palette's observer hooks; they reach the port's observer with the port's events.
#pragma once

#include "Host/DialogPort.hpp"

#include "APIEnvir.h"

#include "DGModule.hpp"

namespace Velmora::Archicad {

class PaletteWindow final : public Host::DG::Palette {
public:
    PaletteWindow(GSResModule resModule, short resId, GSResModule dialIconResModule,
                  GS::Guid const& guid);

    void Show() override;
    void Hide() override;
    void SetVisibility(bool show) override;
    bool IsVisible() const override;
    void EnableItems() override;
    void DisableItems() override;
    void BeginMoveResizeItems() override;
    void EndMoveResizeItems() override;
    void Attach(Host::DG::PanelObserver& observer) override;
    void Detach(Host::DG::PanelObserver& observer) override;

    // The host's panel, for the items made on it.
    ::DG::Palette& Panel() { return window_; }

private:
    class Window final : public ::DG::Palette, public ::DG::PanelObserver {
    public:
        Window(GSResModule resModule, short resId, GSResModule dialIconResModule,
               GS::Guid const& guid);
        ~Window() override;

        Host::DG::PanelObserver* observer = nullptr;

    protected:
        void PanelResized(const ::DG::PanelResizeEvent& ev) override;
        void PanelCloseRequested(const ::DG::PanelCloseRequestEvent& ev, bool* accepted) override;
        void PanelWheelTracked(const ::DG::PanelWheelTrackEvent& ev, bool* processed) override;
    };

    Window window_;
};

} // namespace Velmora::Archicad
