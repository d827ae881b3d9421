// The four functions the host's add-on manager calls. Each installs the host port before
// anything else, then hands over to the add-on.
#include "AddOnMain.hpp"

#include "ArchicadPort.hpp"
#include "HostText.hpp"

#include "APIEnvir.h"

#include "ACAPinc.h"

API_AddonType CheckEnvironment(API_EnvirParams* envirParams) {
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
}

GSErrCode RegisterInterface(void) {
    Velmora::Archicad::InstallPort();
    return Velmora::RegisterInterface();
}

GSErrCode Initialize(void) {
    Velmora::Archicad::InstallPort();
    return Velmora::Initialize();
}

GSErrCode FreeData(void) {
    Velmora::Archicad::InstallPort();
    return Velmora::FreeData();
}
