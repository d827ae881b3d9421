// The whole host port over Archicad's API: the group objects and the calls the host keeps
// outside any group. Created by the entry points, never as a global: the host rebuilds static
// objects on every load, and its API is not available while they are constructed.
#pragma once

#include "ArchicadApis.hpp"

namespace Velmora::Archicad {

class ArchicadPort final : public Host::Port {
public:
    Host::MenuItemApi& MenuItem() override { return menuItem_; }
    Host::AddOnAddOnCommunicationApi& AddOnAddOnCommunication() override {
        return addOnAddOnCommunication_;
    }
    Host::AddOnIntegrationApi& AddOnIntegration() override { return addOnIntegration_; }
    Host::SightApi& Sight() override { return sight_; }
    Host::ElementApi& Element() override { return element_; }
    Host::ModelAccessApi& ModelAccess() override { return modelAccess_; }
    Host::ProjectOperationApi& ProjectOperation() override { return projectOperation_; }
    Host::WindowApi& Window() override { return window_; }
    Host::AttributeApi& Attribute() override { return attribute_; }
    Host::ViewApi& View() override { return view_; }
    Host::DatabaseApi& Database() override { return database_; }
    Host::RenderingApi& Rendering() override { return rendering_; }
    Host::ProjectSettingsApi& ProjectSettings() override { return projectSettings_; }
    Host::UserInputApi& UserInput() override { return userInput_; }
    Host::DialogApi& Dialog() override { return dialog_; }

    void WriteReport(const std::string& text, bool withDial) override;
    Host::GSErrCode GetPreferences(Host::Int32* version, Host::GSSize* nByte, void* data) override;
    Host::GSErrCode SetPreferences(Host::Int32 version, Host::GSSize nByte,
                                   const void* data) override;
    void KeepInMemory(bool keepIn) override;
    void GetReleaseNumber(Host::API_ServerApplicationInfo* serverApplicationInfo) override;
    Host::GSErrCode RegisterModelessWindow(Host::Int32 referenceID,
                                           Host::APIPaletteControlCallBackProc* callBackProc,
                                           Host::GSFlags controlFlags,
                                           const Host::API_Guid& paletteGuid) override;
    Host::GSResModule GetOwnResModule() override;
    // In parentheses: the resource reader's header defines RSGetIndString as a macro.
    bool(RSGetIndString)(std::string* result, Host::Int32 resID, Host::Int32 index,
                         Host::GSResModule resModule) override;

private:
    MenuItemApi menuItem_;
    AddOnAddOnCommunicationApi addOnAddOnCommunication_;
    AddOnIntegrationApi addOnIntegration_;
    SightApi sight_;
    ElementApi element_;
    ModelAccessApi modelAccess_;
    ProjectOperationApi projectOperation_;
    WindowApi window_;
    AttributeApi attribute_;
    ViewApi view_;
    DatabaseApi database_;
    RenderingApi rendering_;
    ProjectSettingsApi projectSettings_;
    UserInputApi userInput_;
    DialogApi dialog_;
};

// Installs the port (created on the first call of this load) and returns it.
ArchicadPort& InstallPort();

} // namespace Velmora::Archicad
