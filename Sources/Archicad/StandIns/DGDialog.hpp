// Stand-in written from archicad-api.md: DG::Palette and its modeless base (section 5.1).
#pragma once

#include "DGPanel.hpp"
#include "Definitions.hpp"
#include "GSGuid.hpp"
#include "RS.hpp"

namespace DG {

class Dialog : public Panel {};

class ModelessBase : public Dialog {
public:
    void BeginEventProcessing();
    void EndEventProcessing();
    void Show(short refDialId = 0);
    void Hide();
    void SetVisibility(bool show);
    bool IsVisible() const;
};

class Palette : public ModelessBase {
public:
    explicit Palette(GSResModule resModule, short resId, GSResModule dialIconResModule);
    explicit Palette(GSResModule resModule, short resId, GSResModule dialIconResModule,
                     const GS::Guid& guid);
};

} // namespace DG
