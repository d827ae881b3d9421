#include "Sim/SimPaletteWindow.hpp"

namespace Velmora::Sim {

SimPaletteWindow::SimPaletteWindow(Host::API_Guid guid, SimDialog dialog, AddOnLifecycle& addOn,
                                   std::function<void()> onGone)
    : guid_(guid), dialog_(std::move(dialog)), addOn_(addOn), onGone_(std::move(onGone)),
      width_(dialog_.width), height_(dialog_.height) {}

SimPaletteWindow::~SimPaletteWindow() {
    if (onGone_)
        onGone_();
}

void SimPaletteWindow::EndMoveResizeItems() {
    if (moveResizeDepth_ > 0)
        --moveResizeDepth_;
}

void SimPaletteWindow::Detach(Host::DG::PanelObserver& observer) {
    if (observer_ == &observer)
        observer_ = nullptr;
}

bool SimPaletteWindow::ClickCloseBox() {
    bool accepted = false;
    AddOnLifecycle::Call call(addOn_);
    if (observer_ != nullptr)
        observer_->PanelCloseRequested(Host::DG::PanelCloseRequestEvent{}, &accepted);
    return accepted;
}

void SimPaletteWindow::ResizeBy(short horizontal, short vertical) {
    width_ += horizontal;
    height_ += vertical;
    AddOnLifecycle::Call call(addOn_);
    if (observer_ != nullptr)
        observer_->PanelResized(Host::DG::PanelResizeEvent(horizontal, vertical));
}

void SimPaletteWindow::WheelOver(short itemId, short yTrackValue, bool command) {
    bool processed = false;
    AddOnLifecycle::Call call(addOn_);
    if (observer_ != nullptr)
        observer_->PanelWheelTracked(
            Host::DG::PanelWheelTrackEvent(itemId, 0, yTrackValue, command), &processed);
}

} // namespace Velmora::Sim
