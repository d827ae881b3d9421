// The add-on's entry points and menu handler. The Archicad adapter exports the host's
// entry points and forwards to these after installing the host port.
#pragma once

#include "Host/HostTypes.hpp"

namespace Velmora {

Host::API_AddonType CheckEnvironment(Host::API_EnvirParams* envir);
Host::GSErrCode RegisterInterface();
Host::GSErrCode Initialize();
Host::GSErrCode FreeData();

Host::GSErrCode MenuCommandHandler(Host::API_MenuParams const* menuParams);

} // namespace Velmora
