// The web app palette's registration with the host. The palette window and its browser
// arrive with the panel work; the host already knows the palette's identity and asks
// about it through PaletteControlCallBack.
#pragma once

#include "Host/HostTypes.hpp"

#include <cstdint>
#include <string>

namespace Velmora {

// Tags the panel's extraction events: a view extraction or a model export/upload.
enum class ExtractionKind : int { View = 0, Model = 1 };

// Whether the panel can show a command's progress: visible, with a loaded page, signed in.
struct PanelState {
    bool visible = false;
    bool documentReady = false;
    bool signedIn = false;
};

class WebAppPalette {
public:
    static constexpr char const* kPaletteGuid = "{B8E5B0B0-1C2D-4E5F-9A7B-0C1D2E3F4A5B}";
    static constexpr Host::GSFlags kControlFlags = 0x3F7; // every window type but selection-only

    static Host::API_Guid PaletteGuid();
    static Host::Int32 PaletteReferenceId();
    static bool HasInstance();
    // The instance; calling it without one is a programming error and throws.
    static WebAppPalette& GetInstance();

    PanelState CurrentState() const;
    void PushExtractionError(ExtractionKind kind, std::string const& message);

    static Host::GSErrCode RegisterPaletteControlCallBack();
    static Host::GSErrCode PaletteControlCallBack(Host::Int32 referenceId,
                                                  Host::API_PaletteMessageID message,
                                                  std::intptr_t param);

private:
    WebAppPalette() = default;

    bool visible_ = false;
    bool documentReady_ = false;
    std::string authToken_;
};

} // namespace Velmora
