#include "PaletteWindow.hpp"

namespace Velmora::Archicad {

PaletteWindow::Window::Window(GSResModule resModule, short resId, GSResModule dialIconResModule,
                              GS::Guid const& guid)
    : ::DG::Palette(resModule, resId, dialIconResModule, guid) {
    ::DG::Palette::Attach(static_cast<::DG::PanelObserver&>(*this));
    BeginEventProcessing();
}

PaletteWindow::Window::~Window() {
    EndEventProcessing();
    ::DG::Palette::Detach(static_cast<::DG::PanelObserver&>(*this));
}

void PaletteWindow::Window::PanelResized(const ::DG::PanelResizeEvent& ev) {
    if (observer != nullptr)
        observer->PanelResized(Host::DG::PanelResizeEvent(
            ev.GetHorizontalChange(), ev.GetVerticalChange(), ev.IsUserResize()));
}

void PaletteWindow::Window::PanelCloseRequested(const ::DG::PanelCloseRequestEvent& /*ev*/,
                                                bool* accepted) {
    if (observer != nullptr)
        observer->PanelCloseRequested(Host::DG::PanelCloseRequestEvent(), accepted);
}

void PaletteWindow::Window::PanelWheelTracked(const ::DG::PanelWheelTrackEvent& ev,
                                              bool* processed) {
    if (observer == nullptr)
        return;
    ::DG::Item const* item = ev.GetItem();
    observer->PanelWheelTracked(
        Host::DG::PanelWheelTrackEvent(item != nullptr ? item->GetId() : 0, ev.GetXTrackValue(),
                                       ev.GetYTrackValue(), ev.IsCommandPressed()),
        processed);
}

PaletteWindow::PaletteWindow(GSResModule resModule, short resId, GSResModule dialIconResModule,
                             GS::Guid const& guid)
    : window_(resModule, resId, dialIconResModule, guid) {}

void PaletteWindow::Show() {
    window_.Show();
}

void PaletteWindow::Hide() {
    window_.Hide();
}

void PaletteWindow::SetVisibility(bool show) {
    window_.SetVisibility(show);
}

bool PaletteWindow::IsVisible() const {
    return window_.IsVisible();
}

void PaletteWindow::EnableItems() {
    window_.EnableItems();
}

void PaletteWindow::DisableItems() {
    window_.DisableItems();
}

void PaletteWindow::BeginMoveResizeItems() {
    window_.BeginMoveResizeItems();
}

void PaletteWindow::EndMoveResizeItems() {
    window_.EndMoveResizeItems();
}

void PaletteWindow::Attach(Host::DG::PanelObserver& observer) {
    window_.observer = &observer;
}

void PaletteWindow::Detach(Host::DG::PanelObserver& observer) {
    if (window_.observer == &observer)
        window_.observer = nullptr;
}

} // namespace Velmora::Archicad
