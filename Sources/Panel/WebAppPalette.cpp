#include "Panel/WebAppPalette.hpp"

#include "Host/Guid.hpp"
#include "Host/HostPort.hpp"

namespace Velmora {

Host::API_Guid WebAppPalette::PaletteGuid() {
    return Host::GuidFromString(kPaletteGuid);
}

Host::Int32 WebAppPalette::PaletteReferenceId() {
    return Host::GuidWordSum(PaletteGuid());
}

bool WebAppPalette::HasInstance() {
    return false;
}

Host::GSErrCode WebAppPalette::RegisterPaletteControlCallBack() {
    return Host::Get().RegisterModelessWindow(PaletteReferenceId(), &PaletteControlCallBack,
                                              kControlFlags, PaletteGuid());
}

Host::GSErrCode WebAppPalette::PaletteControlCallBack(Host::Int32 /*referenceId*/,
                                                      Host::API_PaletteMessageID message,
                                                      std::intptr_t param) {
    // Without an instance every message is a no-op, except the visibility question.
    if (message == Host::APIPalMsg_IsPaletteVisible && param != 0)
        *reinterpret_cast<bool*>(param) = false;
    return Host::Error::NoError;
}

} // namespace Velmora
