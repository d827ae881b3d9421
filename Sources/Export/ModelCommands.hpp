#pragma once

#include "Host/HostTypes.hpp"

namespace Velmora {

// Exports the visible model and uploads it to the web app.
Host::GSErrCode RunSendModelToVelmora();
// Exports the visible model to last_model.glb in the log folder.
Host::GSErrCode RunExportModelToDisk();

} // namespace Velmora
