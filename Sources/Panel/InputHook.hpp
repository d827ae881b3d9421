// The native input hook meant to catch the host's pinch and control-scroll gestures over
// the browser view. It installs nothing yet: page zoom then comes from the page alone.
#pragma once

#include <functional>

namespace Velmora::InputHook {

// Would hook nativeView once and report each control-wheel step (in wheel units) to
// onCtrlWheel. Returns whether a hook is installed (never, for now).
bool EnsureInstalled(void* nativeView, std::function<void(short)> onCtrlWheel);

} // namespace Velmora::InputHook
