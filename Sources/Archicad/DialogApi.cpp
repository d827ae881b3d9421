// The dialog toolkit's constructors and free functions.
#include "ArchicadApis.hpp"

#include "BrowserItem.hpp"
#include "HostText.hpp"
#include "PaletteWindow.hpp"

#include "API_Guid.hpp"
#include "DGUtility.hpp"

namespace Velmora::Archicad {

Host::GSErrCode DialogApi::CreatePalette(Host::GSResModule resModule, short resId,
                                         Host::GSResModule dialIconResModule,
                                         Host::API_Guid const& guid,
                                         std::unique_ptr<Host::DG::Palette>* palette) {
    if (palette == nullptr)
        return APIERR_BADPARS;
    ::API_Guid const apiGuid = ToApiGuid(guid);
    *palette = std::make_unique<PaletteWindow>(resModule, resId, dialIconResModule,
                                               APIGuid2GSGuid(apiGuid));
    return NoError;
}

Host::GSErrCode DialogApi::CreateBrowser(Host::DG::Palette& panel, short item,
                                         std::unique_ptr<Host::DG::Browser>* browser) {
    // Only a palette this adapter made has a host panel to put the item on.
    auto* window = dynamic_cast<PaletteWindow*>(&panel);
    if (window == nullptr || browser == nullptr)
        return APIERR_BADPARS;
    *browser = std::make_unique<BrowserItem>(window->Panel(), item);
    return NoError;
}

std::uint16_t DialogApi::GetCefDebugPort() {
    return ::DG::GetCefDebugPort();
}

} // namespace Velmora::Archicad
