// The host port over Archicad's API: one class per port group, each a field-by-field
// translation of the port's records to the host's and back. Every adapter file includes the
// port's headers before the DevKit's: the DevKit defines some of the port's names as macros
// (APIFilt_*, RSGetIndString), which must not rewrite the port's own declarations.
#pragma once

#include "Host/HostPort.hpp"

namespace Velmora::Archicad {

class MenuItemApi final : public Host::MenuItemApi {
public:
    Host::GSErrCode RegisterMenu(short menuStrResID, short promptStrResID,
                                 Host::APIMenuCodeID menuPosCode, Host::GSFlags menuFlags) override;
    Host::GSErrCode InstallMenuHandler(short menuStrResID,
                                       Host::APIMenuCommandProc* handlerProc) override;
    Host::GSErrCode GetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                     Host::GSFlags* itemFlags) override;
    Host::GSErrCode SetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                     Host::GSFlags* itemFlags) override;
};

class AddOnAddOnCommunicationApi final : public Host::AddOnAddOnCommunicationApi {
public:
    Host::GSErrCode RegisterSupportedService(Host::GSType cmdID, Host::Int32 cmdVersion) override;
    Host::GSErrCode CallFromEventLoop(const Host::API_ModulID* mdid, Host::GSType cmdID,
                                      Host::Int32 cmdVersion, Host::GSHandle paramsHandle,
                                      bool silentMode,
                                      Host::APICommandCallBackProc* callbackProc) override;
};

class AddOnIntegrationApi final : public Host::AddOnIntegrationApi {
public:
    Host::GSErrCode InstallModulCommandHandler(Host::GSType cmdID, Host::Int32 cmdVersion,
                                               Host::APIModulCommandProc* handlerProc) override;
};

class SightApi final : public Host::SightApi {
public:
    Host::GSErrCode CreateSight(void** newSightPtr) override;
    Host::GSErrCode SelectSight(void* sightPtr, void** oldSightPtr) override;
    Host::GSErrCode DeleteSight(void* sightPtr) override;
    Host::GSErrCode GetSelectedSightModel(Host::ModelerAPI::Model& model) override;
};

class ElementApi final : public Host::ElementApi {
public:
    Host::GSErrCode GetElemList(const Host::API_ElemType& type,
                                std::vector<Host::API_Guid>* elemList,
                                Host::API_ElemFilterFlags filterBits) override;
};

class ModelAccessApi final : public Host::ModelAccessApi {
public:
    Host::GSErrCode
    GenerateModelWithSeparateComponents(const std::vector<Host::API_Guid>& elementGuids) override;
};

class ProjectOperationApi final : public Host::ProjectOperationApi {
public:
    Host::GSErrCode Project(Host::API_ProjectInfo* projectInfo) override;
    Host::GSErrCode Save(const Host::API_FileSavePars* fileSavePars,
                         const Host::API_SavePars_Picture* formatPars) override;
    Host::GSErrCode CatchProjectEvent(Host::GSFlags eventTypes,
                                      Host::APIProjectEventHandlerProc* handlerProc) override;
};

class WindowApi final : public Host::WindowApi {
public:
    Host::GSErrCode GetCurrentWindow(Host::API_WindowInfo* windowInfo) override;
};

class AttributeApi final : public Host::AttributeApi {
public:
    Host::GSErrCode Search(Host::API_Attr_Head* attrHead) override;
    Host::GSErrCode Get(Host::API_Attribute* attribute) override;
};

class ViewApi final : public Host::ViewApi {
public:
    Host::GSErrCode ShowAllIn3D() override;
    Host::GSErrCode Redraw() override;
    Host::GSErrCode Get3DWindowSets(Host::API_3DWindowInfo* windowInfo) override;
    Host::GSErrCode Change3DWindowSets(Host::API_3DWindowInfo* windowInfo) override;
    Host::GSErrCode Get3DProjectionSets(Host::API_3DProjectionInfo* proj3DInfo) override;
    Host::GSErrCode Get3DStyle(Host::API_3DStyle* style) override;
    Host::GSErrCode Change3DStyle(Host::API_3DStyle* style) override;
};

class DatabaseApi final : public Host::DatabaseApi {
public:
    Host::GSErrCode RebuildCurrentDatabase() override;
};

class RenderingApi final : public Host::RenderingApi {
public:
    Host::GSErrCode GetRenderingSets(Host::API_RendImage* rendInfo,
                                     Host::API_RendSetTypeID rendSetType) override;
};

class ProjectSettingsApi final : public Host::ProjectSettingsApi {
public:
    Host::GSErrCode GetSpecFolder(Host::API_SpecFolderID* specFolderID,
                                  std::string* location) override;
};

class UserInputApi final : public Host::UserInputApi {
public:
    void SetElementHighlight(
        const Host::ElementColorTable& highlightedElems, const std::optional<bool>& wireframe3D,
        const std::optional<Host::API_RGBAColor>& nonHighlightedElemsColor) override;
    void ClearElementHighlight() override;
};

class DialogApi final : public Host::DialogApi {
public:
    Host::GSErrCode CreatePalette(Host::GSResModule resModule, short resId,
                                  Host::GSResModule dialIconResModule, Host::API_Guid const& guid,
                                  std::unique_ptr<Host::DG::Palette>* palette) override;
    Host::GSErrCode CreateBrowser(Host::DG::Palette& panel, short item,
                                  std::unique_ptr<Host::DG::Browser>* browser) override;
    std::uint16_t GetCefDebugPort() override;
};

} // namespace Velmora::Archicad
