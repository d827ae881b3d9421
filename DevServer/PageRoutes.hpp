// The reference web app and the control endpoints it and the browser tests use. Not part of
// the upload contract, so these requests are not logged.
#pragma once

#include "DevServer/DevServerHandlers.hpp"

#include <httplib.h>

namespace Velmora::DevServer {

void InstallPageRoutes(httplib::Server& server, ServiceState& state);

} // namespace Velmora::DevServer
