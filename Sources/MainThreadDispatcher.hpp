#pragma once

#include "Host/HostTypes.hpp"

#include <functional>

namespace Velmora {

// Hands work from any thread to the host's main thread through the host's event loop.
class MainThreadDispatcher {
public:
    static constexpr Host::GSType kCommandId = 0x564C4D6Du; // 'VLMm'
    static constexpr Host::Int32 kCommandVersion = 1;

    static Host::GSErrCode RegisterService();
    static Host::GSErrCode InstallHandler();

    static void Post(std::function<void()> fn);
    static void PostAfter(int delayMs, std::function<void()> fn);
    static Host::GSErrCode DrainNow();
    // Drops what is queued without running it: the add-on is being unloaded.
    static void DropQueued();

    // True when nothing is queued and no delayed post is still sleeping.
    static bool IsIdle();

    static Host::API_ModulID OwnModuleId();
};

} // namespace Velmora
