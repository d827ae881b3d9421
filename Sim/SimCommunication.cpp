#include "Sim/SimCommunication.hpp"

namespace Velmora::Sim {

SimCommunication::SimCommunication(CallLog& calls, EventLoop& loop, AddOnLifecycle& addOn,
                                   Host::API_ModulID loadedAddOn)
    : calls_(calls), loop_(loop), addOn_(addOn), loadedAddOn_(loadedAddOn) {}

void SimCommunication::ForgetHandlers() {
    std::lock_guard<std::mutex> lock(mutex_);
    handlers_.clear();
}

Host::GSErrCode SimCommunication::RegisterSupportedService(Host::GSType cmdID,
                                                           Host::Int32 cmdVersion) {
    if (auto err = calls_.Enter("ACAPI_AddOnAddOnCommunication_RegisterSupportedService"))
        return *err;
    std::lock_guard<std::mutex> lock(mutex_);
    services_.insert({cmdID, cmdVersion});
    return Host::Error::NoError;
}

Host::GSErrCode
SimCommunication::InstallModulCommandHandler(Host::GSType cmdID, Host::Int32 cmdVersion,
                                             Host::APIModulCommandProc* handlerProc) {
    if (auto err = calls_.Enter("ACAPI_AddOnIntegration_InstallModulCommandHandler"))
        return *err;
    std::lock_guard<std::mutex> lock(mutex_);
    if (services_.count({cmdID, cmdVersion}) == 0 || handlerProc == nullptr)
        return Host::Error::ModulCmdNotSupported;
    handlers_[{cmdID, cmdVersion}] = handlerProc;
    return Host::Error::NoError;
}

Host::GSErrCode SimCommunication::CallFromEventLoop(const Host::API_ModulID* mdid,
                                                    Host::GSType cmdID, Host::Int32 cmdVersion,
                                                    Host::GSHandle /*paramsHandle*/,
                                                    bool silentMode,
                                                    Host::APICommandCallBackProc* /*callback*/) {
    // The one call the host accepts from any thread.
    if (auto err = calls_.Enter("ACAPI_AddOnAddOnCommunication_CallFromEventLoop", false))
        return *err;
    if (mdid == nullptr)
        return Host::Error::BadPars;
    if (mdid->developerID != loadedAddOn_.developerID || mdid->localID != loadedAddOn_.localID)
        return Host::Error::ModulNotInstalled;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (handlers_.count({cmdID, cmdVersion}) == 0)
            return Host::Error::ModulCmdNotSupported;
    }
    Command const command{cmdID, cmdVersion};
    loop_.Enqueue([this, command, silentMode] { RunCommand(command, silentMode); });
    return Host::Error::NoError;
}

void SimCommunication::RunCommand(Command command, bool silentMode) {
    AddOnLifecycle::Call call(addOn_);
    if (!call.Ready())
        return;
    Host::APIModulCommandProc* handler = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = handlers_.find(command);
        if (found != handlers_.end())
            handler = found->second;
    }
    if (handler != nullptr)
        handler(nullptr, nullptr, silentMode);
}

} // namespace Velmora::Sim
