#include "BrowserItem.hpp"

#include "HostText.hpp"
#include "JsBridgeValues.hpp"

namespace Velmora::Archicad {

BrowserItem::Item::Item(::DG::Panel const& panel, short item) : ::DG::Browser(panel, item) {
    ::DG::Browser::Attach(static_cast<::DG::ItemObserver&>(*this));
}

BrowserItem::Item::~Item() {
    ::DG::Browser::Detach(static_cast<::DG::ItemObserver&>(*this));
}

void BrowserItem::Item::OnLoadingStateChange(const ::DG::BrowserLoadingStateChangeArg& arg) {
    if (browserObserver == nullptr)
        return;
    Host::DG::BrowserLoadingStateChangeArg portArg;
    portArg.isLoading = arg.isLoading;
    portArg.canGoBack = arg.canGoBack;
    portArg.canGoForward = arg.canGoForward;
    browserObserver->OnLoadingStateChange(portArg);
}

void BrowserItem::Item::ItemWheelTrackEntered(const ::DG::ItemWheelEvent& /*ev*/, bool* processed) {
    if (itemObserver != nullptr)
        itemObserver->ItemWheelTrackEntered(Host::DG::ItemWheelEvent(), processed);
}

void BrowserItem::Item::ItemWheelTracked(const ::DG::ItemWheelTrackEvent& ev, bool* processed) {
    if (itemObserver != nullptr)
        itemObserver->ItemWheelTracked(Host::DG::ItemWheelTrackEvent(ev.GetXTrackValue(),
                                                                     ev.GetYTrackValue(),
                                                                     ev.IsCommandPressed()),
                                       processed);
}

void BrowserItem::Item::ItemWheelTrackExited(const ::DG::ItemWheelEvent& /*ev*/, bool* processed) {
    if (itemObserver != nullptr)
        itemObserver->ItemWheelTrackExited(Host::DG::ItemWheelEvent(), processed);
}

void BrowserItem::Item::ItemDoubleClicked(const ::DG::ItemDoubleClickEvent& /*ev*/) {
    if (itemObserver != nullptr)
        itemObserver->ItemDoubleClicked(Host::DG::ItemDoubleClickEvent());
}

void BrowserItem::Item::ItemMouseDown(const ::DG::ItemMouseDownEvent& /*ev*/, bool* processed) {
    if (itemObserver != nullptr)
        itemObserver->ItemMouseDown(Host::DG::ItemMouseDownEvent(), processed);
}

void BrowserItem::Item::ItemMouseUp(const ::DG::ItemMouseUpEvent& /*ev*/, bool* processed) {
    if (itemObserver != nullptr)
        itemObserver->ItemMouseUp(Host::DG::ItemMouseUpEvent(), processed);
}

BrowserItem::BrowserItem(::DG::Panel const& panel, short item) : item_(panel, item) {}

short BrowserItem::GetId() const {
    return item_.GetId();
}

void BrowserItem::LoadURL(std::string const& url) {
    item_.LoadURL(ToUniString(url));
}

bool BrowserItem::ExecuteJS(std::string const& jsCode) {
    return item_.ExecuteJS(ToUniString(jsCode));
}

bool BrowserItem::RegisterAsynchJSObject(std::shared_ptr<Host::JS::Object> obj) {
    if (obj == nullptr)
        return item_.RegisterAsynchJSObject(GS::Ref<::JS::Object>());
    if (obj != registeredPortObject_) {
        registeredHostObject_ = ToHostObject(obj);
        registeredPortObject_ = obj;
    }
    return item_.RegisterAsynchJSObject(registeredHostObject_);
}

void BrowserItem::DisableZooming() {
    item_.DisableZooming();
}

void BrowserItem::Resize(short hGrow, short vGrow) {
    item_.Resize(hGrow, vGrow);
}

void BrowserItem::Attach(Host::DG::ItemObserver& observer) {
    item_.itemObserver = &observer;
}

void BrowserItem::Detach(Host::DG::ItemObserver& observer) {
    if (item_.itemObserver == &observer)
        item_.itemObserver = nullptr;
}

void BrowserItem::Attach(Host::DG::BrowserObserver& observer) {
    item_.browserObserver = &observer;
}

void BrowserItem::Detach(Host::DG::BrowserObserver& observer) {
    if (item_.browserObserver == &observer)
        item_.browserObserver = nullptr;
}

} // namespace Velmora::Archicad
