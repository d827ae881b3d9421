#include "Panel/WebAppPalette.hpp"

#include "Host/Guid.hpp"
#include "Host/HostPort.hpp"

#include <stdexcept>

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

WebAppPalette& WebAppPalette::GetInstance() {
    // The host's null-pointer exception, as its own reference types throw it.
    throw std::logic_error("Null pointer.");
}

PanelState WebAppPalette::CurrentState() const {
    return {visible_, documentReady_, !authToken_.empty()};
}

// Nothing to post into until the palette has a browser; only an instance can be asked.
void WebAppPalette::PushExtractionError(ExtractionKind /*kind*/, std::string const& /*message*/) {}

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
