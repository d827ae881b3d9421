// The four functions the host's add-on manager calls. Each installs the host port before
// anything else, then hands over to the add-on. The add-on guards its own work; the guard here
// covers what the adapter itself does (the port's construction, the host's strings).
#include "AddOnMain.hpp"
#include "HostEntry.hpp"

#include "ArchicadPort.hpp"
#include "HostText.hpp"

#include "APIEnvir.h"

#include "ACAPinc.h"

namespace {

constexpr Velmora::HostEntry kAdapterEntry{"Archicad entry point", false, false};

// Calls the add-on's entry point with the port installed; the general error if either throws.
GSErrCode ForwardEntry(Velmora::Host::GSErrCode (*entry)()) {
    return Velmora::GuardHostEntry(kAdapterEntry, GSErrCode(APIERR_GENERAL), [entry] {
        Velmora::Archicad::InstallPort();
        return static_cast<GSErrCode>(entry());
    });
}

} // namespace

API_AddonType CheckEnvironment(API_EnvirParams* envirParams) {
    return Velmora::GuardHostEntry(kAdapterEntry, APIAddon_DontRegister, [envirParams] {
        Velmora::Archicad::InstallPort();
        Velmora::Host::API_EnvirParams portParams;
        Velmora::Host::API_AddonType const type =
            Velmora::CheckEnvironment(envirParams != nullptr ? &portParams : nullptr);
        if (envirParams != nullptr) {
            envirParams->addOnInfo.name = Velmora::Archicad::ToUniString(portParams.addOnInfo.name);
            envirParams->addOnInfo.description =
                Velmora::Archicad::ToUniString(portParams.addOnInfo.description);
        }
        return static_cast<API_AddonType>(type);
    });
}

GSErrCode RegisterInterface(void) {
    return ForwardEntry(Velmora::RegisterInterface);
}

GSErrCode Initialize(void) {
    return ForwardEntry(Velmora::Initialize);
}

GSErrCode FreeData(void) {
    return ForwardEntry(Velmora::FreeData);
}
