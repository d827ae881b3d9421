// The commands that menu items, trigger files and the panel run. Each returns 0 to the
// host and reports its own failures.
#pragma once

#include "Host/HostTypes.hpp"

namespace Velmora {

Host::GSErrCode DoShowPanel();
Host::GSErrCode DoExtractView();
Host::GSErrCode DoSendModel();
Host::GSErrCode DoExportModel();
Host::GSErrCode DoToggleMask();
Host::GSErrCode DoToggleDebugDump();
Host::GSErrCode DoToggleMaskInstances();
Host::GSErrCode DoSettings();
Host::GSErrCode DoViewLogs();
void SyncSettingsMenuChecks();

} // namespace Velmora
