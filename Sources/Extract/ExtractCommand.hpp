#pragma once

#include "Host/HostTypes.hpp"
#include "Settings.hpp"

namespace Velmora {

// Captures the current 3D view and uploads it; 0 when the work was started.
Host::GSErrCode RunExtractAndUpload(ExtractOptions const& options);

} // namespace Velmora
