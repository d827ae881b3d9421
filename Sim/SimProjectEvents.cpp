#include "Sim/SimProjectEvents.hpp"

namespace Velmora::Sim {

Host::GSErrCode SimProjectEvents::CatchProjectEvent(Host::GSFlags eventTypes,
                                                    Host::APIProjectEventHandlerProc* handlerProc) {
    if (auto err = calls_.Enter("ACAPI_ProjectOperation_CatchProjectEvent"))
        return *err;
    handler_ = handlerProc;
    eventTypes_ = handlerProc != nullptr ? eventTypes : 0;
    return Host::Error::NoError;
}

bool SimProjectEvents::Send(Host::API_NotifyEventID event) {
    if (handler_ == nullptr || (eventTypes_ & static_cast<Host::GSFlags>(event)) == 0)
        return false;
    AddOnLifecycle::Call call(addOn_);
    handler_(event, 0);
    return true;
}

} // namespace Velmora::Sim
