// The host's dialog toolkit as the add-on uses it: a modeless palette made from a dialog
// resource, its browser item, and the observer hooks the host calls back. The palette and the
// browser are objects the host owns; the add-on holds them through the interfaces below and
// implements the observers, which the adapter forwards the host's hooks to.
#pragma once

#include "Host/HostTypes.hpp"
#include "Host/JsValues.hpp"

#include <cstdint>
#include <memory>
#include <string>

namespace Velmora::Host::DG {

// ---- Events the hooks receive (only what the add-on reads) ---------------------------------

class PanelResizeEvent {
public:
    PanelResizeEvent(short horizontalChange, short verticalChange, bool userResize = true)
        : horizontalChange_(horizontalChange), verticalChange_(verticalChange),
          userResize_(userResize) {}
    short GetHorizontalChange() const { return horizontalChange_; }
    short GetVerticalChange() const { return verticalChange_; }
    bool IsUserResize() const { return userResize_; }

private:
    short horizontalChange_;
    short verticalChange_;
    bool userResize_;
};

class PanelCloseRequestEvent {};

// The host hands the item under the wheel as a pointer; the port hands its item id (0: none).
class PanelWheelTrackEvent {
public:
    PanelWheelTrackEvent(short itemId, short xTrackValue, short yTrackValue, bool commandPressed)
        : itemId_(itemId), xTrackValue_(xTrackValue), yTrackValue_(yTrackValue),
          commandPressed_(commandPressed) {}
    short GetItemId() const { return itemId_; }
    short GetXTrackValue() const { return xTrackValue_; }
    short GetYTrackValue() const { return yTrackValue_; }
    bool IsCommandPressed() const { return commandPressed_; }

private:
    short itemId_;
    short xTrackValue_;
    short yTrackValue_;
    bool commandPressed_;
};

class ItemWheelEvent {};

class ItemWheelTrackEvent {
public:
    ItemWheelTrackEvent(short xTrackValue, short yTrackValue, bool commandPressed)
        : xTrackValue_(xTrackValue), yTrackValue_(yTrackValue), commandPressed_(commandPressed) {}
    short GetXTrackValue() const { return xTrackValue_; }
    short GetYTrackValue() const { return yTrackValue_; }
    bool IsCommandPressed() const { return commandPressed_; }

private:
    short xTrackValue_;
    short yTrackValue_;
    bool commandPressed_;
};

class ItemDoubleClickEvent {};
class ItemMouseDownEvent {};
class ItemMouseUpEvent {};

struct BrowserLoadingStateChangeArg {
    bool isLoading = false;
    bool canGoBack = false;
    bool canGoForward = false;
};

// ---- Observers the add-on implements -------------------------------------------------------

// Every hook does nothing unless overridden, as in the host.
class PanelObserver {
public:
    virtual ~PanelObserver() = default;
    virtual void PanelResized(PanelResizeEvent const& /*ev*/) {}
    virtual void PanelCloseRequested(PanelCloseRequestEvent const& /*ev*/, bool* /*accepted*/) {}
    virtual void PanelWheelTracked(PanelWheelTrackEvent const& /*ev*/, bool* /*processed*/) {}
};

class ItemObserver {
public:
    virtual ~ItemObserver() = default;
    virtual void ItemWheelTrackEntered(ItemWheelEvent const& /*ev*/, bool* /*processed*/) {}
    virtual void ItemWheelTracked(ItemWheelTrackEvent const& /*ev*/, bool* /*processed*/) {}
    virtual void ItemWheelTrackExited(ItemWheelEvent const& /*ev*/, bool* /*processed*/) {}
    virtual void ItemDoubleClicked(ItemDoubleClickEvent const& /*ev*/) {}
    virtual void ItemMouseDown(ItemMouseDownEvent const& /*ev*/, bool* /*processed*/) {}
    virtual void ItemMouseUp(ItemMouseUpEvent const& /*ev*/, bool* /*processed*/) {}
};

// The browser's own notification (the host's OnLoadingStateChange override point).
class BrowserObserver {
public:
    virtual ~BrowserObserver() = default;
    virtual void OnLoadingStateChange(BrowserLoadingStateChangeArg const& arg) = 0;
};

// ---- Host objects --------------------------------------------------------------------------

// A palette made from a dialog resource. Deleting it closes the window.
class Palette {
public:
    virtual ~Palette() = default;
    virtual void Show() = 0;
    virtual void Hide() = 0;
    virtual void SetVisibility(bool show) = 0;
    virtual bool IsVisible() const = 0;
    virtual void EnableItems() = 0;
    virtual void DisableItems() = 0;
    virtual void BeginMoveResizeItems() = 0;
    virtual void EndMoveResizeItems() = 0;
    // One observer at a time; Detach with another observer does nothing.
    virtual void Attach(PanelObserver& observer) = 0;
    virtual void Detach(PanelObserver& observer) = 0;
};

// The browser item of a palette. Deleting it removes the item's page.
class Browser {
public:
    virtual ~Browser() = default;
    virtual short GetId() const = 0;
    virtual void LoadURL(std::string const& url) = 0;
    // False when the script could not be handed to a document (none is loaded).
    virtual bool ExecuteJS(std::string const& jsCode) = 0;
    virtual bool RegisterAsynchJSObject(std::shared_ptr<JS::Object> obj) = 0;
    virtual void DisableZooming() = 0;
    // Grows the item by the given amounts.
    virtual void Resize(short hGrow, short vGrow) = 0;
    virtual void Attach(ItemObserver& observer) = 0;
    virtual void Detach(ItemObserver& observer) = 0;
    virtual void Attach(BrowserObserver& observer) = 0;
    virtual void Detach(BrowserObserver& observer) = 0;
};

} // namespace Velmora::Host::DG

namespace Velmora::Host {

// The toolkit's constructors and free functions. The constructors of the host cannot fail
// with a code; the port's can, so that a refused creation stays visible.
class DialogApi {
public:
    virtual ~DialogApi() = default;
    // DG::Palette(resModule, resId, dialIconResModule, guid): BadId when the dialog resource
    // does not exist or a palette with that guid is already open.
    virtual GSErrCode CreatePalette(GSResModule resModule, short resId,
                                    GSResModule dialIconResModule, API_Guid const& guid,
                                    std::unique_ptr<DG::Palette>* palette) = 0;
    // DG::Browser(panel, item): BadId when the panel's dialog has no browser item of that id
    // or the item already has one.
    virtual GSErrCode CreateBrowser(DG::Palette& panel, short item,
                                    std::unique_ptr<DG::Browser>* browser) = 0;
    // DG::GetCefDebugPort(): the browser engine's remote-debugging port (0: off).
    virtual std::uint16_t GetCefDebugPort() = 0;
};

} // namespace Velmora::Host
