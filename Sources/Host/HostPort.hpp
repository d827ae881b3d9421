// The host port: one method per host call the add-on makes, grouped like the host's API
// (ACAPI_MenuItem_RegisterMenu becomes Host::Get().MenuItem().RegisterMenu(...)).
// Every method returns the host's error code unless the host call itself returns nothing.
// Calls are made on the host's main thread only.
#pragma once

#include "Host/HostTypes.hpp"

#include <string>

namespace Velmora::Host {

class MenuItemApi {
public:
    virtual ~MenuItemApi() = default;
    virtual GSErrCode RegisterMenu(short menuStrResID, short promptStrResID,
                                   APIMenuCodeID menuPosCode, GSFlags menuFlags) = 0;
    virtual GSErrCode InstallMenuHandler(short menuStrResID, APIMenuCommandProc* handlerProc) = 0;
    virtual GSErrCode GetMenuItemFlags(const API_MenuItemRef* menuItemRef, GSFlags* itemFlags) = 0;
    virtual GSErrCode SetMenuItemFlags(const API_MenuItemRef* menuItemRef, GSFlags* itemFlags) = 0;
};

class AddOnAddOnCommunicationApi {
public:
    virtual ~AddOnAddOnCommunicationApi() = default;
    virtual GSErrCode RegisterSupportedService(GSType cmdID, Int32 cmdVersion) = 0;
    virtual GSErrCode CallFromEventLoop(const API_ModulID* mdid, GSType cmdID, Int32 cmdVersion,
                                        GSHandle paramsHandle, bool silentMode,
                                        APICommandCallBackProc* callbackProc) = 0;
};

class AddOnIntegrationApi {
public:
    virtual ~AddOnIntegrationApi() = default;
    virtual GSErrCode InstallModulCommandHandler(GSType cmdID, Int32 cmdVersion,
                                                 APIModulCommandProc* handlerProc) = 0;
};

class Port {
public:
    virtual ~Port() = default;

    virtual MenuItemApi& MenuItem() = 0;
    virtual AddOnAddOnCommunicationApi& AddOnAddOnCommunication() = 0;
    virtual AddOnIntegrationApi& AddOnIntegration() = 0;

    // Calls the host keeps outside any group.
    virtual void WriteReport(const std::string& text, bool withDial) = 0;
    virtual GSErrCode GetPreferences(Int32* version, GSSize* nByte, void* data) = 0;
    virtual GSErrCode SetPreferences(Int32 version, GSSize nByte, const void* data) = 0;
    virtual void KeepInMemory(bool keepIn) = 0;
    virtual GSErrCode RegisterModelessWindow(Int32 referenceID,
                                             APIPaletteControlCallBackProc* callBackProc,
                                             GSFlags controlFlags, const API_Guid& paletteGuid) = 0;

    // The add-on's own resource strings (RS module): index is 1-based.
    virtual GSResModule GetOwnResModule() = 0;
    virtual bool RSGetIndString(std::string* result, Int32 resID, Int32 index,
                                GSResModule resModule) = 0;
};

// Installed once per process: by the entry points inside Archicad, by the simulated host,
// or by a test fixture. Passing nullptr uninstalls.
void Install(Port* port);
bool IsInstalled();
Port& Get();

} // namespace Velmora::Host
