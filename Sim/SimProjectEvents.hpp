// The project-event handler the add-on asked for, and the host's sending of those events.
#pragma once

#include "Host/HostTypes.hpp"
#include "Sim/CallLog.hpp"

namespace Velmora::Sim {

class SimProjectEvents {
public:
    explicit SimProjectEvents(CallLog& calls) : calls_(calls) {}

    // ACAPI_ProjectOperation_CatchProjectEvent: one handler for the add-on; each call
    // replaces the last, a null handler stops catching.
    Host::GSErrCode CatchProjectEvent(Host::GSFlags eventTypes,
                                      Host::APIProjectEventHandlerProc* handlerProc);

    // Sends event to the handler when it catches it; false when nobody was told.
    bool Send(Host::API_NotifyEventID event);
    Host::GSFlags Caught() const { return handler_ != nullptr ? eventTypes_ : 0; }

private:
    CallLog& calls_;
    Host::GSFlags eventTypes_ = 0;
    Host::APIProjectEventHandlerProc* handler_ = nullptr;
};

} // namespace Velmora::Sim
