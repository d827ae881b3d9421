// Add-on communication: the services the add-on registered, its command handlers, and
// calls from the event loop, which other threads may request at any time.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/AddOnLifecycle.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/EventLoop.hpp"

#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace Velmora::Sim {

class SimCommunication : public Host::AddOnAddOnCommunicationApi, public Host::AddOnIntegrationApi {
public:
    SimCommunication(CallLog& calls, EventLoop& loop, AddOnLifecycle& addOn,
                     Host::API_ModulID loadedAddOn);

    // The handlers go with an unloaded add-on's code; its services stay registered.
    void ForgetHandlers();

    Host::GSErrCode RegisterSupportedService(Host::GSType cmdID, Host::Int32 cmdVersion) override;
    Host::GSErrCode CallFromEventLoop(const Host::API_ModulID* mdid, Host::GSType cmdID,
                                      Host::Int32 cmdVersion, Host::GSHandle paramsHandle,
                                      bool silentMode,
                                      Host::APICommandCallBackProc* callbackProc) override;
    Host::GSErrCode InstallModulCommandHandler(Host::GSType cmdID, Host::Int32 cmdVersion,
                                               Host::APIModulCommandProc* handlerProc) override;

private:
    using Command = std::pair<Host::GSType, Host::Int32>;

    void RunCommand(Command command, bool silentMode);

    CallLog& calls_;
    EventLoop& loop_;
    AddOnLifecycle& addOn_;
    Host::API_ModulID loadedAddOn_;
    std::mutex mutex_;
    std::set<Command> services_;
    std::map<Command, Host::APIModulCommandProc*> handlers_;
};

} // namespace Velmora::Sim
