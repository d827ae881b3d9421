// Stand-in written from archicad-api.md: DG::Item and DG::ItemObserver with the hooks the
// adapter forwards (section 5.3).
#pragma once

#include "Definitions.hpp"

namespace DG {

class ItemWheelEvent {};

class ItemWheelTrackEvent {
public:
    short GetXTrackValue() const;
    short GetYTrackValue() const;
    bool IsCommandPressed() const;
    bool IsOptionPressed() const;
    bool IsShiftPressed() const;
};

class ItemDoubleClickEvent {};
class ItemMouseDownEvent {};
class ItemMouseUpEvent {};

class ItemObserver {
public:
    virtual ~ItemObserver();

protected:
    virtual void ItemWheelTrackEntered(const ItemWheelEvent& ev, bool* processed);
    virtual void ItemWheelTracked(const ItemWheelTrackEvent& ev, bool* processed);
    virtual void ItemWheelTrackExited(const ItemWheelEvent& ev, bool* processed);
    virtual void ItemDoubleClicked(const ItemDoubleClickEvent& ev);
    virtual void ItemMouseDown(const ItemMouseDownEvent& ev, bool* processed);
    virtual void ItemMouseUp(const ItemMouseUpEvent& ev, bool* processed);
};

class Item {
public:
    virtual ~Item();

    // Not in archicad-api.md: the item's number in its dialog resource.
    short GetId() const;
    void Resize(short hGrow, short vGrow);
    void Attach(ItemObserver& observer);
    void Detach(ItemObserver& observer);
};

} // namespace DG
