// Stand-in written from archicad-api.md: DG::Panel and DG::PanelObserver with the hooks the
// adapter forwards (section 5.2).
#pragma once

#include "Definitions.hpp"

namespace DG {

class Item;

class PanelResizeEvent {
public:
    bool IsUserResize() const;
    short GetHorizontalChange() const;
    short GetVerticalChange() const;
};

class PanelCloseRequestEvent {};

class PanelWheelTrackEvent {
public:
    Item* GetItem() const;
    short GetXTrackValue() const;
    short GetYTrackValue() const;
    bool IsCommandPressed() const;
    bool IsOptionPressed() const;
    bool IsShiftPressed() const;
};

class PanelObserver {
public:
    virtual ~PanelObserver();

protected:
    virtual void PanelResized(const PanelResizeEvent& ev);
    virtual void PanelCloseRequested(const PanelCloseRequestEvent& ev, bool* accepted);
    virtual void PanelWheelTracked(const PanelWheelTrackEvent& ev, bool* processed);
};

class Panel {
public:
    virtual ~Panel();

    void Attach(PanelObserver& observer);
    void Detach(PanelObserver& observer);
    void BeginMoveResizeItems();
    void EndMoveResizeItems();
    // Not in archicad-api.md: enabling and disabling every item of the panel, as the host's
    // palette messages 4 and 5 ask.
    void EnableItems();
    void DisableItems();
};

} // namespace DG
