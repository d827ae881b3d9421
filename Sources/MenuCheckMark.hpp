// The check mark of one of the add-on's menu items.
#pragma once

#include "Host/HostTypes.hpp"

namespace Velmora {

// Sets or clears the mark, keeping the item's other flags. When the host refuses or throws
// from a flag call the mark stays as it was (logged): a stale check mark is no reason to stop
// the command that wanted it changed. Returns the host's error, the general error for a throw.
Host::GSErrCode SetMenuItemChecked(short menuResId, Host::Int32 item, bool checked);

} // namespace Velmora
