#include "Panel/InputHook.hpp"

namespace Velmora::InputHook {

bool EnsureInstalled(void* /*nativeView*/, std::function<void(short)> /*onCtrlWheel*/) {
    return false;
}

} // namespace Velmora::InputHook
