// The project-event handler the add-on asked for, and the host's sending of those events.
#pragma once

#include "Host/HostTypes.hpp"
#include "Sim/AddOnLifecycle.hpp"
#include "Sim/CallLog.hpp"

namespace Velmora::Sim {

class SimProjectEvents {
public:
    SimProjectEvents(CallLog& calls, AddOnLifecycle& addOn) : calls_(calls), addOn_(addOn) {}

    // ACAPI_ProjectOperation_CatchProjectEvent: one handler for the add-on; each call
    // replaces the last, a null handler stops catching.
    Host::GSErrCode CatchProjectEvent(Host::GSFlags eventTypes,
                                      Host::APIProjectEventHandlerProc* handlerProc);

    // Sends event to the handler when it catches it; false when nobody was told.
    bool Send(Host::API_NotifyEventID event);
    Host::GSFlags Caught() const { return handler_ != nullptr ? eventTypes_ : 0; }
    // The handler goes with an unloaded add-on's code.
    void Forget() { handler_ = nullptr; }

private:
    CallLog& calls_;
    AddOnLifecycle& addOn_;
    Host::GSFlags eventTypes_ = 0;
    Host::APIProjectEventHandlerProc* handler_ = nullptr;
};

} // namespace Velmora::Sim
