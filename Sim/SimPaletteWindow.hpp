// A modeless palette window of the simulated host, made from a 'GDLG' palette resource: its
// visibility, its items' enabled state, and the user's gestures at it, which reach the
// add-on through the panel observer.
#pragma once

#include "Host/DialogPort.hpp"
#include "Sim/AddOnLifecycle.hpp"
#include "Sim/SimResources.hpp"

#include <functional>

namespace Velmora::Sim {

class SimPaletteWindow : public Host::DG::Palette {
public:
    // onGone runs in the destructor, when the add-on deletes the palette.
    SimPaletteWindow(Host::API_Guid guid, SimDialog dialog, AddOnLifecycle& addOn,
                     std::function<void()> onGone);
    ~SimPaletteWindow() override;
    // The host is gone first: nobody is left to tell.
    void Orphan() { onGone_ = nullptr; }

    void Show() override { visible_ = true; }
    void Hide() override { visible_ = false; }
    void SetVisibility(bool show) override { visible_ = show; }
    bool IsVisible() const override { return visible_; }
    void EnableItems() override { itemsEnabled_ = true; }
    void DisableItems() override { itemsEnabled_ = false; }
    void BeginMoveResizeItems() override { ++moveResizeDepth_; }
    void EndMoveResizeItems() override;
    void Attach(Host::DG::PanelObserver& observer) override { observer_ = &observer; }
    void Detach(Host::DG::PanelObserver& observer) override;

    // The user: the close box (true when the add-on accepted), a resize, the wheel.
    bool ClickCloseBox();
    void ResizeBy(short horizontal, short vertical);
    void WheelOver(short itemId, short yTrackValue, bool command);

    Host::API_Guid const& Guid() const { return guid_; }
    SimDialog const& Resource() const { return dialog_; }
    bool ItemsEnabled() const { return itemsEnabled_; }
    // Item moves outside a Begin/End pair are not laid out by the host.
    bool InMoveResize() const { return moveResizeDepth_ > 0; }
    int Width() const { return width_; }
    int Height() const { return height_; }

private:
    Host::API_Guid guid_;
    SimDialog dialog_;
    AddOnLifecycle& addOn_; // each gesture reaching the observer is a call into the add-on
    std::function<void()> onGone_;
    Host::DG::PanelObserver* observer_ = nullptr;
    bool visible_ = false;
    bool itemsEnabled_ = true;
    int moveResizeDepth_ = 0;
    int width_;
    int height_;
};

} // namespace Velmora::Sim
