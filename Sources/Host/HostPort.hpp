// The host port: one method per host call the add-on makes, grouped like the host's API
// (ACAPI_MenuItem_RegisterMenu becomes Host::Get().MenuItem().RegisterMenu(...)).
// Every method returns the host's error code unless the host call itself returns nothing.
// Calls are made on the host's main thread only.
#pragma once

#include "Host/DialogPort.hpp"
#include "Host/HostTypes.hpp"
#include "Host/ModelerApi.hpp"

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

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

// Sights are the host's opaque pointers; nullptr stands for the 3D window's own sight.
class SightApi {
public:
    virtual ~SightApi() = default;
    virtual GSErrCode CreateSight(void** newSightPtr) = 0;
    virtual GSErrCode SelectSight(void* sightPtr, void** oldSightPtr) = 0;
    virtual GSErrCode DeleteSight(void* sightPtr) = 0;
    virtual GSErrCode GetSelectedSightModel(ModelerAPI::Model& model) = 0;
};

class ElementApi {
public:
    virtual ~ElementApi() = default;
    virtual GSErrCode GetElemList(const API_ElemType& type, std::vector<API_Guid>* elemList,
                                  API_ElemFilterFlags filterBits) = 0;
};

class ModelAccessApi {
public:
    virtual ~ModelAccessApi() = default;
    // Refused while the 3D window's own sight is selected.
    virtual GSErrCode
    GenerateModelWithSeparateComponents(const std::vector<API_Guid>& elementGuids) = 0;
};

class ProjectOperationApi {
public:
    virtual ~ProjectOperationApi() = default;
    virtual GSErrCode Project(API_ProjectInfo* projectInfo) = 0;
    // Saves the current window as a picture.
    virtual GSErrCode Save(const API_FileSavePars* fileSavePars,
                           const API_SavePars_Picture* formatPars) = 0;
    // One handler for the events in eventTypes; a null handler stops catching.
    virtual GSErrCode CatchProjectEvent(GSFlags eventTypes,
                                        APIProjectEventHandlerProc* handlerProc) = 0;
};

class WindowApi {
public:
    virtual ~WindowApi() = default;
    virtual GSErrCode GetCurrentWindow(API_WindowInfo* windowInfo) = 0;
};

class AttributeApi {
public:
    virtual ~AttributeApi() = default;
    // Fills attrHead->index from its name; BadName when there is none of that name.
    virtual GSErrCode Search(API_Attr_Head* attrHead) = 0;
    virtual GSErrCode Get(API_Attribute* attribute) = 0;
};

class ViewApi {
public:
    virtual ~ViewApi() = default;
    virtual GSErrCode ShowAllIn3D() = 0;
    virtual GSErrCode Redraw() = 0;
    virtual GSErrCode Get3DWindowSets(API_3DWindowInfo* windowInfo) = 0;
    virtual GSErrCode Change3DWindowSets(API_3DWindowInfo* windowInfo) = 0;
    virtual GSErrCode Get3DProjectionSets(API_3DProjectionInfo* proj3DInfo) = 0;
    virtual GSErrCode Get3DStyle(API_3DStyle* style) = 0;
    virtual GSErrCode Change3DStyle(API_3DStyle* style) = 0;
};

class DatabaseApi {
public:
    virtual ~DatabaseApi() = default;
    virtual GSErrCode RebuildCurrentDatabase() = 0;
};

class RenderingApi {
public:
    virtual ~RenderingApi() = default;
    // Only the image settings are read; other set types are refused.
    virtual GSErrCode GetRenderingSets(API_RendImage* rendInfo, API_RendSetTypeID rendSetType) = 0;
};

class ProjectSettingsApi {
public:
    virtual ~ProjectSettingsApi() = default;
    virtual GSErrCode GetSpecFolder(API_SpecFolderID* specFolderID, std::string* location) = 0;
};

struct GuidHash {
    std::size_t operator()(API_Guid const& guid) const noexcept;
};
using ElementColorTable = std::unordered_map<API_Guid, API_RGBAColor, GuidHash>;

class UserInputApi {
public:
    virtual ~UserInputApi() = default;
    virtual void
    SetElementHighlight(const ElementColorTable& highlightedElems,
                        const std::optional<bool>& wireframe3D,
                        const std::optional<API_RGBAColor>& nonHighlightedElemsColor) = 0;
    virtual void ClearElementHighlight() = 0;
};

class Port {
public:
    virtual ~Port() = default;

    virtual MenuItemApi& MenuItem() = 0;
    virtual AddOnAddOnCommunicationApi& AddOnAddOnCommunication() = 0;
    virtual AddOnIntegrationApi& AddOnIntegration() = 0;
    virtual SightApi& Sight() = 0;
    virtual ElementApi& Element() = 0;
    virtual ModelAccessApi& ModelAccess() = 0;
    virtual ProjectOperationApi& ProjectOperation() = 0;
    virtual WindowApi& Window() = 0;
    virtual AttributeApi& Attribute() = 0;
    virtual ViewApi& View() = 0;
    virtual DatabaseApi& Database() = 0;
    virtual RenderingApi& Rendering() = 0;
    virtual ProjectSettingsApi& ProjectSettings() = 0;
    virtual UserInputApi& UserInput() = 0;
    // The dialog toolkit (DG::Palette, DG::Browser, DG::GetCefDebugPort).
    virtual DialogApi& Dialog() = 0;

    // Calls the host keeps outside any group.
    virtual void WriteReport(const std::string& text, bool withDial) = 0;
    virtual GSErrCode GetPreferences(Int32* version, GSSize* nByte, void* data) = 0;
    virtual GSErrCode SetPreferences(Int32 version, GSSize nByte, const void* data) = 0;
    virtual void KeepInMemory(bool keepIn) = 0;
    virtual void GetReleaseNumber(API_ServerApplicationInfo* serverApplicationInfo) = 0;
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
