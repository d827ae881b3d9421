// Menus, the add-on's own command service and calls from the event loop.
#include "ArchicadApis.hpp"

#include "APIEnvir.h"

#include "ACAPinc.h"
#include "Callbacks.hpp"

namespace Velmora::Archicad {

namespace {

::API_MenuItemRef ToApiMenuItemRef(Host::API_MenuItemRef const& ref) {
    ::API_MenuItemRef apiRef{};
    apiRef.menuResID = ref.menuResID;
    apiRef.itemIndex = ref.itemIndex;
    return apiRef;
}

} // namespace

Host::GSErrCode MenuItemApi::RegisterMenu(short menuStrResID, short promptStrResID,
                                          Host::APIMenuCodeID menuPosCode,
                                          Host::GSFlags menuFlags) {
    return ACAPI_MenuItem_RegisterMenu(menuStrResID, promptStrResID,
                                       static_cast<::APIMenuCodeID>(menuPosCode), menuFlags);
}

Host::GSErrCode MenuItemApi::InstallMenuHandler(short menuStrResID,
                                                Host::APIMenuCommandProc* handlerProc) {
    ::APIMenuCommandProc* trampoline = nullptr;
    if (handlerProc != nullptr) {
        trampoline = Callbacks::ForMenu(menuStrResID, handlerProc);
        if (trampoline == nullptr)
            return APIERR_GENERAL;
    }
    return ACAPI_MenuItem_InstallMenuHandler(menuStrResID, trampoline);
}

Host::GSErrCode MenuItemApi::GetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                              Host::GSFlags* itemFlags) {
    if (menuItemRef == nullptr)
        return ACAPI_MenuItem_GetMenuItemFlags(nullptr, itemFlags);
    ::API_MenuItemRef const apiRef = ToApiMenuItemRef(*menuItemRef);
    return ACAPI_MenuItem_GetMenuItemFlags(&apiRef, itemFlags);
}

Host::GSErrCode MenuItemApi::SetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                              Host::GSFlags* itemFlags) {
    if (menuItemRef == nullptr)
        return ACAPI_MenuItem_SetMenuItemFlags(nullptr, itemFlags);
    ::API_MenuItemRef const apiRef = ToApiMenuItemRef(*menuItemRef);
    return ACAPI_MenuItem_SetMenuItemFlags(&apiRef, itemFlags);
}

Host::GSErrCode AddOnAddOnCommunicationApi::RegisterSupportedService(Host::GSType cmdID,
                                                                     Host::Int32 cmdVersion) {
    return ACAPI_AddOnAddOnCommunication_RegisterSupportedService(cmdID, cmdVersion);
}

Host::GSErrCode AddOnAddOnCommunicationApi::CallFromEventLoop(
    const Host::API_ModulID* mdid, Host::GSType cmdID, Host::Int32 cmdVersion,
    Host::GSHandle paramsHandle, bool silentMode, Host::APICommandCallBackProc* callbackProc) {
    ::APICommandCallBackProc* trampoline = nullptr;
    if (callbackProc != nullptr) {
        trampoline = Callbacks::ForEventLoopCallBack(callbackProc);
        if (trampoline == nullptr)
            return APIERR_GENERAL;
    }
    if (mdid == nullptr)
        return ACAPI_AddOnAddOnCommunication_CallFromEventLoop(
            nullptr, cmdID, cmdVersion, paramsHandle, silentMode, trampoline);
    ::API_ModulID const apiMdid{mdid->developerID, mdid->localID};
    return ACAPI_AddOnAddOnCommunication_CallFromEventLoop(&apiMdid, cmdID, cmdVersion,
                                                           paramsHandle, silentMode, trampoline);
}

Host::GSErrCode
AddOnIntegrationApi::InstallModulCommandHandler(Host::GSType cmdID, Host::Int32 cmdVersion,
                                                Host::APIModulCommandProc* handlerProc) {
    ::APIModulCommandProc* trampoline = nullptr;
    if (handlerProc != nullptr) {
        trampoline = Callbacks::ForModulCommand(cmdID, cmdVersion, handlerProc);
        if (trampoline == nullptr)
            return APIERR_GENERAL;
    }
    return ACAPI_AddOnIntegration_InstallModulCommandHandler(cmdID, cmdVersion, trampoline);
}

} // namespace Velmora::Archicad
